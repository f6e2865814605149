// Names of files, in UTF-8 on Windows and in bytes as they are elsewhere.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>

namespace Tool {

std::filesystem::path toPath(const std::string& name);
std::string toName(const std::filesystem::path& path); // with the separators of the system

// Where the name begins behind its directories, and where its extension begins: at the last dot, else at the
// end.
std::size_t nameOffset(std::string_view path);
std::size_t extensionOffset(std::string_view path);

// Anything has that name, a link to nowhere included.
bool isThere(const std::string& path);

// Both exist and are one.
bool isSameFile(const std::string& a, const std::string& b);

// The file that a chain of links ends at, whether it exists or not; `path` itself when it is no link.
std::string followLinks(const std::string& path);

} // namespace Tool
