#include "source_file.h"

#include "error_text.h"
#include "failure.h"
#include "paths.h"

#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/process.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace Tool {
namespace {

namespace fs = std::filesystem;
using namespace qor::Texsmith;

constexpr int kStandardInputNumber = 0;
constexpr std::size_t kChunk = 1 << 16, kLongestMagic = 5;

constexpr Option kOptions[] = {
    {.m_name = "--type",
     .m_value = "TYPE",
     .m_help =
         "what '-' holds, the standard input or output; where it is both, the two types with a colon between",
     .m_example = "png"},
};

// What the library would report in the words of the system.
void checkReadable(const std::string& name) {
    const auto fail = [&name](const std::string& reason) { throw Failure(reason, kExitUnreadable, name); };
    std::error_code error;
    const fs::path path = toPath(name);
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        fail(status.type() == fs::file_type::not_found ? "there is no such file" : reasonOf(error));
    }
    if (fs::is_directory(status)) {
        fail("it is a folder");
    }
    if (!fs::is_regular_file(status)) {
        fail("it is a device or a pipe, and only files are read; - is the standard input");
    }
    if (fs::file_size(path, error) == 0 && !error) {
        throw Failure("it is empty", kExitDamaged, name);
    }
    errno = 0;
    if (!std::ifstream(path, std::ios::binary).is_open()) {
        fail(errno != 0 ? reasonOf(std::error_code(errno, std::generic_category())) : "it cannot be opened");
    }
}

} // namespace

bool isUrl(std::string_view name) { return name.find("://") != name.npos; }

constinit const OptionGroup kStandardStreamOptions = {"Standard input and output", kOptions};

std::string extensionOfType(const std::string& type) {
    const std::string extension = type.empty() || type[0] == '.' ? type : "." + type;
    if (!extension.empty() && Raw::getFileTypeFromExtension(extension.c_str()) == 0) {
        throw UsageFailure("--type: there is no type '" + type + "'; png, dds and vxf are some");
    }
    return extension;
}

std::string typeText(Raw::FileType type) {
    return {static_cast<char>(type >> 8), static_cast<char>(type >> 16), static_cast<char>(type >> 24)};
}

std::string nameOfSource(const std::string& name) {
    return name == kStandardStream ? "standard input" : name;
}

SourceFile::SourceFile(const std::string& name, const std::string& type)
    : m_name(nameOfSource(name)), m_typeName(name == kStandardStream ? extensionOfType(type) : name),
      m_namedType(Raw::getFileTypeFromExtension(m_typeName.c_str())) {
    if (name == kStandardStream) {
        readStandardInput();
        return;
    }
    if (!isUrl(name)) {
        checkReadable(name);
    }
    try {
        m_file = std::make_unique<Raw::MemoryMappedFile>(name.c_str(), Raw::kPermissionsReadOnly,
                                                         Raw::g_mallocAllocator);
    } catch (const Failure&) {
        throwFileFailure(name, Raw::kErrorFailed);
    }
    if (m_file->begin == nullptr) {
        throw Failure("it cannot be opened", kExitUnreadable, name); // where reports are gathered
    }
    m_region = m_file.get();
    believeFirstBytes();
}

SourceFile::~SourceFile() = default;

Raw::FileType SourceFile::heldType() const {
    return m_region->length() < kLongestMagic ? Raw::FileType{}
                                              : Raw::getFileTypeFromContents(m_region, Raw::kReadKindly);
}

// Pictures are renamed more often than they are converted.
void SourceFile::believeFirstBytes() {
    constexpr Raw::FileType kTextWithMark = Raw::makeFileType(".BOM");
    const Raw::FileType held = heldType();
    if (m_namedType != 0 && held != 0 && held != kTextWithMark && held != m_namedType) {
        m_typeName = "." + typeText(held);
        keepWarning("its name says " + typeText(m_namedType) + ", and its first bytes " + typeText(held) +
                    ", which it is read as");
    }
}

void SourceFile::readStandardInput() {
    Raw::setBinaryMode(kStandardInputNumber);
    std::array<std::uint8_t, kChunk> chunk;
    for (std::size_t read; (read = std::fread(chunk.data(), 1, chunk.size(), stdin)) != 0;) {
        m_bytes.insert(m_bytes.end(), chunk.begin(), chunk.begin() + static_cast<std::ptrdiff_t>(read));
    }
    if (std::ferror(stdin) != 0) {
        throw Failure("it cannot be read", kExitUnreadable, m_name);
    }
    if (m_bytes.empty()) {
        throw Failure("it is empty", kExitDamaged, m_name);
    }
    const std::size_t bytes = m_bytes.size();
    m_bytes.resize(bytes + kLongestMagic); // which may be looked at
    m_bytesRegion = {m_bytes.data(), m_bytes.data() + bytes};
    m_region = &m_bytesRegion;
    if (m_typeName.empty() && Raw::getFileTypeFromContents(m_region, Raw::kReadKindly) == 0) {
        throw UsageFailure(
            "what the standard input holds is not known by its first bytes; tell it by --type");
    }
}

} // namespace Tool
