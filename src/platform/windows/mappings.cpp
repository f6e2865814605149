// Files opened for mapping, and their mappings, by the calls of Windows.

#include "platform/platform.h"
#include "platform/windows/text.h"
#include "platform/windows/win32.h"

namespace qor::Texsmith::Platform {

namespace {

HANDLE systemHandle(Handle handle) { return reinterpret_cast<HANDLE>(handle); }

Handle openFile(const char* name, DWORD access, DWORD disposition, DWORD flags = FILE_ATTRIBUTE_NORMAL) {
    const std::wstring wide = widenName(name);
    HANDLE file = CreateFileW(wide.c_str(), access, FILE_SHARE_READ, nullptr, disposition, flags, nullptr);
    return reinterpret_cast<Handle>(file); // kNoHandle is the system's own value for none
}

// Neither a link nor a second name of another file. The temporary folder itself is the user's own.
bool isPrivate(HANDLE file) {
    BY_HANDLE_FILE_INFORMATION status = {};
    constexpr DWORD kForeign = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    return GetFileInformationByHandle(file, &status) != 0 && (status.dwFileAttributes & kForeign) == 0 &&
           status.nNumberOfLinks == 1;
}

} // namespace

Handle openFileToRead(const char* name) { return openFile(name, GENERIC_READ, OPEN_EXISTING); }

Handle openFileToWrite(const char* name) { return openFile(name, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS); }

Handle openPrivateFile(const char* name) {
    const Handle file = openFile(name, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT);
    if (file == kNoHandle || isPrivate(systemHandle(file))) {
        return file;
    }
    CloseHandle(systemHandle(file));
    SetLastError(ERROR_ACCESS_DENIED);
    return kNoHandle;
}

bool closeFile(Handle file) { return CloseHandle(systemHandle(file)) != 0; }

bool getFileSize(Handle file, std::uint64_t* bytes) {
    LARGE_INTEGER size = {};
    const bool known = GetFileSizeEx(systemHandle(file), &size) != 0;
    *bytes = static_cast<std::uint64_t>(size.QuadPart);
    return known;
}

bool seekFile(Handle file, std::uint64_t position) {
    LARGE_INTEGER distance = {};
    distance.QuadPart = static_cast<LONGLONG>(position);
    return SetFilePointerEx(systemHandle(file), distance, nullptr, FILE_BEGIN) != 0;
}

bool setEndOfFile(Handle file) { return SetEndOfFile(systemHandle(file)) != 0; }

Handle createMapping(Handle file, bool writable) {
    HANDLE mapping = CreateFileMappingW(systemHandle(file), nullptr,
                                        writable ? PAGE_READWRITE : PAGE_READONLY, 0, 0, nullptr);
    return mapping == nullptr ? kNoHandle : reinterpret_cast<Handle>(mapping);
}

bool closeMapping(Handle mapping) { return CloseHandle(systemHandle(mapping)) != 0; }

void* mapView(Handle mapping, std::uint64_t, bool writable) {
    const DWORD access = writable ? FILE_MAP_READ | FILE_MAP_WRITE : FILE_MAP_READ;
    return MapViewOfFile(systemHandle(mapping), access, 0, 0, 0);
}

bool unmapView(void* view, std::uint64_t) { return UnmapViewOfFile(view) != 0; }

} // namespace qor::Texsmith::Platform
