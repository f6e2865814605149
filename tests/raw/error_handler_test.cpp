#include "platform/platform.h"
#include "qor/texsmith/texsmith.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace qor::Texsmith;
using TestSupport::ReportRecorder;
namespace Tools = qor::ToolsAssert;

constexpr ListCallback kNoList = nullptr;
constexpr PrintCallback kNoPrint = nullptr;
constexpr int kFailed = static_cast<int>(0xC0D78000);

std::vector<std::string> g_texts;

std::string formatCopy(const char* format, ArgumentList* args) {
    char text[1024];
    va_list own;
    va_copy(own, *args);
    std::vsnprintf(text, sizeof text, format, own);
    va_end(own);
    return text;
}

// Formats twice: the list must serve more than once.
void listCallback(const char*, int, const char* format, ArgumentList* args) {
    g_texts.push_back("list " + formatCopy(format, args));
    g_texts.push_back("again " + formatCopy(format, args));
}

bool printCallback(const char* file, int line, const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    formatReadyList(text, sizeof text, format, arguments);
    va_end(arguments);
    g_texts.push_back(std::string("print ") + file + ":" + std::to_string(line) + " " + text);
    return true;
}

// Sets every slot back to what a fresh process has.
class Reporting : public testing::Test {
protected:
    void SetUp() override { g_texts.clear(); }
    void TearDown() override {
        setAssertCallback(kNoList);
        setAssertCallback(&printfAssert);
        Tools::setAssertCallback(kNoList);
        Tools::setAssertCallback(&Tools::printfAssert);
        Raw::g_errorHandler = m_errorHandler;
        Raw::g_logHandler = m_logHandler;
        Platform::setEventSink(nullptr);
    }

private:
    Raw::ErrorHandler* m_errorHandler = Raw::g_errorHandler;
    Raw::LogHandler* m_logHandler = Raw::g_logHandler;
};

bool report(const char* text) { return toolsAssert("raw\\x", 7, "%d %s %.2f", 5, text, 0.75); }

TEST_F(Reporting, PrintSlotGetsTheReadyList) {
    setAssertCallback(&printCallback);
    EXPECT_FALSE(report("five"));
    EXPECT_EQ(g_texts, std::vector<std::string>{"print raw\\x:7 5 five 0.75"});
}

TEST_F(Reporting, ListSlotGoesBeforePrintSlotAndMayFormatTwice) {
    setAssertCallback(&printCallback);
    setAssertCallback(&listCallback);
    EXPECT_FALSE(report("five"));
    EXPECT_EQ(g_texts, (std::vector<std::string>{"list 5 five 0.75", "again 5 five 0.75"}));
}

TEST_F(Reporting, EmptySlotsSwallowReports) {
    setAssertCallback(kNoPrint);
    EXPECT_FALSE(report("five"));
    setWarningCallback(nullptr);
    EXPECT_TRUE(toolsWarning("raw\\x", 7, "%d", 5));
}

TEST_F(Reporting, NamespacesHaveSlotsOfTheirOwn) {
    Tools::setAssertCallback(&listCallback);
    setAssertCallback(&printCallback);
    EXPECT_FALSE(report("five"));
    EXPECT_FALSE(Tools::toolsAssert("tool", 1, "%d", 6));
    Tools::setAssertCallback(kNoList);
    Tools::setAssertCallback(&printCallback);
    EXPECT_FALSE(Tools::toolsAssert("tool", 1, "%d", 7));
    EXPECT_EQ(g_texts, (std::vector<std::string>{"print raw\\x:7 5 five 0.75", "list 6", "again 6",
                                                 "print tool:1 7"}));
}

TEST_F(Reporting, DefaultAssertionPrintsOnTheErrorStream) {
    const std::string longText(2000, 'x');
    testing::internal::CaptureStderr();
    EXPECT_FALSE(report(longText.c_str()));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "\nAssertion failed:\n   File:     raw\\x\n   Line:     7\n"
              "Message:  5 " +
                  longText.substr(0, 1021) + "\n");
}

TEST_F(Reporting, WarningsGoToTheirSlot) {
    setWarningCallback(&listCallback);
    EXPECT_TRUE(toolsWarning("raw\\x", 7, "%s", "cut"));
    EXPECT_EQ(g_texts.front(), "list cut");
}

// In a process of its own, since the default cannot be set again.
TEST(ReportingDeathTest, DefaultWarningPrintsOnTheOutputStream) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            testing::internal::CaptureStdout();
            toolsWarning("raw\\x", 7, "%d left", 5);
            std::fputs(testing::internal::GetCapturedStdout().c_str(), stderr);
            std::exit(0);
        },
        testing::ExitedWithCode(0), "^Warning:  5 left\n$");
}

// Uses up the stack below the frames that have thrown.
void overwriteStack() {
    volatile char stack[4096];
    for (volatile char& byte : stack) {
        byte = 0x5A;
    }
}

