#include "failure.h"

#include "console.h"

#include "qor/texsmith/raw/error_handler.h"
#include "qor/texsmith/tools_assert.h"

#include <algorithm>
#include <mutex>
#include <string_view>
#include <utility>

namespace Tool {
namespace {

using namespace qor::Texsmith;

std::mutex s_mutex;
KeptReports s_shared; // of threads without their own
std::vector<std::string>* s_collected = nullptr;
thread_local KeptReports* t_own = nullptr; // this thread's

KeptReports& kept() { return t_own != nullptr ? *t_own : s_shared; }

// Reports arrive as "<number> <source> line <line>: <message>"; the user is told the message.
std::string_view messageOf(std::string_view report) {
    const std::size_t line = report.find(" line ");
    const std::size_t colon = line == report.npos ? report.npos : report.find(": ", line);
    return colon == report.npos ? report : report.substr(colon + 2);
}

// False where somebody collects reports, and none is thrown.
bool keep(const char* report, bool isError) {
    const std::string message(messageOf(report));
    const std::scoped_lock lock(s_mutex);
    if (s_collected != nullptr) {
        s_collected->push_back(message);
        return false;
    }
    kept().m_texts.push_back(message);
    kept().m_haveError = kept().m_haveError || isError;
    return true;
}

void keepAndThrow(const char* error) {
    if (keep(error, true)) {
        throw Failure(firstReport());
    }
}

class KeepingErrorHandler : public Raw::ErrorHandler {
    void doHandle(int, const char* string) override { keepAndThrow(string); }
};

class KeepingLogHandler : public Raw::LogHandler {
    void doReport(Type type, int, const char* string) override {
        if (type == kTypeError) {
            keepAndThrow(string);
        } else {
            keep(string, false);
        }
    }
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

void callLibrary(const std::string& file, const std::function<Raw::Error()>& calls, Work work) {
    Raw::Error error = Raw::kErrorFailed;
    try {
        error = calls();
    } catch (const Failure& failure) {
        if (!haveFailed(Raw::kErrorNone)) { // it is none of the library's
            throwFileFailure(file, failure);
        }
    }
    if (haveFailed(error)) {
        throwFileFailure(file, error, work);
    }
    tellWarnings(file);
}

bool haveFailed(Raw::Error error) {
    const std::scoped_lock lock(s_mutex);
    return error != Raw::kErrorNone || kept().m_haveError;
}

std::string firstReport() {
    const std::scoped_lock lock(s_mutex);
    const std::vector<std::string>& texts = kept().m_texts;
    const auto first = std::find_if_not(texts.begin(), texts.end(), &isRemark);
    return first != texts.end() ? *first : std::string();
}

void forgetReports() {
    const std::scoped_lock lock(s_mutex);
    kept() = {};
}

void keepWarning(const std::string& text) {
    const std::scoped_lock lock(s_mutex);
    if (s_collected == nullptr) { // whoever collects reports finds out such things without help
        kept().m_own.push_back(text);
    }
}

void tellWarnings(const std::string& file, bool isStrictHere) {
    KeptReports reports;
    {
        const std::scoped_lock lock(s_mutex);
        reports = std::exchange(kept(), {});
    }
    std::vector<std::string> warnings = reports.m_own;
    for (const std::string& text : reports.m_texts) {
        warnings.push_back(reasonOf(text, Raw::kErrorNone, Work::kReading).m_text);
    }
    for (const std::string& warning : warnings) {
        if (isStrictHere || isStrict()) {
            throw Failure(warning + ", which --strict does not permit", kExitDamaged, file);
        }
        warn(file + ": " + warning);
    }
}

ReportsOfThisThread::ReportsOfThisThread() { t_own = &m_own; }

ReportsOfThisThread::~ReportsOfThisThread() { t_own = nullptr; }

CollectedReports::CollectedReports() {
    const std::scoped_lock lock(s_mutex);
    s_collected = &m_reports;
}

CollectedReports::~CollectedReports() {
    const std::scoped_lock lock(s_mutex);
    s_collected = nullptr;
}

bool CollectedReports::haveAny() const {
    const std::scoped_lock lock(s_mutex);
    return !m_reports.empty();
}

std::vector<std::string> CollectedReports::take() {
    const std::scoped_lock lock(s_mutex);
    return std::exchange(m_reports, {});
}

void throwFileFailure(const std::string& file, Raw::Error error, Work work) {
    const Reason reason = reasonOf(firstReport(), error, work);
    throw Failure(reason.m_text, reason.m_status, file);
}

void throwUnsupported(const std::string& text) {
    const std::string report = firstReport();
    throw Failure(report.empty() ? text : report, kExitUnsupported);
}

void throwFileFailure(const std::string& file, const Failure& failure) {
    if (!failure.file().empty() || failure.status() == kExitWrongArguments) {
        throw failure;
    }
    throw Failure(failure.what(), failure.status(), file);
}

} // namespace Tool
