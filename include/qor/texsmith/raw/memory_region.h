// Memory as the library sees it: regions, and the three kinds of storage that can grow.
//
// Nothing here has a lock. Threads may use disjoint parts of a region; nothing may be resized meanwhile.
// A copy of a storage object is a borrowed view: it has the same bounds and releases nothing. Resizing a view
// gives it a block of its own.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/allocator.h"
#include "qor/texsmith/raw/error.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// `begin` and one past the last byte. Owns nothing.
class QOR_TEXSMITH_API MemoryRegion {
public:
    std::uint8_t* begin = nullptr;
    std::uint8_t* end = nullptr;

    // Null data with a nonzero count is reported.
    void build(const void* data, unsigned bytes);
    unsigned long long length() const; // 0 when begin is null or behind end
    bool contains(const void* pointer) const;
    bool contains(const MemoryRegion& other) const;
};

// Copies as many bytes as the shorter region holds. Always kErrorNone.
QOR_TEXSMITH_API Error copy(MemoryRegion destination, MemoryRegion source);
// Copies exactly `bytes`. An overrun of either region is reported, and the bytes are copied all the same:
// the caller answers for the memory. Always kErrorNone.
QOR_TEXSMITH_API Error copy(MemoryRegion destination, MemoryRegion source, unsigned long long bytes);
// True when both pointers are equal. Compares no contents.
QOR_TEXSMITH_API bool same(MemoryRegion a, MemoryRegion b);

// A region that can change its size and may move when it does. Convert to MemoryRegion* only by
// static_cast or implicitly: the base does not lie at the object's start.
class QOR_TEXSMITH_API ResizableMemoryRegion : public MemoryRegion {
public:
    ResizableMemoryRegion() = default;
    ResizableMemoryRegion(const ResizableMemoryRegion&) = default;
    ResizableMemoryRegion& operator=(const ResizableMemoryRegion&) = default;
    virtual ~ResizableMemoryRegion() noexcept(false) = default;
    void resize(unsigned long long bytes) { doResize(bytes); }
    // As resize, but storage of its own that has this size already may stay where it is.
    void ensureSize(unsigned long long bytes) { doEnsureSize(bytes); }

private:
    virtual void doResize(unsigned long long bytes) = 0;
    virtual void doEnsureSize(unsigned long long bytes) { doResize(bytes); }
};

// A heap block from an IAllocator, at alignment 256. Growing keeps the old bytes; every resize moves the
// block.
class QOR_TEXSMITH_API AllocatedMemory : public ResizableMemoryRegion {
public:
    explicit AllocatedMemory(IAllocator allocator = g_mallocAllocator);
    AllocatedMemory(const AllocatedMemory& other);
    AllocatedMemory& operator=(const AllocatedMemory& other);
    ~AllocatedMemory() noexcept(false) override;
    // For blocks to come. Set it before the first resize.
    void setAllocator(IAllocator allocator);

protected:
    // As resize, but without memory nothing changes, and it tells so.
    bool tryResize(unsigned long long bytes);

private:
    void doResize(unsigned long long bytes) override;
    void doEnsureSize(unsigned long long bytes) override;
    void releaseBlock();

    IAllocator m_allocator;
    bool m_owner = false;
};

enum Permissions : unsigned { kPermissionsReadOnly = 0, kPermissionsReadWrite = 1 };

// Pages from the operating system, zeroed. Set read-only, they trap stray writes.
class QOR_TEXSMITH_API MappedMemory : public ResizableMemoryRegion {
public:
    MappedMemory() = default;
    MappedMemory(const MappedMemory& other);
    MappedMemory& operator=(const MappedMemory& other);
    ~MappedMemory() noexcept(false) override;
    void setPermissions(Permissions permissions);

private:
    void doResize(unsigned long long bytes) override;
    void doEnsureSize(unsigned long long bytes) override;

    Permissions m_permissions = kPermissionsReadWrite;
    bool m_owner = false;
};

// A file as a region. Opened read-write it is made if it does not exist, and resize changes the file's size.
// A read-only name may be a URL. A copy is a view without the file: its resize does nothing. Names are UTF-8
// on Windows and bytes as they are elsewhere.
class QOR_TEXSMITH_API MemoryMappedFile : public ResizableMemoryRegion {
public:
    // Does nothing further for a null filename. `allocator` gives scratch memory during open.
    MemoryMappedFile(const char* filename, Permissions permissions, IAllocator allocator);
    MemoryMappedFile(const MemoryMappedFile& other);
    MemoryMappedFile& operator=(const MemoryMappedFile& other);
    ~MemoryMappedFile() noexcept(false) override;

    // Failures are reported; the region is then null.
    void open(const char* filename, Permissions permissions, IAllocator allocator);
    void close();

private:
    MemoryMappedFile() = default;
    void doResize(unsigned long long bytes) override;
    void openToWrite(const char* filename);
    void openToRead(const char* filename, const IAllocator& allocator);
    void mapWhole(const char* name, std::uint64_t size);
    void mapResized(std::uint64_t size);
    void setView(void* view, std::uint64_t size);
    void unmap();
    bool setFileSize(unsigned long long bytes);

    Permissions m_permissions = kPermissionsReadOnly;
    std::intptr_t m_file = -1;    // -1: closed
    std::intptr_t m_mapping = -1; // -1: none
    bool m_owner = true;
};

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {
using Raw::MemoryRegion;
}
