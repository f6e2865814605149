// How the tool learns of failures: what the library reports, on whatever thread, is kept and thrown.
#pragma once

#include "error_text.h"
#include "exit_status.h"

#include "qor/texsmith/raw/error.h"

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

// Routes the library's assertions, warnings and errors into one place, which keeps the first text.
void installReportHandlers();

// Empty when nothing was reported since the start, or since forgetReports: on this thread, where it has
// reports of its own, and otherwise by all threads that have none.
std::string firstReport();
void forgetReports();

// While it lives, this thread has reports of its own: for work that stays on it while others do the same. At
// first there are none.
class ReportsOfThisThread {
public:
    ReportsOfThisThread();
    ~ReportsOfThisThread();
    ReportsOfThisThread(const ReportsOfThisThread&) = delete;
    ReportsOfThisThread& operator=(const ReportsOfThisThread&) = delete;

private:
    std::string m_first;
};

// While it lives, reports of all threads are gathered, and the calls that make them go on. One at a time.
class CollectedReports {
public:
    CollectedReports();
    ~CollectedReports();
    CollectedReports(const CollectedReports&) = delete;
    CollectedReports& operator=(const CollectedReports&) = delete;

    std::vector<std::string> taken() const;

private:
    std::vector<std::string> m_reports;
};

// Throws a Failure that names the file and the reason: the first report, else what `error` means.
[[noreturn]] void throwFileFailure(const std::string& file, qor::Texsmith::Raw::Error error,
                                   Work work = Work::kReading);

// Throws a Failure with the same text and status, which names the file unless it names one, or the arguments
// are at fault.
[[noreturn]] void throwFileFailure(const std::string& file, const Failure& failure);

} // namespace Tool
