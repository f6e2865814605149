// URLs by the system's cache; those of local files are unescaped into names.

#include "platform/platform.h"
#include "platform/windows/text.h"
#include "platform/windows/win32.h"

#include <shlwapi.h>
#include <urlmon.h>

#include <charconv>
#include <cstring>
#include <string_view>

namespace qor::Texsmith::Platform {

namespace {

constexpr DWORD kEscapeFlags = URL_ESCAPE_UNSAFE | 0x00040000; // the second: as UTF-8
constexpr DWORD kLocalUnits = 128;
constexpr DWORD kCacheNameUnits = 1024;

// These calls hand back their failure instead of leaving it to GetLastError.
bool succeeded(HRESULT result) {
    if (FAILED(result)) {
        SetLastError(static_cast<DWORD>(result));
    }
    return SUCCEEDED(result);
}

// Wide characters from a client's allocator.
class ScratchText {
public:
    ScratchText(const Scratch& scratch, DWORD units)
        : m_scratch(scratch), m_text(static_cast<wchar_t*>(scratch.m_allocate(
                                  scratch.m_context, units * sizeof(wchar_t), alignof(wchar_t)))) {}
    ~ScratchText() {
        if (m_text != nullptr) {
            m_scratch.m_release(m_scratch.m_context, m_text);
        }
    }
    ScratchText(const ScratchText&) = delete;
    ScratchText& operator=(const ScratchText&) = delete;
    wchar_t* get() const { return m_text; }

private:
    Scratch m_scratch;
    wchar_t* m_text;
};

constexpr std::string_view kLocalPrefixes[] = {"file:///", "file://localhost/"};

std::string unescape(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char* const digits = text.data() + i + 1;
        unsigned byte = 0;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            plain += static_cast<char>(byte);
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

// The name of this machine's file, or empty. The system's own way from such a URL to a name takes each escape
// for a character, but they are bytes of UTF-8.
std::string localName(const char* url) {
    for (const std::string_view prefix : kLocalPrefixes) {
        if (_strnicmp(url, prefix.data(), prefix.size()) == 0) {
            return unescape(url + prefix.size());
        }
    }
    return {};
}

} // namespace

bool isUrl(const char* name) { return PathIsURLW(widen(name).c_str()) != 0; }

bool escapeUrl(const char* url, std::string* escaped, const Scratch& scratch) {
    const std::wstring wide = widen(url);
    wchar_t local[kLocalUnits];
    DWORD units = kLocalUnits;
    HRESULT result = UrlEscapeW(wide.c_str(), local, &units, kEscapeFlags);
    if (result != E_POINTER) {
        *escaped = SUCCEEDED(result) ? narrow(local) : std::string();
        return succeeded(result);
    }
    const ScratchText larger(scratch, units);
    if (larger.get() == nullptr) {
        return succeeded(E_OUTOFMEMORY);
    }
    result = UrlEscapeW(wide.c_str(), larger.get(), &units, kEscapeFlags);
    *escaped = SUCCEEDED(result) ? narrow(larger.get()) : std::string();
    return succeeded(result);
}

bool cacheUrl(const char* escapedUrl, std::string* path, const Scratch& scratch) {
    *path = localName(escapedUrl);
    if (path->find('\0') != std::string::npos) {
        path->clear(); // the system would end the name there
        return succeeded(E_INVALIDARG);
    }
    if (!path->empty() && fileExists(path->c_str())) {
        return true;
    }
    const std::wstring url = widen(escapedUrl);
    wchar_t local[kLocalUnits] = {};
    path->clear();
    if (SUCCEEDED(URLDownloadToCacheFileW(nullptr, url.c_str(), local, kLocalUnits, 0, nullptr))) {
        *path = narrow(local);
        return true;
    }
    const ScratchText larger(scratch, kCacheNameUnits);
    if (larger.get() == nullptr) {
        return succeeded(E_OUTOFMEMORY);
    }
    const HRESULT result =
        URLDownloadToCacheFileW(nullptr, url.c_str(), larger.get(), kCacheNameUnits, 0, nullptr);
    *path = SUCCEEDED(result) ? narrow(larger.get()) : std::string();
    return succeeded(result);
}

} // namespace qor::Texsmith::Platform
