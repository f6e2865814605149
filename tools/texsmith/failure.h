// How the tool learns of failures: what the library reports, on whatever thread, is kept and thrown.
#pragma once

#include "exit_status.h"

#include "qor/texsmith/raw/error.h"

#include <stdexcept>
#include <string>

namespace Tool {

// Ends a command; the text is the line that the user sees.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text, ExitStatus status = kExitDamaged)
        : std::runtime_error(text), m_status(status) {}
    ExitStatus status() const { return m_status; }

private:
    ExitStatus m_status;
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

// Throws a Failure that names the file and the reason: the first report, else the text of `error`.
[[noreturn]] void throwFileFailure(const std::string& file, qor::Texsmith::Raw::Error error);

// Throws a Failure with the same text and status, which names the file.
[[noreturn]] void throwFileFailure(const std::string& file, const Failure& failure);

// What an error means when nothing else was said about it.
const char* errorText(qor::Texsmith::Raw::Error error);

} // namespace Tool
