// A file that a command reads: by name, by URL, or from the standard input.
#pragma once

#include "command.h"

#include "qor/texsmith/raw/filetype.h"
#include "qor/texsmith/raw/memory_region.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

inline constexpr char kStandardStream[] = "-";

extern const OptionGroup kStandardStreamOptions; // --type

// ".png" for "png", "PNG" and ".png"; nothing for nothing. Throws UsageFailure for a type that there is not.
std::string extensionOfType(const std::string& type);

bool isUrl(std::string_view name);

// "DDS" for the type of .dds files.
std::string typeText(qor::Texsmith::Raw::FileType type);

// "standard input" for "-", and other names as they are.
std::string nameOfSource(const std::string& name);

class SourceFile {
public:
    // Throws Failure, which names the file, for one that cannot be read or is empty. `type` is what the
    // standard input holds, where its first bytes do not tell, and plays no part for files.
    SourceFile(const std::string& name, const std::string& type);
    ~SourceFile();

    const std::string& name() const { return m_name; }
    // What the library finds the type by: a name with an extension, or an extension alone. Where the first
    // bytes of a file tell another type than its name, it is that one's, and a warning is kept.
    const char* typeName() const { return m_typeName.c_str(); }
    // By the name alone, or by what the standard input is said to hold; 0: not told.
    qor::Texsmith::Raw::FileType namedType() const { return m_namedType; }
    // By the first bytes alone; 0: they do not tell.
    qor::Texsmith::Raw::FileType heldType() const;
    qor::Texsmith::MemoryRegion* region() { return m_region; }

private:
    void readStandardInput();
    void believeFirstBytes();

    std::string m_name, m_typeName;
    std::unique_ptr<qor::Texsmith::Raw::MemoryMappedFile> m_file;
    std::vector<std::uint8_t> m_bytes; // of the standard input
    qor::Texsmith::MemoryRegion m_bytesRegion;
    qor::Texsmith::MemoryRegion* m_region = nullptr;
    qor::Texsmith::Raw::FileType m_namedType = 0;
};

} // namespace Tool
