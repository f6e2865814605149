// Files mapped into memory, with a report for each step that the system refuses.

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
std::string resolveUrl(const char* url, const IAllocator& allocator) {
    const Platform::Scratch scratch{allocator.m_context, allocator.m_allocate, allocator.m_release};
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
    : ResizableMemoryRegion(other), m_permissions(other.m_permissions) {}

MemoryMappedFile::MemoryMappedFile(MemoryMappedFile&& other) noexcept { swap(other); }

// A view of this very mapping keeps it.
MemoryMappedFile& MemoryMappedFile::operator=(const MemoryMappedFile& other) {
    if (this != &other) {
        if (other.begin == nullptr || !m_view.contains(other)) {
            close();
        }
        MemoryRegion::operator=(other);
        m_permissions = other.m_permissions;
    }
    return *this;
}

MemoryMappedFile& MemoryMappedFile::operator=(MemoryMappedFile&& other) noexcept {
    MemoryMappedFile taken(std::move(other));
    swap(taken);
    return *this;
}

void MemoryMappedFile::swap(MemoryMappedFile& other) noexcept {
    std::swap(static_cast<MemoryRegion&>(*this), static_cast<MemoryRegion&>(other));
    std::swap(m_view, other.m_view);
    std::swap(m_permissions, other.m_permissions);
    std::swap(m_file, other.m_file);
    std::swap(m_mapping, other.m_mapping);
}

MemoryMappedFile::~MemoryMappedFile() {
    reportWithoutThrowing([this] { close(); });
}

void MemoryMappedFile::open(const char* filename, Permissions permissions, IAllocator allocator) {
    if (!checkNotNull(filename, kSourcePath, "filename must not be NULL.")) {
        return;
    }
    const std::string name = filename; // it may lie in the region that goes
    close();
    m_permissions = permissions;
    if (permissions == kPermissionsReadWrite) {
        mapOpened(Platform::openFileToWrite(name.c_str()), name.c_str());
    } else {
        openToRead(name.c_str(), allocator);
    }
}

void MemoryMappedFile::openPrivate(const char* filename) {
    if (!checkNotNull(filename, kSourcePath, "filename must not be NULL.")) {
        return;
    }
    const std::string name = filename;
    close();
    m_permissions = kPermissionsReadWrite;
    mapOpened(Platform::openPrivateFile(name.c_str()), name.c_str());
}

// Right behind the call that opened the file to write, whose failure it reports.
void MemoryMappedFile::mapOpened(std::intptr_t file, const char* filename) {
    m_file = file;
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
    m_view.begin = static_cast<std::uint8_t*>(view);
    m_view.end = m_view.begin + size;
    MemoryRegion::operator=(m_view);
}

void MemoryMappedFile::close() {
    unmap();
    const Handle file = std::exchange(m_file, kNoHandle);
    if (file != kNoHandle && !Platform::closeFile(file)) {
        toolsAssert(kSourcePath, __LINE__, "CloseHandle failed: %s.", SystemReport().c_str());
    }
}

// Each field is cleared before the call that may report, so that a callback that throws leaves none stale.
// A view lets go of what is not its own.
void MemoryMappedFile::unmap() {
    const MemoryRegion view = std::exchange(m_view, MemoryRegion());
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

// A file that does not get its size, as on a full disk, is mapped again as it was.
bool MemoryMappedFile::setFileSize(std::uint64_t bytes, std::uint64_t oldBytes) {
    const bool isSought = Platform::seekFile(m_file, bytes);
    if (isSought && Platform::setEndOfFile(m_file)) {
        return true;
    }
    const SystemReport reason;
    if (oldBytes != 0) {
        m_mapping = Platform::createMapping(m_file, true);
        if (void* const view = Platform::mapView(m_mapping, oldBytes, true)) {
            setView(view, oldBytes);
        }
    }
    toolsAssert(kSourcePath, __LINE__,
                isSought ? "SetEndOfFile of %p failed: %s." : "SetFilePointer of %p failed: %s.",
                asPointer(m_file), reason.c_str());
    return false;
}

void MemoryMappedFile::doResize(unsigned long long bytes) {
    const bool mayWrite =
        check(m_permissions == kPermissionsReadWrite, kSourcePath, "m_permissions == kPermissionsReadWrite");
    if (!mayWrite || m_file == kNoHandle) {
        return;
    }
    const std::uint64_t oldBytes = m_view.length();
    unmap();
    if (!setFileSize(bytes, oldBytes) || bytes == 0) {
        return;
    }
    checkHandle(Platform::seekFile(m_file, 0), __LINE__, "SetFilePointer of %p failed: %s.",
                asPointer(m_file));
    mapResized(bytes);
}

} // namespace qor::Texsmith::Raw
