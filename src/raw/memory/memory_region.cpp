#include "qor/texsmith/raw/memory_region.h"

#include "platform/platform.h"
#include "raw/frame/check.h"
#include "raw/frame/destructor_report.h"
#include "raw/frame/system_report.h"

#include <algorithm>
#include <cstring>
#include <functional>

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
    if (!Platform::releasePages(pages.begin, pages.length())) {
        toolsAssert(kSourcePath, __LINE__, "VirtualFree failed: %s", SystemReport().c_str());
    }
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

Error copy(MemoryRegion destination, MemoryRegion source, unsigned long long bytes) {
    if (bytes > destination.length()) {
        toolsAssert(kSourcePath, __LINE__,
                    "can not copy more bytes into destination, than destination has space to put them.");
    }
    if (bytes > source.length()) {
        toolsAssert(kSourcePath, __LINE__,
                    "can not copy more bytes from source, than source has bytes to read.");
    }
    copyBytes(destination.begin, source.begin, bytes);
    return kErrorNone;
}

bool same(MemoryRegion a, MemoryRegion b) { return a.begin == b.begin && a.end == b.end; }

AllocatedMemory::AllocatedMemory(IAllocator allocator) : m_allocator(allocator) {}

AllocatedMemory::AllocatedMemory(const AllocatedMemory& other)
    : ResizableMemoryRegion(other), m_allocator(other.m_allocator) {}

AllocatedMemory& AllocatedMemory::operator=(const AllocatedMemory& other) {
    if (this != &other) {
        releaseBlock();
        ResizableMemoryRegion::operator=(other);
        m_allocator = other.m_allocator;
        m_owner = false;
    }
    return *this;
}

AllocatedMemory::~AllocatedMemory() noexcept(false) { releaseBlock(); }

void AllocatedMemory::setAllocator(IAllocator allocator) { m_allocator = allocator; }

bool AllocatedMemory::tryResize(unsigned long long bytes) {
    const MemoryRegion block = regionOf(m_allocator.allocate(bytes, kBlockAlignment), bytes);
    if (block.begin == nullptr) {
        return false;
    }
    copy(block, *this);
    releaseBlock();
    MemoryRegion::operator=(block);
    m_owner = true;
    return true;
}

void AllocatedMemory::doResize(unsigned long long bytes) {
    if (!tryResize(bytes)) {
        releaseBlock();
        MemoryRegion::operator=({});
        m_owner = false;
    }
}

void AllocatedMemory::doEnsureSize(unsigned long long bytes) {
    if (!m_owner || length() != bytes) {
        doResize(bytes);
    }
}

void AllocatedMemory::releaseBlock() {
    if (m_owner) {
        m_allocator.release(begin);
    }
}

MappedMemory::MappedMemory(const MappedMemory& other)
    : ResizableMemoryRegion(other), m_permissions(other.m_permissions) {}

MappedMemory& MappedMemory::operator=(const MappedMemory& other) {
    if (this != &other) {
        if (m_owner) {
            releasePages(*this);
        }
        ResizableMemoryRegion::operator=(other);
        m_permissions = other.m_permissions;
        m_owner = false;
    }
    return *this;
}

MappedMemory::~MappedMemory() noexcept(false) {
    if (m_owner) {
        reportFromDestructor([this] { releasePages(*this); });
    }
}

void MappedMemory::setPermissions(Permissions permissions) {
    m_permissions = permissions;
    if (!Platform::protectPages(begin, length(), permissions == kPermissionsReadWrite)) {
        toolsAssert(kSourcePath, __LINE__, "VirtualProtect failed: %s", SystemReport().c_str());
    }
}

// Read-only pages go on to their report.
void MappedMemory::doEnsureSize(unsigned long long bytes) {
    if (!m_owner || m_permissions != kPermissionsReadWrite || length() != bytes) {
        doResize(bytes);
    }
}

void MappedMemory::doResize(unsigned long long bytes) {
    check(m_permissions == kPermissionsReadWrite, kSourcePath, "m_permissions == kPermissionsReadWrite");
    const MemoryRegion pages = regionOf(Platform::allocatePages(bytes), bytes);
    if (pages.begin == nullptr) {
        toolsAssert(kSourcePath, __LINE__, "VirtualAlloc failed: %s", SystemReport().c_str());
    }
    copy(pages, *this);
    const MemoryRegion old = *this;
    const bool ownedOld = m_owner;
    MemoryRegion::operator=(pages);
    m_owner = pages.begin != nullptr;
    if (ownedOld) {
        releasePages(old);
    }
}

} // namespace qor::Texsmith::Raw
