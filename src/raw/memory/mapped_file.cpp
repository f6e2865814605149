#include "platform/platform.h"
#include "qor/texsmith/raw/memory_region.h"
#include "raw/frame/check.h"
#include "raw/frame/destructor_report.h"
#include "raw/frame/system_report.h"

#include <string>
#include <utility>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\memory\\mapped_file";

using Platform::Handle;
using Platform::kNoHandle;

// Both report a failure of the call that has just been made; `format` takes a name or handle and the reason.
bool checkNamed(bool worked, int line, const char* format, const char* name) {
    if (!worked) {
        toolsAssert(kSourcePath, line, format, name, SystemReport().c_str());
    }
    return worked;
}

bool checkHandle(bool worked, int line, const char* format, const void* handle) {
    if (!worked) {
        toolsAssert(kSourcePath, line, format, handle, SystemReport().c_str());
    }
    return worked;
}

const void* asPointer(Handle handle) { return reinterpret_cast<const void*>(handle); }

std::uint64_t fileSize(Handle file) {
    std::uint64_t bytes = 0;
    return Platform::getFileSize(file, &bytes) ? bytes : 0;
}

Handle openToReadOrReport(const char* name) {
    const Handle file = Platform::openFileToRead(name);
    checkNamed(file != kNoHandle, __LINE__, "CreateFileW to read \"%s\" failed: %s.", name);
    return file;
}

// The local file behind a URL; an empty name when it could not be had.
std::string resolveUrl(const char* url, const IAllocator& scratch) {
    std::string escaped;
    std::string path;
    checkNamed(Platform::escapeUrl(url, &escaped, scratch), __LINE__, "UrlEscapeW for \"%s\" failed: %s.",
               url);
    checkNamed(Platform::cacheUrl(escaped.c_str(), &path, scratch), __LINE__,
               "URLDownloadToCacheFileW for \"%s\" failed: %s.", url);
    return path;
}

} // namespace

// Delegating, so that the destructor runs when a report of open throws.
MemoryMappedFile::MemoryMappedFile(const char* filename, Permissions permissions, IAllocator allocator)
    : MemoryMappedFile() {
    if (filename != nullptr) {
        open(filename, permissions, allocator);
    }
}

// A view has the bounds and no file, so its resize does nothing.
MemoryMappedFile::MemoryMappedFile(const MemoryMappedFile& other)
    : ResizableMemoryRegion(other), m_permissions(other.m_permissions), m_owner(false) {}

MemoryMappedFile& MemoryMappedFile::operator=(const MemoryMappedFile& other) {
    if (this != &other) {
        close();
        ResizableMemoryRegion::operator=(other);
        m_permissions = other.m_permissions;
        m_owner = false;
    }
    return *this;
}

MemoryMappedFile::~MemoryMappedFile() noexcept(false) {
    reportFromDestructor([this] { close(); });
}

void MemoryMappedFile::open(const char* filename, Permissions permissions, IAllocator allocator) {
    if (!checkNotNull(filename, kSourcePath, "filename must not be NULL.")) {
        return;
    }
    close();
    m_permissions = permissions;
    if (permissions == kPermissionsReadWrite) {
        openToWrite(filename);
    } else {
        openToRead(filename, allocator);
    }
}

void MemoryMappedFile::openToWrite(const char* filename) {
    m_file = Platform::openFileToWrite(filename);
    checkNamed(m_file != kNoHandle, __LINE__, "CreateFileW to write \"%s\" failed: %s.", filename);
    const std::uint64_t size = fileSize(m_file);
    if (size != 0) {
        mapWhole(filename, size);
    }
}

// A file that could not be opened, or is empty, goes on to fail the mapping and the view.
void MemoryMappedFile::openToRead(const char* filename, const IAllocator& allocator) {
    m_file = Platform::isUrl(filename) ? openToReadOrReport(resolveUrl(filename, allocator).c_str())
                                       : openToReadOrReport(filename);
    mapWhole(filename, fileSize(m_file));
}

void MemoryMappedFile::mapWhole(const char* name, std::uint64_t size) {
    const bool writable = m_permissions == kPermissionsReadWrite;
    m_mapping = Platform::createMapping(m_file, writable);
    checkNamed(m_mapping != kNoHandle, __LINE__, "CreateFileMapping for \"%s\" failed: %s.", name);
    void* view = Platform::mapView(m_mapping, size, writable);
    if (checkNamed(view != nullptr, __LINE__, "MapViewOfFile for \"%s\" failed: %s.", name)) {
        setView(view, size);
    }
}

void MemoryMappedFile::mapResized(std::uint64_t size) {
    m_mapping = Platform::createMapping(m_file, true);
    checkHandle(m_mapping != kNoHandle, __LINE__, "CreateFileMapping of %p failed: %s.", asPointer(m_file));
    void* view = Platform::mapView(m_mapping, size, true);
    if (checkHandle(view != nullptr, __LINE__, "MapViewOfFile of %p failed: %s.", asPointer(m_mapping))) {
        setView(view, size);
    }
}

void MemoryMappedFile::setView(void* view, std::uint64_t size) {
    begin = static_cast<std::uint8_t*>(view);
    end = begin + size;
}

void MemoryMappedFile::close() {
    if (!std::exchange(m_owner, true)) {
        begin = end = nullptr; // a view lets go of what is not its own
        return;
    }
    unmap();
    const Handle file = std::exchange(m_file, kNoHandle);
    if (file != kNoHandle && !Platform::closeFile(file)) {
        toolsAssert(kSourcePath, __LINE__, "CloseHandle failed: %s.", SystemReport().c_str());
    }
}

// Each field is cleared before the call that may report, so that a callback that throws leaves none stale.
void MemoryMappedFile::unmap() {
    const MemoryRegion view = *this;
    begin = end = nullptr;
    if (view.begin != nullptr) {
        checkHandle(Platform::unmapView(view.begin, view.length()), __LINE__,
                    "UnmapViewOfFile of %p failed: %s.", view.begin);
    }
    const Handle mapping = std::exchange(m_mapping, kNoHandle);
    if (mapping != kNoHandle) {
        checkHandle(Platform::closeMapping(mapping), __LINE__, "CloseHandle of %p failed: %s.",
                    asPointer(mapping));
    }
}

bool MemoryMappedFile::setFileSize(unsigned long long bytes) {
    return checkHandle(Platform::seekFile(m_file, bytes), __LINE__, "SetFilePointer of %p failed: %s.",
                       asPointer(m_file)) &&
           checkHandle(Platform::setEndOfFile(m_file), __LINE__, "SetEndOfFile of %p failed: %s.",
                       asPointer(m_file));
}

// Where the file does not get its size, as on a full disk, nothing is mapped: the region would reach past the
// end of the file.
void MemoryMappedFile::doResize(unsigned long long bytes) {
    check(m_permissions == kPermissionsReadWrite, kSourcePath, "m_permissions == kPermissionsReadWrite");
    if (m_file == kNoHandle) {
        return;
    }
    unmap();
    if (!setFileSize(bytes) || bytes == 0) {
        return;
    }
    checkHandle(Platform::seekFile(m_file, 0), __LINE__, "SetFilePointer of %p failed: %s.",
                asPointer(m_file));
    mapResized(bytes);
}

} // namespace qor::Texsmith::Raw
