#include "qor/texsmith/raw/replacement_file.h"

#include "platform/platform.h"
#include "raw/frame/check.h"
#include "raw/frame/system_report.h"

#include <filesystem>
#include <random>
#include <string>
#include <string_view>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\memory\\replacement_file";
constexpr std::string_view kSeparators = std::filesystem::path::preferred_separator == '/' ? "/" : "/\\:";

// 128 bits that nobody can guess.
std::string randomText() {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::random_device random;
    std::string text;
    while (text.size() < 32) {
        text += kDigits[random() % 16];
    }
    return text;
}

// Whoever may write there too could not have put anything under this name.
std::string nameBeside(const std::string& destination) {
    const std::size_t name = destination.find_last_of(kSeparators) + 1; // 0 without a folder
    const std::size_t dot = destination.rfind('.');
    const bool hasExtension = dot != destination.npos && dot >= name;
    return destination.substr(0, name) + ".texsmith-" + randomText() +
           (hasExtension ? destination.substr(dot) : std::string());
}

} // namespace

struct ReplacementFile::Names {
    std::string m_destination;
    std::string m_file; // empty when there is none
};

ReplacementFile::ReplacementFile(const char* destination) : m_names(std::make_unique<Names>()) {
    if (!checkNotNull(destination, kSourcePath, "destination must not be NULL.")) {
        return;
    }
    m_names->m_destination = destination;
    const std::string file = nameBeside(destination);
    if (Platform::makeFile(file.c_str())) {
        m_names->m_file = file;
        return;
    }
    const SystemReport reason;
    toolsAssert(kSourcePath, __LINE__, "%s: a file cannot be made beside it: %s", destination,
                reason.c_str());
}

ReplacementFile::~ReplacementFile() { remove(); }

const char* ReplacementFile::getName() const { return m_names->m_file.c_str(); }

Error ReplacementFile::takePlace() {
    if (!check(!m_names->m_file.empty(), kSourcePath, "!m_file.empty()")) {
        return kErrorFailed;
    }
    if (!Platform::flushFile(m_names->m_file.c_str())) {
        const SystemReport reason;
        toolsAssert(kSourcePath, __LINE__, "%s: it cannot be written: %s", m_names->m_destination.c_str(),
                    reason.c_str());
        return kErrorFailed;
    }
    if (!Platform::replaceFile(m_names->m_file.c_str(), m_names->m_destination.c_str())) {
        const SystemReport reason;
        toolsAssert(kSourcePath, __LINE__, "%s: it cannot be replaced: %s", m_names->m_destination.c_str(),
                    reason.c_str());
        return kErrorFailed;
    }
    m_names->m_file.clear();
    return kErrorNone;
}

void ReplacementFile::remove() {
    if (!m_names->m_file.empty() && Platform::fileExists(m_names->m_file.c_str())) {
        Platform::deleteFile(m_names->m_file.c_str());
    }
    m_names->m_file.clear();
}

} // namespace qor::Texsmith::Raw
