#include "platform/platform.h"
#include "platform/windows/text.h"
#include "platform/windows/win32.h"

#include <shlwapi.h>
#include <urlmon.h>

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
    ScratchText(const IAllocator& allocator, DWORD units)
        : m_allocator(allocator),
          m_text(static_cast<wchar_t*>(allocator.allocate(units * sizeof(wchar_t), alignof(wchar_t)))) {}
    ~ScratchText() { m_allocator.release(m_text); }
    ScratchText(const ScratchText&) = delete;
    ScratchText& operator=(const ScratchText&) = delete;
    wchar_t* get() const { return m_text; }

private:
    IAllocator m_allocator;
    wchar_t* m_text;
};

} // namespace

bool isUrl(const char* name) { return PathIsURLW(widen(name).c_str()) != 0; }

bool escapeUrl(const char* url, std::string* escaped, const IAllocator& scratch) {
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

bool cacheUrl(const char* escapedUrl, std::string* path, const IAllocator& scratch) {
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
