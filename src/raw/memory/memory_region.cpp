// Regions, copies between them, and the storage that heap blocks and pages give.

#include "qor/texsmith/raw/memory_region.h"

#include "platform/platform.h"
#include "raw/frame/check.h"
#include "raw/frame/destructor_report.h"
#include "raw/frame/system_report.h"
#include "raw/memory/check_copy.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\memory\\memory_region";
constexpr unsigned long long kBlockAlignment = 256;

bool isBefore(const void* a, const void* b) { return std::less<const void*>()(a, b); }

void copyBytes(void* destination, const void* source, unsigned long long bytes) {
    if (bytes != 0 && destination != nullptr && source != nullptr) {
        std::memcpy(destination, source, static_cast<std::size_t>(bytes));
    }
}

// Empty when the storage was not to be had.
MemoryRegion regionOf(void* storage, unsigned long long bytes) {
    MemoryRegion region;
    if (storage != nullptr) {
        region.begin = static_cast<std::uint8_t*>(storage);
        region.end = region.begin + bytes;
    }
    return region;
}

void releasePages(MemoryRegion pages) {
    if (pages.begin != nullptr && !Platform::releasePages(pages.begin, pages.length())) {
        toolsAssert(kSourcePath, __LINE__, "VirtualFree failed: %s", SystemReport().c_str());
    }
}

void swapBounds(MemoryRegion& a, MemoryRegion& b) noexcept {
    std::swap(a.begin, b.begin);
    std::swap(a.end, b.end);
}

} // namespace

void MemoryRegion::build(const void* data, unsigned bytes) {
    if (data == nullptr && bytes != 0) {
        toolsAssert(kSourcePath, __LINE__, "if data parameter is NULL, bytes parameter must be NULL too.");
    }
    begin = static_cast<std::uint8_t*>(const_cast<void*>(data));
    end = reinterpret_cast<std::uint8_t*>(reinterpret_cast<std::uintptr_t>(data) + bytes);
}

unsigned long long MemoryRegion::length() const {
    const auto first = reinterpret_cast<std::uintptr_t>(begin);
    const auto last = reinterpret_cast<std::uintptr_t>(end);
    return begin != nullptr && last > first ? last - first : 0;
}

bool MemoryRegion::contains(const void* pointer) const {
    checkNotNull(pointer, kSourcePath, "pointer must not be NULL.");
    return !isBefore(pointer, begin) && isBefore(pointer, end);
}

bool MemoryRegion::contains(const MemoryRegion& other) const {
    return !isBefore(other.begin, begin) && !isBefore(end, other.end);
}

Error copy(MemoryRegion destination, MemoryRegion source) {
    copyBytes(destination.begin, source.begin, std::min(destination.length(), source.length()));
    return kErrorNone;
}

unsigned long long checkCopy(MemoryRegion destination, MemoryRegion source, unsigned long long bytes) {
    if (bytes > destination.length()) {
        toolsAssert(kSourcePath, __LINE__,
                    "can not copy more bytes into destination, than destination has space to put them.");
    }
    if (bytes > source.length()) {
        toolsAssert(kSourcePath, __LINE__,
                    "can not copy more bytes from source, than source has bytes to read.");
    }
    return std::min({bytes, destination.length(), source.length()});
}

// Past the ends on purpose: the caller answers for the memory.
Error copy(MemoryRegion destination, MemoryRegion source, unsigned long long bytes) {
    checkCopy(destination, source, bytes);
    copyBytes(destination.begin, source.begin, bytes);
    return kErrorNone;
}

bool same(MemoryRegion a, MemoryRegion b) { return a.begin == b.begin && a.end == b.end; }

AllocatedMemory::AllocatedMemory(IAllocator allocator)
    : m_allocator(allocator), m_blockAllocator(allocator) {}

AllocatedMemory::AllocatedMemory(const AllocatedMemory& other)
    : ResizableMemoryRegion(other), m_allocator(other.m_allocator), m_blockAllocator(other.m_allocator) {}

AllocatedMemory::AllocatedMemory(AllocatedMemory&& other) noexcept : AllocatedMemory(other.m_allocator) {
    swap(other);
}

AllocatedMemory& AllocatedMemory::operator=(const AllocatedMemory& other) {
    if (!m_block.contains(other)) { // a view of this very block keeps it
        releaseBlock();
    }
    ResizableMemoryRegion::operator=(other);
    m_allocator = other.m_allocator;
    return *this;
}

