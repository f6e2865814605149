// How the tool learns of failures: what the library reports, on whatever thread, is kept and thrown.
#pragma once

#include "error_text.h"
#include "exit_status.h"

#include "qor/texsmith/raw/error.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tool {

// Ends a command; what() is the line that the user sees, in which the file at fault stands first.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text, ExitStatus status = kExitDamaged, const std::string& file = {})
        : std::runtime_error(file.empty() ? text : file + ": " + text), m_status(status), m_file(file) {}
    ExitStatus status() const { return m_status; }
    const std::string& file() const { return m_file; } // empty where none is at fault

private:
    ExitStatus m_status;
    std::string m_file;
};

// Wrong arguments.
class UsageFailure : public Failure {
public:
    explicit UsageFailure(const std::string& text) : Failure(text, kExitWrongArguments) {}
};

// Routes the library's reports into one place, which keeps them: on this thread, where it has reports of its
// own, and otherwise for all threads that have none. An error, which a failed assertion is too, is thrown as
// a Failure. After a warning the call goes on; what it returns says whether it failed.
void installReportHandlers();

// Runs calls of the library that work on a file. Where they return an Error, or an error was reported, a
// Failure is thrown that names the file and the reason; else tellWarnings(file) follows.
void callLibrary(const std::string& file, const std::function<qor::Texsmith::Raw::Error()>& calls,
                 Work work = Work::kReading);

// Whether calls that returned this have failed, by it or by an error reported meanwhile.
bool haveFailed(qor::Texsmith::Raw::Error error);
// Why calls have failed: the first report that is more than a remark on the file. Empty where there is none.
std::string firstReport();
void forgetReports();
// Keeps a warning of the tool's own until tellWarnings. It is no reason for a failure.
void keepWarning(const std::string& text);
// Tells the user of the warnings kept, in the name of the file, and forgets them. With --strict, or
// `isStrict`, they are a Failure.
void tellWarnings(const std::string& file, bool isStrict = false);

struct KeptReports {
    std::vector<std::string> m_texts;
    std::vector<std::string> m_own; // of the tool
    bool m_haveError = false;
};

// While it lives, this thread has reports of its own: for work that stays on it while others do the same. At
// first there are none.
class ReportsOfThisThread {
public:
    ReportsOfThisThread();
    ~ReportsOfThisThread();
    ReportsOfThisThread(const ReportsOfThisThread&) = delete;
    ReportsOfThisThread& operator=(const ReportsOfThisThread&) = delete;

private:
    KeptReports m_own;
};

// While it lives, reports of all threads are gathered, and the calls that make them go on. One at a time.
class CollectedReports {
public:
    CollectedReports();
    ~CollectedReports();
    CollectedReports(const CollectedReports&) = delete;
    CollectedReports& operator=(const CollectedReports&) = delete;

    bool haveAny() const;
    // Those that came since the last call.
    std::vector<std::string> take();

private:
    std::vector<std::string> m_reports;
};

// Throws a Failure that names the file and the reason: firstReport(), else what `error` means.
[[noreturn]] void throwFileFailure(const std::string& file, qor::Texsmith::Raw::Error error,
                                   Work work = Work::kReading);

// The same of what is not supported: firstReport(), else `text`.
[[noreturn]] void throwUnsupported(const std::string& text);

// Throws a Failure with the same text and status, which names the file unless it names one, or the arguments
// are at fault.
[[noreturn]] void throwFileFailure(const std::string& file, const Failure& failure);

} // namespace Tool
