#include "platform/platform.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using namespace qor::Texsmith;
namespace Tools = qor::ToolsAssert;
using Texts = std::vector<std::string>;

constexpr ListCallback kNoList = nullptr;
Texts g_texts;

// Formats twice: the list must serve more than once.
void listCallback(const char*, int, const char* format, ArgumentList* args) {
    for (int i = 0; i < 2; ++i) {
        char text[1024];
        va_list own;
        va_copy(own, *args);
        std::vsnprintf(text, sizeof text, format, own);
        va_end(own);
        g_texts.push_back(std::string("list ") + text);
    }
}

// Formats twice, too.
bool printCallback(const char* file, int line, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    formatReadyList(text, sizeof text, format, arguments);
    formatReadyList(text, sizeof text, format, arguments);
    va_end(arguments);
    g_texts.push_back(std::string("print ") + file + ":" + std::to_string(line) + " " + text);
    return true;
}

bool report(const char* text) { return toolsAssert("raw\\x", 7, "%d %s %.2f", 5, text, 0.75); }

void recordEvent(int type, int code, const char* text) {
    char number[32];
    std::snprintf(number, sizeof number, "event %d %08x ", type, static_cast<unsigned>(code));
    g_texts.push_back(std::string(number) + text);
}

class RecordingErrorHandler : public Raw::ErrorHandler {
    void doHandle(int code, const char* string) override { recordEvent(0, code, string); }
};

class Reporting : public testing::Test {
protected:
    void SetUp() override {
        g_texts.clear();
        Platform::setEventSink(&recordEvent);
    }
    void TearDown() override {
        setAssertCallback(kNoList);
        setAssertCallback(&printfAssert);
        setWarningCallback(&Raw::defaultWarningCallback);
        Tools::setAssertCallback(kNoList);
        Tools::setAssertCallback(&Tools::printfAssert);
        Raw::g_errorHandler = m_errorHandler;
        Platform::setEventSink(nullptr);
    }
    static std::string numbered(const std::string& text) {
        char number[16];
        std::snprintf(number, sizeof number, "%04x ", Raw::g_random);
        return number + text;
    }

    Raw::ErrorHandler* m_errorHandler = Raw::g_errorHandler;
    RecordingErrorHandler m_recording;
};

TEST_F(Reporting, ListSlotGoesBeforePrintSlotInEachNamespaceForItself) {
    setAssertCallback(&printCallback);
    Tools::setAssertCallback(&listCallback);
    EXPECT_FALSE(report("five"));
    EXPECT_FALSE(Tools::toolsAssert("tool", 1, "%d", 6));
    Tools::setAssertCallback(kNoList);
    Tools::setAssertCallback(static_cast<PrintCallback>(nullptr));
    EXPECT_FALSE(Tools::toolsAssert("tool", 1, "swallowed"));
    setAssertCallback(&listCallback);
    EXPECT_FALSE(report("last"));
    setWarningCallback(&listCallback);
    EXPECT_TRUE(toolsWarning("raw\\x", 7, "%s", "cut"));
    setWarningCallback(nullptr);
    EXPECT_TRUE(toolsWarning("raw\\x", 7, "swallowed"));
    EXPECT_EQ(g_texts, (Texts{"print raw\\x:7 5 five 0.75", "list 6", "list 6", "list 5 last 0.75",
                              "list 5 last 0.75", "list cut", "list cut"}));
}

// As the slots are at first: other tests put back what they change.
TEST_F(Reporting, DefaultsPrintAssertionsAsErrorsAndWarningsAsOutput) {
    const std::string text(2000, 'x');
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_FALSE(report(text.c_str()));
    EXPECT_FALSE(Tools::toolsAssert("tool", 8, "%d", 6));
    EXPECT_TRUE(toolsWarning("raw\\x", 7, "5 %s", text.c_str()));
    const std::string cut = "5 " + text.substr(0, 1021) + "\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\nAssertion failed:\n   File:     raw\\x\n   Line:     7\nMessage:  " + cut +
                  "\nAssertion failed:\n   File:     tool\n   Line:     8\nMessage:  6\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Warning:  " + cut);
}

void overwriteStack() {
    volatile char stack[4096];
    for (volatile char& byte : stack) {
        byte = 0x5A;
    }
}

TEST_F(Reporting, ThrownMessagesOutliveTheirFrames) {
    std::vector<char*> thrown;
    for (const PrintCallback name : {&throwMessageWhenFalse, &throwMesssagWhenFalse,
                                     &Tools::throwMessageWhenFalse, &Tools::throwMesssagWhenFalse}) {
        setAssertCallback(name);
        try {
            report(std::to_string(thrown.size()).c_str());
        } catch (char* text) {
            overwriteStack();
            thrown.push_back(text);
        }
    }
    EXPECT_EQ(Texts(thrown.begin(), thrown.end()), (Texts{"5 0 0.75", "5 1 0.75", "5 2 0.75", "5 3 0.75"}));
    std::thread([&thrown] {
        try {
            report("another thread");
        } catch (char* text) {
            thrown.push_back(text);
        }
    }).join();
    EXPECT_EQ(std::string(thrown.back()), "5 another thread 0.75");
}

// With itself installed the callback reports through itself, once for each null, and then the rest.
TEST_F(Reporting, AssertCallbackHandsOnNumberedText) {
    Raw::g_errorHandler = &m_recording;
    setAssertCallback(&Raw::assertCallback);
    EXPECT_FALSE(report("100%"));
    EXPECT_LE(Raw::g_random, 0x7FFFu);
    EXPECT_EQ(g_texts.back(), "event 0 c0d78000 " + numbered("raw\\x line 7: 5 100% 0.75"));
    report(std::string(2000, 'x').c_str());
    EXPECT_EQ(g_texts.back().size(), std::string("event 0 c0d78000 ").size() + 1023);
    g_texts.clear();
    Raw::assertCallback(nullptr, 3, nullptr, nullptr);
    ASSERT_EQ(g_texts.size(), 4u);
    EXPECT_NE(g_texts[0].find("filename must not be NULL."), std::string::npos);
    EXPECT_NE(g_texts[1].find("format must not be NULL."), std::string::npos);
    EXPECT_NE(g_texts[2].find("args must not be NULL."), std::string::npos);
    EXPECT_EQ(g_texts[3], "event 0 c0d78000 " + numbered(" line 3: "));
}

TEST_F(Reporting, WindowsErrorHandlerPrintsLogsAndThrows) {
    setAssertCallback(&Raw::assertCallback);
    testing::internal::CaptureStderr();
    std::string thrown;
    try {
        report("100%s%n");
    } catch (const std::exception& error) {
        thrown = error.what();
    }
    std::fprintf(stderr, "|still there");
    EXPECT_EQ(thrown, numbered("raw\\x line 7: 5 100%s%n 0.75"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), thrown + "|still there");
    EXPECT_EQ(g_texts, (Texts{"event 1 c0d78000 " + thrown}));
}

TEST_F(Reporting, WindowsLogHandlerAssertsErrorsOnly) {
    setAssertCallback(&listCallback);
    setWarningCallback(&Raw::warningCallback);
    EXPECT_TRUE(toolsWarning("raw\\y", 8, "%d", 6));
    EXPECT_EQ(g_texts, (Texts{"event 2 00000000 " + numbered("raw\\y line 8: 6")}));
    Raw::g_logHandler->report(Raw::LogHandler::kTypeError, 5, "%s", "bad");
    EXPECT_EQ(g_texts.at(1), "event 1 00000005 bad");
    EXPECT_EQ(g_texts.back(), "list Error: bad");
}

} // namespace
