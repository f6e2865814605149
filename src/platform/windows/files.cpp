// Whole-file operations by the calls of Windows.

#include "platform/platform.h"
#include "platform/windows/text.h"
#include "platform/windows/win32.h"

#include <algorithm>

namespace qor::Texsmith::Platform {

namespace {

// What tells a file from all others while it is open. False when there is no such file.
bool openAndIdentify(const char* name, HANDLE* file, BY_HANDLE_FILE_INFORMATION* identity) {
    // No access is asked for, so that a file which others hold open can be asked too; directories need the
    // flag.
    *file = CreateFileW(widenName(name).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                        nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    return *file != INVALID_HANDLE_VALUE && GetFileInformationByHandle(*file, identity) != 0;
}

void closeIfOpen(HANDLE file) {
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
}

} // namespace

bool copyFile(const char* from, const char* to) {
    return CopyFileW(widenName(from).c_str(), widenName(to).c_str(), FALSE) != 0;
}

// Both stay open until they are compared: the number of a closed file may be given to another.
bool isSameFile(const char* a, const char* b) {
    HANDLE fileA = INVALID_HANDLE_VALUE;
    HANDLE fileB = INVALID_HANDLE_VALUE;
    BY_HANDLE_FILE_INFORMATION identityA = {};
    BY_HANDLE_FILE_INFORMATION identityB = {};
    const bool same = openAndIdentify(a, &fileA, &identityA) && openAndIdentify(b, &fileB, &identityB) &&
                      identityA.dwVolumeSerialNumber == identityB.dwVolumeSerialNumber &&
                      identityA.nFileIndexHigh == identityB.nFileIndexHigh &&
                      identityA.nFileIndexLow == identityB.nFileIndexLow;
    closeIfOpen(fileA);
    closeIfOpen(fileB);
    return same;
}

bool fileExists(const char* name) {
    return GetFileAttributesW(widenName(name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The first call keeps access rights and attributes, but wants a file to replace.
bool replaceFile(const char* from, const char* to) {
    constexpr DWORD kFlags = REPLACEFILE_IGNORE_MERGE_ERRORS | REPLACEFILE_IGNORE_ACL_ERRORS;
    const std::wstring source = widenName(from);
    const std::wstring destination = widenName(to);
    return ReplaceFileW(destination.c_str(), source.c_str(), nullptr, kFlags, nullptr, nullptr) != 0 ||
           MoveFileExW(source.c_str(), destination.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
}

bool deleteFile(const char* name) { return DeleteFileW(widenName(name).c_str()) != 0; }

bool flushFile(const char* name) {
    HANDLE file = CreateFileW(widenName(name).c_str(), GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool flushed = file != INVALID_HANDLE_VALUE && FlushFileBuffers(file) != 0;
    const DWORD error = GetLastError();
    closeIfOpen(file);
    SetLastError(error);
    return flushed || error == ERROR_INVALID_FUNCTION; // of a file system that has no such thing
}

bool makeFile(const char* name) {
    HANDLE file = CreateFileW(widenName(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    closeIfOpen(file);
    return file != INVALID_HANDLE_VALUE;
}

std::FILE* openStream(const char* name, const char* mode) {
    return _wfopen(widenName(name).c_str(), widen(mode).c_str());
}

bool getTemporaryDirectory(char* buffer, std::size_t size) {
    wchar_t directory[MAX_PATH + 1] = {};
    const DWORD length = GetTempPathW(MAX_PATH + 1, directory);
    return length != 0 && length <= MAX_PATH && toUtf8(directory, buffer, size) <= size;
}

} // namespace qor::Texsmith::Platform
