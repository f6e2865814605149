#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace qor::Texsmith::Raw;
using TestSupport::ReportRecorder;

class Body : public UnhandledExceptionAbsorber {
public:
    explicit Body(std::function<int(int, char**)> body) : m_body(std::move(body)) {}

private:
    int doMain(int argc, char** argv) override { return m_body(argc, argv); }
    std::function<int(int, char**)> m_body;
};

TEST(UnhandledExceptionAbsorber, ReturnsWhatTheBodyReturns) {
    char name[] = "tool";
    char* argv[] = {name, nullptr};
    Body body([](int argc, char** arguments) { return argc * 100 + arguments[0][0]; });
    EXPECT_EQ(body.main(1, argv), 100 + 't');
    EXPECT_EQ(UnhandledExceptionAbsorber::Filter(0xC0000005u, nullptr), 1);
}

int recurse(volatile char* above, unsigned depth) {
    volatile char frame[2048];
    frame[0] = above[0];
    return depth == 0 ? frame[0] : recurse(frame, depth - 1) + frame[0];
}

// Each more than once: the first fault must leave the thread able to take the next.
TEST(UnhandledExceptionAbsorber, AbsorbsThrowsAndFaults) {
    MappedMemory pages;
    pages.resize(4096);
    pages.setPermissions(kPermissionsReadOnly);
    const auto write = [target = pages.begin] {
        *static_cast<volatile std::uint8_t*>(target) = 1;
        return 0;
    };
    volatile char top = 0;
    const std::function<int(int, char**)> kBodies[] = {
        [](int, char**) -> int { throw std::runtime_error("thrown"); },
        [](int, char**) -> int { throw 5; },
        [=](int, char**) -> int { return write(); },
        [&top](int, char**) -> int { return recurse(&top, 1u << 30); },
        [=](int, char**) -> int {
            Body inner([=](int, char**) -> int { return write(); });
            return inner.main(0, nullptr) == -1 ? write() : 0;
        },
    };
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < std::size(kBodies); ++i) {
            Body body(kBodies[i]);
            EXPECT_EQ(body.main(0, nullptr), -1) << i;
        }
    }
}

std::vector<std::string> g_arguments;

int recordArguments(int argc, char** argv) {
    g_arguments.assign(argv, argv + argc);
    EXPECT_EQ(argv[argc], nullptr);
    return 7;
}

struct CountingHeap {
    unsigned m_allocations = 0;
    unsigned m_live = 0;
    IAllocator allocator() {
        return {this,
                [](void* context, unsigned long long size, unsigned long long alignment) {
                    auto* heap = static_cast<CountingHeap*>(context);
                    ++heap->m_allocations;
                    ++heap->m_live;
                    return defaultAllocate(nullptr, size, alignment);
                },
                [](void* context, void* p) {
                    --static_cast<CountingHeap*>(context)->m_live;
                    defaultRelease(nullptr, p);
                }};
    }
};

TEST(MainUtf8, AllocatesOnlyForManyOrLongArguments) {
    const struct {
        std::size_t m_count;
        std::size_t m_length; // of the first argument; the others are one letter
        unsigned m_allocations;
    } kCases[] = {{0, 0, 0}, {1, 5, 0}, {32, 5, 0}, {33, 5, 1}, {1, 127, 0}, {1, 128, 1}, {60, 100, 2}};
    for (const auto& c : kCases) {
        std::vector<std::wstring> texts(c.m_count, L"x");
        std::vector<std::string> expected(c.m_count, "x");
        std::vector<wchar_t*> argv;
        if (c.m_count != 0) {
            texts[0] = std::wstring(c.m_length - 2, L'n') + L"\u00E9"; // two bytes
            expected[0] = std::string(c.m_length - 2, 'n') + "\xC3\xA9";
        }
        for (std::wstring& text : texts) {
            argv.push_back(text.data());
        }
        argv.push_back(nullptr);
        CountingHeap heap;
        EXPECT_EQ(main_utf8(static_cast<int>(c.m_count), argv.data(), &recordArguments, heap.allocator()), 7);
        EXPECT_EQ(g_arguments, expected);
        EXPECT_EQ(heap.m_allocations, c.m_allocations) << c.m_count << " " << c.m_length;
        EXPECT_EQ(heap.m_live, 0u);
    }
}

TEST(MainUtf8, ReportsNullArguments) {
    const ReportRecorder recorder;
    wchar_t* none[] = {nullptr};
    EXPECT_EQ(main_utf8(1, nullptr, &recordArguments, g_mallocAllocator), -1);
    EXPECT_EQ(main_utf8(0, none, nullptr, g_mallocAllocator), -1);
    EXPECT_EQ(recorder.texts(), "argv must not be NULL.\nmain must not be NULL.\n");
}

} // namespace
