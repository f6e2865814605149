// A file in the temporary directory that goes with the object. Its name is not plain ASCII.
#pragma once

#include "platform/platform.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace TestSupport {

inline std::string toUtf8(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& contents) : TemporaryFile() {
        std::ofstream(m_path, std::ios::binary) << contents;
    }
    TemporaryFile() // the name only
        : m_path(std::filesystem::temp_directory_path() /
                 ("texsmith " + std::to_string(qor::Texsmith::Platform::getProcessId()) + " " +
                  std::to_string(s_count++))),
          m_name(toUtf8(m_path += u8"\u00E9")) {}
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(m_path, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const std::string& name() const { return m_name; } // UTF-8
    const char* c_str() const { return m_name.c_str(); }
    std::string read() const {
        std::ifstream stream(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    static inline int s_count = 0;
    std::filesystem::path m_path;
    std::string m_name;
};

} // namespace TestSupport
