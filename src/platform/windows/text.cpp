// UTF-8 to UTF-16 and back, and file names as the calls of Windows take them.

#include "platform/windows/text.h"

#include "platform/platform.h"
#include "platform/windows/win32.h"

#include <algorithm>

namespace qor::Texsmith::Platform {

namespace {

// Directories are limited to MAX_PATH less a short file name.
constexpr std::size_t kLongName = MAX_PATH - 12;
constexpr wchar_t kDevicePrefix[] = L"\\\\?\\";
constexpr wchar_t kSharePrefix[] = L"\\\\?\\UNC";

// Behind the prefix nothing is resolved any more: no forward slashes, no dots, no current directory.
std::wstring makeAbsolute(const std::wstring& name) {
    std::wstring absolute(GetFullPathNameW(name.c_str(), 0, nullptr, nullptr), L'\0');
    const DWORD length =
        GetFullPathNameW(name.c_str(), static_cast<DWORD>(absolute.size()), absolute.data(), nullptr);
    absolute.resize(std::min<std::size_t>(length, absolute.size()));
    return absolute;
}

} // namespace

std::size_t toWide(const char* text, wchar_t* wide, std::size_t units) {
    const int needed = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    const auto count = static_cast<std::size_t>(needed);
    if (count <= units) {
        MultiByteToWideChar(CP_UTF8, 0, text, -1, wide, needed);
    }
    return count;
}

std::size_t toUtf8(const wchar_t* wide, char* text, std::size_t units) {
    const int needed = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
    const auto count = static_cast<std::size_t>(needed);
    if (count <= units) {
        WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, needed, nullptr, nullptr);
    }
    return count;
}

std::wstring widen(const char* text) {
    std::wstring wide(toWide(text, nullptr, 0), L'\0');
    toWide(text, wide.data(), wide.size());
    wide.resize(wide.empty() ? 0 : wide.size() - 1);
    return wide;
}

std::string narrow(const wchar_t* text) {
    std::string utf8(toUtf8(text, nullptr, 0), '\0');
    toUtf8(text, utf8.data(), utf8.size());
    utf8.resize(utf8.empty() ? 0 : utf8.size() - 1);
    return utf8;
}

std::wstring widenName(const char* name) {
    std::wstring wide = widen(name);
    if (wide.starts_with(kDevicePrefix)) {
        return wide;
    }
    const std::wstring absolute = makeAbsolute(wide); // what counts for the limit
    if (absolute.size() < kLongName) {
        return wide;
    }
    const bool onShare = absolute.starts_with(L"\\\\");
    return onShare ? kSharePrefix + absolute.substr(1) : kDevicePrefix + absolute;
}

} // namespace qor::Texsmith::Platform
