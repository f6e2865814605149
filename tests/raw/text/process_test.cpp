#include "support/counting_heap.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace qor::Texsmith::Raw;

class Body : public UnhandledExceptionAbsorber {
public:
    explicit Body(std::function<int()> body) : m_body(std::move(body)) {}

private:
    int doMain(int argc, char** argv) override { return m_body() * argc + argv[0][0]; }
    std::function<int()> m_body;
};

int run(const std::function<int()>& body) {
    char name[] = "tool";
    char* argv[] = {name, nullptr};
    return Body(body).main(1, argv);
}

int recurse(volatile char* above, unsigned depth) {
    volatile char frame[2048];
    frame[0] = above[0];
    return depth == 0 ? frame[0] : recurse(frame, depth - 1) + frame[0];
}

// Each more than once: a fault must leave the thread able to take the next.
TEST(UnhandledExceptionAbsorber, AbsorbsThrowsAndFaults) {
    MappedMemory pages;
    pages.resize(4096);
    pages.setPermissions(kPermissionsReadOnly);
    const auto write = [target = pages.begin] {
        *static_cast<volatile std::uint8_t*>(target) = 1;
        return 0;
    };
    volatile char top = 0;
    std::vector<std::function<int()>> bodies = {
        []() -> int { throw std::runtime_error("thrown"); },
        []() -> int { throw 5; },
        write,
        [&] { return run(write) == -1 ? write() : 0; },
    };
    if (std::filesystem::path::preferred_separator ==
        '/') { // Windows has no stack of its own for the handler
        bodies.push_back([&top] { return recurse(&top, 1u << 30); });
    }
    for (int round = 0; round < 3; ++round) {
        for (std::size_t i = 0; i < bodies.size(); ++i) {
            EXPECT_EQ(run(bodies[i]), -1) << i;
        }
        EXPECT_EQ(run([] { return 100; }), 100 + 't');
    }
    EXPECT_EQ(UnhandledExceptionAbsorber::Filter(0xC0000005u, nullptr), 1);
}

std::vector<std::string> g_arguments;

int recordArguments(int argc, char** argv) {
    g_arguments.assign(argv, argv + argc);
    EXPECT_EQ(argv[argc], nullptr);
    return 7;
}

TEST(MainUtf8, AllocatesOnlyForManyOrLongArguments) {
    const struct {
        std::size_t m_count, m_length; // of the first argument; the others are one letter
        std::size_t m_allocations;
    } kCases[] = {{1, 5, 0}, {32, 5, 0}, {33, 5, 1}, {1, 127, 0}, {1, 128, 1}, {60, 100, 2}};
    for (const auto& c : kCases) {
        std::vector<std::wstring> texts(c.m_count, L"x");
        std::vector<std::string> expected(c.m_count, "x");
        texts[0] = std::wstring(c.m_length - 2, L'n') + L"\u00E9"; // two bytes
        expected[0] = std::string(c.m_length - 2, 'n') + "\xC3\xA9";
        std::vector<wchar_t*> argv;
        for (std::wstring& text : texts) {
            argv.push_back(text.data());
        }
        TestSupport::CountingHeap heap;
        EXPECT_EQ(main_utf8(static_cast<int>(c.m_count), argv.data(), &recordArguments, heap.allocator()), 7);
        EXPECT_EQ(g_arguments, expected);
        EXPECT_EQ(heap.m_asked.size(), c.m_allocations) << c.m_count << " " << c.m_length;
        EXPECT_EQ(heap.m_live, 0);
    }
    const TestSupport::ReportRecorder recorder;
    EXPECT_EQ(main_utf8(1, nullptr, nullptr, g_mallocAllocator), -1);
    EXPECT_FALSE(callOnInterrupt(nullptr));
    EXPECT_EQ(recorder.texts(),
              "argv must not be NULL.\nmain must not be NULL.\nhandler must not be NULL.\n");
}

} // namespace
