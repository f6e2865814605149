#include "failure.h"

#include "qor/texsmith/raw/error_handler.h"
#include "qor/texsmith/tools_assert.h"

#include <mutex>
#include <string_view>

namespace Tool {
namespace {

using namespace qor::Texsmith;

std::mutex s_mutex;
std::string s_shared; // the first report of threads without their own
std::vector<std::string>* s_collected = nullptr;
thread_local std::string* t_first = nullptr; // this thread's own

std::string& first() { return t_first != nullptr ? *t_first : s_shared; }

// Reports arrive as "<number> <source> line <line>: <message>"; the user is told the message.
std::string_view messageOf(std::string_view report) {
    const std::size_t line = report.find(" line ");
    const std::size_t colon = line == report.npos ? report.npos : report.find(": ", line);
    return colon == report.npos ? report : report.substr(colon + 2);
}

void keepAndThrow(const char* report) {
    const std::string message(messageOf(report));
    {
        const std::scoped_lock lock(s_mutex);
        if (s_collected != nullptr) {
            s_collected->push_back(message);
            return;
        }
        if (first().empty()) {
            first() = message;
        }
    }
    throw Failure(message);
}

class KeepingErrorHandler : public Raw::ErrorHandler {
    void doHandle(int, const char* string) override { keepAndThrow(string); }
};

class KeepingLogHandler : public Raw::LogHandler {
    void doReport(Type, int, const char* string) override { keepAndThrow(string); }
};

KeepingErrorHandler s_errorHandler;
KeepingLogHandler s_logHandler;

} // namespace

void installReportHandlers() {
    Raw::g_errorHandler = &s_errorHandler;
    Raw::g_logHandler = &s_logHandler;
    setAssertCallback(&Raw::assertCallback);
    setWarningCallback(&Raw::warningCallback);
}

std::string firstReport() {
    const std::scoped_lock lock(s_mutex);
    return first();
}

void forgetReports() {
    const std::scoped_lock lock(s_mutex);
    first().clear();
}

ReportsOfThisThread::ReportsOfThisThread() { t_first = &m_first; }

ReportsOfThisThread::~ReportsOfThisThread() { t_first = nullptr; }

CollectedReports::CollectedReports() {
    const std::scoped_lock lock(s_mutex);
    s_collected = &m_reports;
}

CollectedReports::~CollectedReports() {
    const std::scoped_lock lock(s_mutex);
    s_collected = nullptr;
}

std::vector<std::string> CollectedReports::taken() const {
    const std::scoped_lock lock(s_mutex);
    return m_reports;
}

void throwFileFailure(const std::string& file, Raw::Error error, Work work) {
    const Reason reason = reasonOf(firstReport(), error, work);
    throw Failure(reason.m_text, reason.m_status, file);
}

void throwFileFailure(const std::string& file, const Failure& failure) {
    if (!failure.file().empty() || failure.status() == kExitWrongArguments) {
        throw failure;
    }
    throw Failure(failure.what(), failure.status(), file);
}

} // namespace Tool