AllocatedMemory& AllocatedMemory::operator=(AllocatedMemory&& other) noexcept {
    AllocatedMemory taken(std::move(other));
    swap(taken);
    return *this;
}

AllocatedMemory::~AllocatedMemory() { releaseBlock(); }

void AllocatedMemory::setAllocator(IAllocator allocator) { m_allocator = allocator; }

bool AllocatedMemory::tryResize(unsigned long long bytes) {
    const MemoryRegion block = regionOf(m_allocator.allocate(bytes, kBlockAlignment), bytes);
    if (block.begin == nullptr) {
        return false;
    }
    copy(block, *this);
    releaseBlock();
    MemoryRegion::operator=(block);
    m_block = block;
    m_blockAllocator = m_allocator;
    return true;
}

void AllocatedMemory::doResize(unsigned long long bytes) {
    if (tryResize(bytes)) {
        return;
    }
    if (begin != nullptr && begin == m_block.begin && bytes <= length()) {
        end = begin + bytes; // a smaller block would have been all the same
    } else {
        toolsAssert(kSourcePath, __LINE__, "No memory for a block of %llu bytes.", bytes);
    }
}

void AllocatedMemory::doEnsureSize(unsigned long long bytes) {
    if (m_block.begin == nullptr || begin != m_block.begin || length() != bytes) {
        doResize(bytes);
    }
}

void AllocatedMemory::releaseBlock() {
    m_blockAllocator.release(std::exchange(m_block, MemoryRegion()).begin);
}

void AllocatedMemory::swap(AllocatedMemory& other) noexcept {
    swapBounds(*this, other);
    swapBounds(m_block, other.m_block);
    std::swap(m_allocator, other.m_allocator);
    std::swap(m_blockAllocator, other.m_blockAllocator);
}

MappedMemory::MappedMemory(const MappedMemory& other)
    : ResizableMemoryRegion(other), m_permissions(other.m_permissions) {}

MappedMemory::MappedMemory(MappedMemory&& other) noexcept { swap(other); }

MappedMemory& MappedMemory::operator=(const MappedMemory& other) {
    if (!m_pages.contains(other)) { // a view of these very pages keeps them
        releasePages(std::exchange(m_pages, MemoryRegion()));
    }
    ResizableMemoryRegion::operator=(other);
    m_permissions = other.m_permissions;
    return *this;
}

MappedMemory& MappedMemory::operator=(MappedMemory&& other) noexcept {
    MappedMemory taken(std::move(other));
    swap(taken);
    return *this;
}

MappedMemory::~MappedMemory() {
    reportWithoutThrowing([this] { releasePages(m_pages); });
}

void MappedMemory::setPermissions(Permissions permissions) {
    m_permissions = permissions;
    if (!Platform::protectPages(begin, length(), permissions == kPermissionsReadWrite)) {
        toolsAssert(kSourcePath, __LINE__, "VirtualProtect failed: %s", SystemReport().c_str());
    }
}

// Read-only pages go on to their report.
void MappedMemory::doEnsureSize(unsigned long long bytes) {
    const bool isOwner = m_pages.begin != nullptr && begin == m_pages.begin;
    if (!isOwner || m_permissions != kPermissionsReadWrite || length() != bytes) {
        doResize(bytes);
    }
}

// The system has no pages of zero bytes: that is reported, and the region becomes empty all the same.
void MappedMemory::doResize(unsigned long long bytes) {
    check(m_permissions == kPermissionsReadWrite, kSourcePath, "m_permissions == kPermissionsReadWrite");
    const MemoryRegion pages = regionOf(Platform::allocatePages(bytes), bytes);
    if (pages.begin != nullptr) {
        copy(pages, *this);
        MemoryRegion::operator=(pages);
        releasePages(std::exchange(m_pages, pages));
    } else if (bytes != 0 && begin != nullptr && begin == m_pages.begin && bytes <= length()) {
        end = begin + bytes; // fewer pages would have been all the same
    } else {
        const SystemReport reason;
        if (bytes == 0) {
            begin = end = nullptr;
            releasePages(std::exchange(m_pages, MemoryRegion()));
        }
        toolsAssert(kSourcePath, __LINE__, "VirtualAlloc failed: %s", reason.c_str());
    }
}

void MappedMemory::swap(MappedMemory& other) noexcept {
    swapBounds(*this, other);
    swapBounds(m_pages, other.m_pages);
    std::swap(m_permissions, other.m_permissions);
}

} // namespace qor::Texsmith::Raw
