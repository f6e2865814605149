#include "paths.h"

#include <system_error>

namespace Tool {
namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;
constexpr std::string_view kSeparators = fs::path::preferred_separator == '/' ? "/" : "/\\:";

} // namespace

fs::path toPath(const std::string& name) { return std::u8string(name.begin(), name.end()); }

std::string toName(const fs::path& path) {
    const std::u8string name = path.u8string();
    return {name.begin(), name.end()};
}

std::size_t nameOffset(std::string_view path) {
    return path.find_last_of(kSeparators) + 1; // 0 without a directory
}

std::size_t extensionOffset(std::string_view path) {
    const std::size_t dot = path.rfind('.');
    return dot == path.npos || dot < nameOffset(path) ? path.size() : dot;
}

bool isThere(const std::string& path) {
    std::error_code error;
    return fs::symlink_status(toPath(path), error).type() != fs::file_type::not_found;
}

bool isSameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    return fs::equivalent(toPath(a), toPath(b), error);
}

std::string followLinks(const std::string& path) {
    fs::path file = toPath(path);
    std::error_code error;
    for (int links = 0; links < kMostLinks && fs::is_symlink(file, error); ++links) {
        file = file.parent_path() / fs::read_symlink(file, error);
    }
    return toName(file);
}

} // namespace Tool
