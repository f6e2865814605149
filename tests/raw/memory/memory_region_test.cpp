#include "platform/platform.h"
#include "support/counting_heap.h"
#include "support/report_recorder.h"
#include "support/temporary_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using TestSupport::CountingHeap;
using TestSupport::ReportRecorder;
using TestSupport::TemporaryFile;

bool isZero(const std::uint8_t* from, const std::uint8_t* to) {
    return std::vector<std::uint8_t>(from, to) ==
           std::vector<std::uint8_t>(static_cast<std::size_t>(to - from));
}

std::string textOf(const MemoryRegion& region) { return std::string(region.begin, region.end); }

MemoryRegion regionOf(char* text, unsigned bytes) {
    MemoryRegion region;
    region.build(text, bytes);
    return region;
}

TEST(Allocator, GivesZeroedAlignedBlocks) {
    for (unsigned long long alignment = 1; alignment <= 4096; alignment *= 2) {
        for (const unsigned long long size : {0ull, 1ull, 100ull, 70000ull}) {
            auto* block = static_cast<std::uint8_t*>(g_mallocAllocator.allocate(size, alignment));
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u);
            EXPECT_TRUE(isZero(block, block + size));
            std::memset(block, 0xFF, size); // dirt for the next one to find
            g_mallocAllocator.release(block);
        }
    }
    EXPECT_EQ(g_mallocAllocator.allocate(UINT64_MAX - 8, 256), nullptr);
}

TEST(Allocator, TwoForTheWholeProcessMayBeReplaced) {
    CountingHeap system, gpuMapped;
    setToolsSystemAllocator(system.allocator());
    setToolsGpuMappedAllocator(gpuMapped.allocator());
    void* const a = toolsSystemAllocate(10, 16);
    void* const b = toolsGpuMappedAllocate(20, 32);
    toolsSystemRelease(a);
    toolsGpuMappedRelease(b);
    toolsSystemRelease(nullptr); // never reaches the heap
    toolsGpuMappedRelease(nullptr);
    EXPECT_EQ(system.m_asked, decltype(system.m_asked)({{10, 16}}));
    EXPECT_EQ(gpuMapped.m_asked, decltype(gpuMapped.m_asked)({{20, 32}}));
    EXPECT_TRUE(system.m_live == 0 && gpuMapped.m_live == 0);
    setToolsSystemAllocator(g_mallocAllocator);
    setToolsGpuMappedAllocator(g_mallocAllocator);
}

TEST(MemoryRegion, KnowsWhatItContains) {
    char bytes[10] = {};
    const MemoryRegion region = regionOf(bytes + 1, 8);
    EXPECT_TRUE(region.contains(bytes + 1) && region.contains(bytes + 8));
    EXPECT_FALSE(region.contains(bytes) || region.contains(bytes + 9));
    MemoryRegion other = region;
    EXPECT_TRUE(region.contains(other) && same(region, other));
    other.end += 1;
    EXPECT_FALSE(region.contains(other) || same(region, other));
    EXPECT_TRUE(other.contains(region));
    std::swap(other.begin, other.end);
    EXPECT_EQ(other.length(), 0u);
    other.begin = nullptr;
    EXPECT_EQ(other.length(), 0u);
}

TEST(MemoryRegion, CopiesTheShorterLengthOrExactly) {
    const ReportRecorder recorder;
    char source[] = "0123456789";
    char destination[] = ".......";
    EXPECT_EQ(copy(regionOf(destination, 4), regionOf(source, 10)), kErrorNone);
    EXPECT_STREQ(destination, "0123...");
    EXPECT_EQ(copy(regionOf(destination, 7), regionOf(source + 8, 2)), kErrorNone);
    EXPECT_STREQ(destination, "8923...");
    EXPECT_TRUE(recorder.empty());
    EXPECT_EQ(copy(regionOf(destination, 3), regionOf(source, 4), 6), kErrorNone); // past both, as it is told
    EXPECT_STREQ(destination, "012345.");
    EXPECT_EQ(copy(regionOf(nullptr, 3), MemoryRegion(), 3), kErrorNone); // but never through null
    const std::string overrun =
        "can not copy more bytes into destination, than destination has space to put them.\n"
        "can not copy more bytes from source, than source has bytes to read.\n";
    EXPECT_EQ(recorder.texts(),
              overrun + "if data parameter is NULL, bytes parameter must be NULL too.\n" + overrun);
    EXPECT_EQ(recorder.assertions().front().m_file, "raw\\memory\\memory_region");
}

// Growing keeps the bytes and adds zeroes. A copy has the same bytes and releases nothing; resized, it has a
// block of its own.
template <class Memory> void checkResizesAndViews(Memory& memory) {
    memory.resize(300);
    std::memset(memory.begin, 0x22, 300);
    memory.resize(100000);
    ASSERT_EQ(memory.length(), 100000u);
    EXPECT_EQ(memory.begin[299], 0x22);
    EXPECT_TRUE(isZero(memory.begin + 300, memory.end));
    memory.resize(200);
    ASSERT_EQ(memory.length(), 200u);
    const Memory view(memory);
    EXPECT_TRUE(same(view, memory));
    Memory assigned;
    assigned.resize(16);
    assigned = view;
    EXPECT_TRUE(same(assigned, memory));
    assigned.resize(128);
    EXPECT_EQ(assigned.begin[127], 0x22);
    assigned.begin[0] = 0x33;
    EXPECT_EQ(memory.begin[0], 0x22);
}

