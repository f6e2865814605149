#include "platform/platform.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using TestSupport::ReportRecorder;

bool isZero(const std::uint8_t* from, const std::uint8_t* to) {
    while (from != to && *from == 0) {
        ++from;
    }
    return from == to;
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

// Counts its calls, and keeps the sizes and alignments it was asked for.
struct Heap {
    std::vector<std::pair<unsigned long long, unsigned long long>> m_asked;
    int m_released = 0;
    IAllocator allocator() {
        return {this,
                [](void* context, unsigned long long size, unsigned long long alignment) {
                    static_cast<Heap*>(context)->m_asked.emplace_back(size, alignment);
                    return defaultAllocate(nullptr, size, alignment);
                },
                [](void* context, void* p) {
                    ++static_cast<Heap*>(context)->m_released;
                    defaultRelease(nullptr, p);
                }};
    }
};

TEST(Allocator, ClientsReplaceTheGlobalOnes) {
    Heap system;
    Heap gpu;
    setToolsSystemAllocator(system.allocator());
    setToolsGpuMappedAllocator(gpu.allocator());
    toolsSystemRelease(toolsSystemAllocate(10, 32));
    toolsGpuMappedRelease(toolsGpuMappedAllocate(20, 64));
    toolsSystemRelease(nullptr); // never reaches the client
    setToolsSystemAllocator(g_mallocAllocator);
    setToolsGpuMappedAllocator(g_mallocAllocator);
    EXPECT_EQ(system.m_asked.at(0), std::make_pair(10ull, 32ull));
    EXPECT_EQ(gpu.m_asked.at(0), std::make_pair(20ull, 64ull));
    EXPECT_EQ(system.m_released + gpu.m_released, 2);
}

TEST(MemoryRegion, KnowsWhatItContains) {
    std::uint8_t bytes[10] = {};
    MemoryRegion region;
    region.build(bytes + 1, 8);
    EXPECT_EQ(region.length(), 8u);
    EXPECT_TRUE(region.contains(bytes + 1));
    EXPECT_TRUE(region.contains(bytes + 8));
    EXPECT_FALSE(region.contains(bytes));
    EXPECT_FALSE(region.contains(bytes + 9));
    MemoryRegion other = region;
    EXPECT_TRUE(region.contains(other));
    EXPECT_TRUE(same(region, other));
    other.end += 1;
    EXPECT_FALSE(region.contains(other));
    EXPECT_FALSE(same(region, other));
    EXPECT_TRUE(other.contains(region));
    std::swap(other.begin, other.end);
    EXPECT_EQ(other.length(), 0u);
}

TEST(MemoryRegion, CopiesTheShorterLength) {
    char source[] = "0123456789";
    char destination[] = "....!";
    MemoryRegion from;
    MemoryRegion to;
    from.build(source, 10);
    to.build(destination, 4);
    EXPECT_EQ(copy(to, from), kErrorNone);
    EXPECT_STREQ(destination, "0123!");
    EXPECT_EQ(copy(from, MemoryRegion()), kErrorNone);
    from.build(source + 8, 2);
    EXPECT_EQ(copy(to, from), kErrorNone);
    EXPECT_STREQ(destination, "8923!");
}

TEST(MemoryRegion, ReportsMisuseAndGoesOn) {
    const ReportRecorder recorder;
    MemoryRegion region;
    region.build(nullptr, 3);
    EXPECT_EQ(region.begin, nullptr);
    EXPECT_FALSE(MemoryRegion().contains(nullptr));
    char source[] = "0123456789";
    char destination[] = ".......";
    MemoryRegion from;
    MemoryRegion to;
    from.build(source, 4);
    to.build(destination, 3);
    EXPECT_EQ(copy(to, from, 6), kErrorNone); // the memory is there; only the regions are too short
    EXPECT_STREQ(destination, "012345.");
    EXPECT_EQ(copy(MemoryRegion(), MemoryRegion(), 5), kErrorNone);
    const std::string overruns =
        "can not copy more bytes into destination, than destination has space to put them.\n"
        "can not copy more bytes from source, than source has bytes to read.\n";
    EXPECT_EQ(recorder.texts(), "if data parameter is NULL, bytes parameter must be NULL too.\n"
                                "pointer must not be NULL.\n" +
                                    overruns + overruns);
    EXPECT_EQ(recorder.assertions().front().m_file, "raw\\memory_region");
}

// What every storage with an allocator or pages behind it must do.
template <class Memory> void checkResizes(Memory& memory) {
    memory.resize(300);
    ASSERT_EQ(memory.length(), 300u);
    EXPECT_TRUE(isZero(memory.begin, memory.end));
    std::memset(memory.begin, 0x11, 300);
    memory.resize(100000);
    ASSERT_EQ(memory.length(), 100000u);
    EXPECT_EQ(memory.begin[299], 0x11);
    EXPECT_TRUE(isZero(memory.begin + 300, memory.end));
    memory.resize(200);
    ASSERT_EQ(memory.length(), 200u);
    EXPECT_EQ(memory.begin[199], 0x11);
}

// A copy reads the same bytes and releases nothing; resized, it has a block of its own.
template <class Memory> void checkViews(Memory& memory) {
    memory.resize(64);
    std::memset(memory.begin, 0x22, 64);
    Memory view(memory);
    EXPECT_TRUE(same(view, memory));
    Memory assigned;
    assigned.resize(16);
    assigned = view;
    EXPECT_TRUE(same(assigned, memory));
    assigned.resize(128);
    EXPECT_FALSE(same(assigned, memory));
    EXPECT_EQ(assigned.begin[63], 0x22);
    assigned.begin[0] = 0x33;
    EXPECT_EQ(memory.begin[0], 0x22);
}

TEST(AllocatedMemory, ResizesThroughItsAllocator) {
    Heap heap;
    {
        AllocatedMemory memory(heap.allocator());
        checkResizes(memory);
        checkViews(memory);
        memory = *&memory; // keeps its block
        EXPECT_EQ(memory.begin[0], 0x22);
    }
    EXPECT_EQ(heap.m_asked.front(), std::make_pair(300ull, 256ull));
    EXPECT_EQ(heap.m_released, static_cast<int>(heap.m_asked.size()));
    EXPECT_EQ(heap.m_asked.size(), 5u); // three sizes, the owner's 64 and the view's 128
}

TEST(MappedMemory, ResizesAndProtects) {
    const ReportRecorder recorder;
    MappedMemory memory;
    checkResizes(memory);
    checkViews(memory);
    memory.setPermissions(kPermissionsReadOnly);
    EXPECT_FALSE(Platform::guardedCall([](void* p) { *static_cast<volatile char*>(p) = 1; }, memory.begin));
    EXPECT_EQ(memory.begin[0], 0x22);
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
    memory.resize(10);
    EXPECT_EQ(recorder.texts(), "Assertion 'm_permissions == kPermissionsReadWrite' failed.\n");
    EXPECT_EQ(memory.begin[9], 0x22);
}

TEST(MappedMemory, ReportsSystemFailures) {
    const ReportRecorder recorder;
    MappedMemory memory;
    memory.setPermissions(kPermissionsReadWrite);
    memory.resize(10);
    memory.resize(0);
    EXPECT_EQ(memory.begin, nullptr);
    EXPECT_EQ(memory.end, nullptr);
    const auto& reports = recorder.assertions();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].m_text.find("VirtualProtect failed: "), 0u);
    EXPECT_EQ(reports[1].m_text.find("VirtualAlloc failed: "), 0u);
    EXPECT_GT(reports[1].m_text.size(), std::strlen("VirtualAlloc failed: "));
}

