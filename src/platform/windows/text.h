// UTF-8 texts and names as the system's calls take them.
#pragma once

#include <string>

namespace qor::Texsmith::Platform {

std::wstring widen(const char* text);
std::string narrow(const wchar_t* text);

// A file name for the system's calls. One that they would find too long becomes absolute and gets the prefix
// that lifts the limit.
std::wstring widenName(const char* name);

} // namespace qor::Texsmith::Platform