// Assigned back, a view leaves the owner its memory; and owners that move hand theirs over.
template <class Memory> void checkOwnership() {
    Memory owner;
    owner.resize(100);
    owner.begin[50] = 0x22;
    const Memory view(owner);
    owner = view;
    EXPECT_EQ(owner.begin[50], 0x22);
    Memory part(view);
    part.begin += 50;
    owner = part;
    EXPECT_EQ(owner.begin[0], 0x22);
    EXPECT_EQ(owner.length(), 50u);
    std::vector<Memory> owners;
    for (std::uint8_t i = 0; i < 9; ++i) {
        owners.emplace_back();
        owners.back().resize(100);
        owners.back().begin[50] = i;
    }
    owners.erase(owners.begin());
    for (std::uint8_t i = 0; i < 8; ++i) {
        EXPECT_EQ(owners[i].begin[50], i + 1);
    }
}

TEST(AllocatedMemory, OwnsItsBlockWhoeverAssignsOrMoves) { checkOwnership<AllocatedMemory>(); }
TEST(MappedMemory, OwnsItsPagesWhoeverAssignsOrMoves) { checkOwnership<MappedMemory>(); }

// The block goes back to where it came from.
TEST(AllocatedMemory, ABlockRemembersItsAllocator) {
    CountingHeap first, second;
    {
        AllocatedMemory memory(first.allocator());
        memory.resize(10);
        memory.setAllocator(second.allocator());
        EXPECT_EQ(first.m_live, 1);
        memory.resize(20);
        EXPECT_TRUE(first.m_live == 0 && second.m_live == 1);
        AllocatedMemory other(first.allocator());
        other = std::move(memory);
    }
    EXPECT_TRUE(first.m_live == 0 && second.m_live == 0);
}

template <class Memory> void checkFailedResize(Memory& memory, unsigned long long tooMany) {
    const ReportRecorder recorder;
    memory.resize(8);
    std::memcpy(memory.begin, "contents", 8);
    memory.resize(tooMany);
    EXPECT_EQ(recorder.assertions().size(), 1u) << recorder.texts();
    EXPECT_EQ(textOf(memory), "contents");
}

TEST(MemoryRegion, AResizeThatFailsKeepsTheContentsAndReportsOnce) {
    CountingHeap heap;
    heap.m_limit = 100;
    AllocatedMemory block(heap.allocator());
    checkFailedResize(block, 101);
    heap.m_limit = 0;
    block.resize(4); // no memory for a smaller one, either
    EXPECT_EQ(textOf(block), "cont");
    MappedMemory pages;
    checkFailedResize(pages, 1ull << 62);
    const TemporaryFile name;
    MemoryMappedFile file(name.c_str(), kPermissionsReadWrite, g_mallocAllocator);
    checkFailedResize(file, 1ull << 62);
    file.resize(4);
    EXPECT_EQ(textOf(file), "cont");
}

TEST(AllocatedMemory, ResizesThroughItsAllocator) {
    CountingHeap heap;
    {
        AllocatedMemory memory(heap.allocator());
        checkResizesAndViews(memory);
    }
    EXPECT_EQ(heap.m_asked, decltype(heap.m_asked)({{300, 256}, {100000, 256}, {200, 256}, {128, 256}}));
    EXPECT_EQ(heap.m_live, 0);
}

// Each report up to the system's own words, one a line.
std::string withoutReasons(const ReportRecorder& recorder) {
    std::string all;
    for (const TestSupport::Report& report : recorder.assertions()) {
        const std::size_t failed = report.m_text.find(" failed: ");
        all += report.m_text.substr(0, failed) + "\n";
    }
    return all;
}

TEST(MappedMemory, ResizesAndTrapsStrayWrites) {
    const ReportRecorder recorder;
    MappedMemory memory;
    checkResizesAndViews(memory);
    memory.setPermissions(kPermissionsReadOnly);
    EXPECT_FALSE(Platform::guardedCall([](void* p) { *static_cast<volatile char*>(p) = 1; }, memory.begin));
    EXPECT_EQ(memory.begin[0], 0x22);
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
    memory.resize(10);
    EXPECT_EQ(memory.begin[9], 0x22);
    memory.setPermissions(kPermissionsReadWrite);
    memory.resize(0);
    EXPECT_EQ(memory.begin, nullptr);
    EXPECT_EQ(memory.end, nullptr);
    memory.setPermissions(kPermissionsReadWrite);
    EXPECT_EQ(withoutReasons(recorder),
              "Assertion 'm_permissions == kPermissionsReadWrite' failed.\nVirtualAlloc\nVirtualProtect\n");
}

