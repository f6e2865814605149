// A file that a command reads: by name, by URL, or from the standard input.
#pragma once

#include "command.h"

#include "qor/texsmith/raw/memory_region.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tool {

inline constexpr char kStandardStream[] = "-";

extern const OptionGroup kStandardStreamOptions; // --type

// ".png" for "png", "PNG" and ".png"; nothing for nothing. Throws UsageFailure for a type that there is not.
std::string extensionOfType(const std::string& type);

// "standard input" for "-", and other names as they are.
std::string nameOfSource(const std::string& name);

class SourceFile {
public:
    // Throws Failure, which names the file, for one that cannot be read or is empty. `type` is what the
    // standard input holds, where its first bytes do not tell, and plays no part for files.
    SourceFile(const std::string& name, const std::string& type);
    ~SourceFile();

    const std::string& name() const { return m_name; }
    // What the library finds the type by: a name with an extension, or an extension alone.
    const char* typeName() const { return m_typeName.c_str(); }
    qor::Texsmith::MemoryRegion* region() { return m_region; }

private:
    void readStandardInput();

    std::string m_name, m_typeName;
    std::unique_ptr<qor::Texsmith::Raw::MemoryMappedFile> m_file;
    std::vector<std::uint8_t> m_bytes; // of the standard input
    qor::Texsmith::MemoryRegion m_bytesRegion;
    qor::Texsmith::MemoryRegion* m_region = nullptr;
};

} // namespace Tool