// A name in the temporary directory; the file goes with the object.
class TemporaryFile {
public:
    TemporaryFile()
        : m_name((std::filesystem::temp_directory_path() /
                  ("texsmith_region_" + std::to_string(Platform::getProcessId()) + "_" +
                   std::to_string(s_count++) + "\xC3\xA9"))
                     .string()) {}
    ~TemporaryFile() { Platform::deleteFile(c_str()); }
    const char* c_str() const { return m_name.c_str(); }
    void write(const std::string& text) const { std::ofstream(m_name, std::ios::binary) << text; }
    std::string read() const {
        std::ifstream stream(m_name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    static inline int s_count = 0;
    std::string m_name;
};

// Each report up to the system's own words, one a line.
std::string withoutReasons(const ReportRecorder& recorder) {
    std::string all;
    for (const TestSupport::Report& report : recorder.assertions()) {
        const std::size_t failed = report.m_text.find(" failed:");
        all += report.m_text.substr(0, failed) + "\n";
        EXPECT_NE(failed, std::string::npos) << report.m_text;
    }
    return all;
}

std::string textOf(const MemoryRegion& region) { return std::string(region.begin, region.end); }

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
    EXPECT_EQ(std::memcmp(file.begin, "hello", 6), 0);
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
    EXPECT_EQ(name.read(), "ok");
    file.open(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    EXPECT_EQ(textOf(file), "ok");
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

TEST(MemoryMappedFile, CopiesAreViewsOfTheMapping) {
    const TemporaryFile name;
    name.write("contents");
    MemoryMappedFile file(name.c_str(), kPermissionsReadWrite, g_mallocAllocator);
    {
        MemoryMappedFile view(file);
        EXPECT_TRUE(same(view, file));
        view.resize(3); // has no file to resize
        MemoryMappedFile other(nullptr, kPermissionsReadOnly, g_mallocAllocator);
        other = view;
        EXPECT_TRUE(same(other, file));
        other.open(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
        EXPECT_EQ(textOf(other), "contents");
    }
    EXPECT_EQ(textOf(file), "contents");
}

TEST(MemoryMappedFile, ReportsEachFailingCallInTurn) {
    const TemporaryFile missing;
    const TemporaryFile empty;
    empty.write("");
    const std::string noPlace = missing.c_str() + std::string("/x");
    const std::string quotedMissing = "\"" + std::string(missing.c_str()) + "\"";
    const std::string quotedEmpty = "\"" + std::string(empty.c_str()) + "\"";
    const std::string url = "http://host/a%b.tga";
    const struct {
        std::string m_name;
        Permissions m_permissions;
        std::string m_reports;
    } kCases[] = {
        {missing.c_str(), kPermissionsReadOnly,
         "CreateFileW to read " + quotedMissing + "\nCreateFileMapping for " + quotedMissing +
             "\nMapViewOfFile for " + quotedMissing + "\n"},
        {empty.c_str(), kPermissionsReadOnly,
         "CreateFileMapping for " + quotedEmpty + "\nMapViewOfFile for " + quotedEmpty + "\n"},
        {noPlace, kPermissionsReadWrite, "CreateFileW to write \"" + noPlace + "\"\n"},
        {url, kPermissionsReadOnly,
         "URLDownloadToCacheFileW for \"" + url + "\"\nCreateFileW to read \"\"\nCreateFileMapping for \"" +
             url + "\"\nMapViewOfFile for \"" + url + "\"\n"},
    };
    for (const auto& c : kCases) {
        const ReportRecorder recorder;
        const MemoryMappedFile file(c.m_name.c_str(), c.m_permissions, g_mallocAllocator);
        EXPECT_EQ(withoutReasons(recorder), c.m_reports);
        EXPECT_EQ(file.begin, nullptr);
        EXPECT_EQ(file.end, nullptr);
    }
    const ReportRecorder recorder;
    MemoryMappedFile file(nullptr, kPermissionsReadOnly, g_mallocAllocator);
    file.open(nullptr, kPermissionsReadOnly, g_mallocAllocator);
    EXPECT_EQ(recorder.texts(), "filename must not be NULL.\n");
}

TEST(MemoryMappedFile, ReadOnlyFilesAreNotResized) {
    const TemporaryFile name;
    name.write("contents");
    const ReportRecorder recorder;
    MemoryMappedFile file(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    file.resize(100);
    ASSERT_EQ(recorder.assertions().size(), 2u);
    EXPECT_EQ(recorder.assertions()[0].m_text, "Assertion 'm_permissions == kPermissionsReadWrite' failed.");
    EXPECT_EQ(recorder.assertions()[1].m_text.find("SetEndOfFile of "), 0u);
    EXPECT_EQ(file.begin, nullptr);
    EXPECT_EQ(name.read(), "contents");
}

// More than any file system holds. The file keeps its contents, and can be resized again.
TEST(MemoryMappedFile, AFileThatCannotGrowIsReportedAndNotMapped) {
    const TemporaryFile name;
    name.write("contents");
    MemoryMappedFile file(name.c_str(), kPermissionsReadWrite, g_mallocAllocator);
    const ReportRecorder recorder;
    file.resize(1ull << 62);
    ASSERT_EQ(recorder.assertions().size(), 1u);
    EXPECT_EQ(recorder.assertions()[0].m_text.find("Set"), 0u); // the file pointer or the end of the file
    EXPECT_EQ(file.begin, nullptr);
    EXPECT_EQ(name.read(), "contents");
    file.resize(4);
    EXPECT_EQ(textOf(file), "cont");
}

// The constructor and the destructor must leave nothing open when a report throws.
TEST(MemoryMappedFile, CallbacksMayThrow) {
    const TemporaryFile empty;
    empty.write("");
    const ReportRecorder recorder(ReportRecorder::kThrow);
    for (int i = 0; i < 2000; ++i) { // more than a process may have open
        EXPECT_THROW(MemoryMappedFile(empty.c_str(), kPermissionsReadOnly, g_mallocAllocator),
                     std::runtime_error);
        ASSERT_EQ(recorder.assertions().back().m_text.find("CreateFileMapping"), 0u) << i;
    }
}

} // namespace