TEST_F(Reporting, ThrownMessagesOutliveTheirFrames) {
    const PrintCallback kNames[] = {&throwMessageWhenFalse, &throwMesssagWhenFalse,
                                    &Tools::throwMessageWhenFalse, &Tools::throwMesssagWhenFalse};
    std::vector<char*> thrown;
    for (const PrintCallback name : kNames) {
        setAssertCallback(name);
        try {
            report(std::to_string(thrown.size()).c_str());
        } catch (char* text) {
            overwriteStack();
            thrown.push_back(text);
        }
    }
    ASSERT_EQ(thrown.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(std::string(thrown[i]), "5 " + std::to_string(i) + " 0.75");
    }
}

struct Event {
    int m_type;
    int m_code;
    std::string m_text;
    bool operator==(const Event&) const = default;
};
std::vector<Event> g_events;

void recordEvent(int type, int code, const char* text) { g_events.push_back({type, code, text}); }

// Both record what reaches them in g_events.
class RecordingErrorHandler : public Raw::ErrorHandler {
    void doHandle(int code, const char* string) override { recordEvent(0, code, string); }
};
class RecordingLogHandler : public Raw::LogHandler {
    void doReport(Type type, int code, const char* string) override { recordEvent(type, code, string); }
};

class Handlers : public Reporting {
protected:
    void SetUp() override {
        Reporting::SetUp();
        g_events.clear();
        Platform::setEventSink(&recordEvent);
        setAssertCallback(&Raw::assertCallback);
        setWarningCallback(&Raw::warningCallback);
    }
    void TearDown() override {
        setWarningCallback(&listCallback);
        Reporting::TearDown();
    }

    static std::string numbered(const std::string& text) {
        char number[16];
        std::snprintf(number, sizeof number, "%04x ", Raw::g_random);
        return number + text;
    }

    RecordingErrorHandler m_recordingError;
    RecordingLogHandler m_recordingLog;
};

TEST_F(Handlers, CallbacksHandOnNumberedText) {
    Raw::g_errorHandler = &m_recordingError;
    Raw::g_logHandler = &m_recordingLog;
    EXPECT_FALSE(report("100%"));
    EXPECT_LE(Raw::g_random, 0x7FFFu);
    EXPECT_EQ(g_events.back(), (Event{0, kFailed, numbered("raw\\x line 7: 5 100% 0.75")}));
    EXPECT_TRUE(toolsWarning("raw\\y", 8, "%d", 6));
    EXPECT_EQ(g_events.back(), (Event{2, 0, numbered("raw\\y line 8: 6")}));
    report(std::string(2000, 'x').c_str());
    EXPECT_EQ(g_events.back().m_text.size(), 1023u);
}

// With itself installed the callback reports through itself, once for each null, and then the rest.
TEST_F(Handlers, CallbackReportsItsOwnNullArguments) {
    Raw::g_errorHandler = &m_recordingError;
    Raw::assertCallback(nullptr, 3, nullptr, nullptr);
    ASSERT_EQ(g_events.size(), 4u);
    const char* kTexts[] = {"filename must not be NULL.", "format must not be NULL.",
                            "args must not be NULL."};
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NE(g_events[i].m_text.find(kTexts[i]), std::string::npos) << g_events[i].m_text;
    }
    EXPECT_EQ(g_events[3].m_text, numbered(" line 3: "));
}

TEST_F(Handlers, WindowsErrorHandlerPrintsLogsAndThrows) {
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
    EXPECT_EQ(g_events, (std::vector<Event>{{1, kFailed, thrown}}));
}

TEST_F(Handlers, WindowsLogHandlerAssertsErrorsOnly) {
    Raw::WindowsLogHandler handler("test");
    handler.report(Raw::LogHandler::kTypeWarning, 4, "%s", "fine");
    EXPECT_EQ(g_events, (std::vector<Event>{{2, 4, "fine"}}));
    testing::internal::CaptureStderr();
    EXPECT_THROW(handler.report(Raw::LogHandler::kTypeError, 5, "%s", "bad"), std::runtime_error);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Error: bad"), std::string::npos);
    EXPECT_EQ(g_events.size(), 3u); // the log's own and the assertion's
    EXPECT_EQ(g_events[1], (Event{1, 5, "bad"}));
}

TEST_F(Handlers, NullFormatIsReported) {
    const ReportRecorder recorder;
    m_recordingError.handle(1, nullptr);
    m_recordingLog.report(Raw::LogHandler::kTypeInformation, 2, nullptr);
    EXPECT_EQ(recorder.texts(), "format must not be NULL.\nformat must not be NULL.\n");
    EXPECT_EQ(g_events, (std::vector<Event>{{0, 1, ""}, {4, 2, ""}}));
}

} // namespace