TEST(MemoryMappedFile, WritesAndResizesAFile) {
    const TemporaryFile name;
    const ReportRecorder recorder;
    MemoryMappedFile file(name.c_str(), kPermissionsReadWrite, g_mallocAllocator);
    EXPECT_EQ(file.begin, nullptr); // new, and empty
    file.resize(5);
    ASSERT_EQ(file.length(), 5u);
    std::memcpy(file.begin, "hello", 5);
    file.resize(10000);
    ASSERT_EQ(file.length(), 10000u);
    EXPECT_TRUE(isZero(file.begin + 5, file.end));
    file.resize(4);
    EXPECT_EQ(textOf(file), "hell");
    file.resize(0);
    EXPECT_EQ(file.begin, nullptr);
    EXPECT_EQ(name.read(), "");
    file.resize(2);
    ASSERT_EQ(file.length(), 2u);
    std::memcpy(file.begin, "ok", 2);
    file.close();
    EXPECT_EQ(file.begin, nullptr);
    file.resize(7); // closed: does nothing
    file.open(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    EXPECT_EQ(textOf(file), "ok");
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

TEST(MemoryMappedFile, CopiesAreViewsOfTheMapping) {
    const TemporaryFile name("contents");
    MemoryMappedFile file(name.c_str(), kPermissionsReadWrite, g_mallocAllocator);
    {
        MemoryMappedFile view(file);
        view.resize(3); // has no file to resize
        MemoryMappedFile other(nullptr, kPermissionsReadOnly, g_mallocAllocator);
        other = view;
        EXPECT_TRUE(same(other, file));
        file = other;
    }
    EXPECT_EQ(textOf(file), "contents");
    std::vector<MemoryMappedFile> files;
    files.push_back(std::move(file));
    files.emplace_back(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    files.front().resize(8);
    EXPECT_EQ(textOf(files.front()), "contents");
}

// The name goes with the mapping that it lies in.
TEST(MemoryMappedFile, OpensAFileThatItsContentsName) {
    const TemporaryFile second("second");
    const TemporaryFile first(second.name() + '\0');
    MemoryMappedFile file(first.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    file.open(reinterpret_cast<const char*>(file.begin), kPermissionsReadOnly, g_mallocAllocator);
    EXPECT_EQ(textOf(file), "second");
}

TEST(MemoryMappedFile, ReportsEachFailingCallInTurn) {
    const TemporaryFile missing;
    const TemporaryFile empty("");
    const std::string url = "http://host/a%b.tga";
    const struct {
        std::string m_name;
        Permissions m_permissions;
        std::string m_reports; // with * for the name
    } kCases[] = {
        {missing.name(), kPermissionsReadOnly,
         "CreateFileW to read *\nCreateFileMapping for *\nMapViewOfFile for *\n"},
        {empty.name(), kPermissionsReadOnly, "CreateFileMapping for *\nMapViewOfFile for *\n"},
        {missing.name() + "/x", kPermissionsReadWrite, "CreateFileW to write *\n"},
        {url, kPermissionsReadOnly,
         "URLDownloadToCacheFileW for *\nCreateFileW to read \"\"\nCreateFileMapping for *\nMapViewOfFile "
         "for *\n"},
    };
    for (const auto& c : kCases) {
        const ReportRecorder recorder;
        const MemoryMappedFile file(c.m_name.c_str(), c.m_permissions, g_mallocAllocator);
        std::string expected = c.m_reports;
        for (std::size_t star = expected.find('*'); star != std::string::npos; star = expected.find('*')) {
            expected.replace(star, 1, '"' + c.m_name + '"');
        }
        EXPECT_EQ(withoutReasons(recorder), expected);
        EXPECT_TRUE(same(file, MemoryRegion()));
    }
    const ReportRecorder recorder;
    MemoryMappedFile file(nullptr, kPermissionsReadOnly, g_mallocAllocator);
    file.open(nullptr, kPermissionsReadOnly, g_mallocAllocator);
    EXPECT_EQ(recorder.texts(), "filename must not be NULL.\n");
}

TEST(MemoryMappedFile, AReadOnlyFileKeepsItsSize) {
    const TemporaryFile name("contents");
    MemoryMappedFile file(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    const ReportRecorder recorder;
    file.resize(100);
    EXPECT_EQ(recorder.texts(), "Assertion 'm_permissions == kPermissionsReadWrite' failed.\n");
    EXPECT_EQ(textOf(file), "contents");
    EXPECT_EQ(name.read(), "contents");
}

// A report that throws out of the constructor must leave nothing open.
TEST(MemoryMappedFile, CallbacksMayThrow) {
    const TemporaryFile empty("");
    const ReportRecorder recorder(ReportRecorder::kThrow);
    for (int i = 0; i < 2000; ++i) { // more than a process may have open
        EXPECT_THROW(MemoryMappedFile(empty.c_str(), kPermissionsReadOnly, g_mallocAllocator),
                     std::runtime_error);
        ASSERT_EQ(recorder.assertions().back().m_text.find("CreateFileMapping"), 0u) << i;
    }
}

} // namespace
