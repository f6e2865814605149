// Memory as the library sees it: regions, and the three kinds of storage that can grow.
//
// A region is a pair of pointers and owns nothing; sizes are in bytes. Storage owns what its resize made,
// until its destruction:
//
//     AllocatedMemory    a block of the heap, from a client's allocator or the library's
//     MappedMemory       pages of the operating system, which can be made read-only
//     MemoryMappedFile   a file
//
// A copy of a storage object is a borrowed view: it has the same bounds, releases nothing, and is valid until
// the owner is resized or goes. Resizing a view gives it memory of its own, except for files. Moving hands
// the ownership over and leaves an empty object. Assigning a view back to its owner keeps the owner's memory.
//
// Growing keeps the old bytes, and what is new is zero with the library's own allocator, pages and files. A
// resize that fails makes one report and keeps size and contents, so that `length() < bytes` tells.
//
// Destructors and moves report what fails, and let no exception of a report's handler out.
//
// Nothing here has a lock. Threads may use disjoint parts of a region; nothing may be resized meanwhile.
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
    virtual ~ResizableMemoryRegion() = default;
    void resize(unsigned long long bytes) { doResize(bytes); }
    // As resize, but storage of its own that has this size already may stay where it is.
    void ensureSize(unsigned long long bytes) { doEnsureSize(bytes); }

private:
    virtual void doResize(unsigned long long bytes) = 0;
    virtual void doEnsureSize(unsigned long long bytes) { doResize(bytes); }
};

// A heap block from an IAllocator, at alignment 256. Every resize moves the block, even to the same size;
// only where there is no memory for a smaller one, it is cut where it is.
class QOR_TEXSMITH_API AllocatedMemory : public ResizableMemoryRegion {
public:
    explicit AllocatedMemory(IAllocator allocator = g_mallocAllocator);
    AllocatedMemory(const AllocatedMemory& other);
    AllocatedMemory(AllocatedMemory&& other) noexcept;
    AllocatedMemory& operator=(const AllocatedMemory& other);
    AllocatedMemory& operator=(AllocatedMemory&& other) noexcept;
    ~AllocatedMemory() override;
    // For blocks to come; the present one goes back to where it came from.
    void setAllocator(IAllocator allocator);

protected:
    // As resize, but without memory nothing changes or is reported, and it tells so.
    bool tryResize(unsigned long long bytes);

private:
    void doResize(unsigned long long bytes) override;
    void doEnsureSize(unsigned long long bytes) override;
    void releaseBlock();
    void swap(AllocatedMemory& other) noexcept;

    IAllocator m_allocator; // for blocks to come
    MemoryRegion m_block;   // the block that this object owns; null in a view
    IAllocator m_blockAllocator;
};

enum Permissions : unsigned { kPermissionsReadOnly = 0, kPermissionsReadWrite = 1 };

// Pages from the operating system, zeroed. Set read-only, they trap stray writes. Resizing read-only pages is
// reported, and gives pages that can be written.
class QOR_TEXSMITH_API MappedMemory : public ResizableMemoryRegion {
public:
    MappedMemory() = default;
    MappedMemory(const MappedMemory& other);
    MappedMemory(MappedMemory&& other) noexcept;
    MappedMemory& operator=(const MappedMemory& other);
    MappedMemory& operator=(MappedMemory&& other) noexcept;
    ~MappedMemory() override;
    // Of the whole region, at once. Without pages it is reported.
    void setPermissions(Permissions permissions);

private:
    void doResize(unsigned long long bytes) override;
    void doEnsureSize(unsigned long long bytes) override;
    void swap(MappedMemory& other) noexcept;

    Permissions m_permissions = kPermissionsReadWrite;
    MemoryRegion m_pages; // what this object owns; null in a view
};

// A file as a region. Opened read-write it is made if it does not exist, and resize changes the file's size;
// no second writer can open it meanwhile. A read-only name may be a URL. A copy is a view without the file:
// its resize does nothing. Names are UTF-8 on Windows and bytes as they are elsewhere. They may lie in the
// region itself.
class QOR_TEXSMITH_API MemoryMappedFile : public ResizableMemoryRegion {
public:
    // Does nothing further for a null filename. `allocator` gives scratch memory during open.
    MemoryMappedFile(const char* filename, Permissions permissions, IAllocator allocator);
    MemoryMappedFile(const MemoryMappedFile& other);
    MemoryMappedFile(MemoryMappedFile&& other) noexcept;
    MemoryMappedFile& operator=(const MemoryMappedFile& other);
    MemoryMappedFile& operator=(MemoryMappedFile&& other) noexcept;
    ~MemoryMappedFile() override;

    // Closes what is open first. Failures are reported; the region is then null, as it is for an empty file.
    void open(const char* filename, Permissions permissions, IAllocator allocator);
    // Read-write, for a file that a program makes for itself where others may write too, such as a cache
    // among temporary files. A new one is for this user alone; an existing one must be a plain file of this
    // user, which others cannot write, under this name only. A link is not followed.
    void openPrivate(const char* filename);

    void close();

private:
    MemoryMappedFile() = default;
    void doResize(unsigned long long bytes) override;
    void mapOpened(std::intptr_t file, const char* filename);
    void openToRead(const char* filename, const IAllocator& allocator);
    void mapWhole(const char* name, std::uint64_t size);
    void mapResized(std::uint64_t size);
    void setView(void* view, std::uint64_t size);
    void unmap();
    bool setFileSize(std::uint64_t bytes, std::uint64_t oldBytes);
    void swap(MemoryMappedFile& other) noexcept;

    Permissions m_permissions = kPermissionsReadOnly;
    std::intptr_t m_file = -1;    // -1: closed
    std::intptr_t m_mapping = -1; // -1: none
    MemoryRegion m_view;          // of the mapping; null in a view of another object's
};

} // namespace qor::Texsmith::Raw

namespace qor::Texsmith {
using Raw::MemoryRegion;
}
