// Why something failed, in words of the user's.
#pragma once

#include "exit_status.h"

#include "qor/texsmith/raw/error.h"

#include <string>
#include <system_error>

namespace Tool {

enum class Work { kReading, kWriting };

struct Reason {
    std::string m_text;
    ExitStatus m_status;
};

// From what the library reported, or from its error where it reported nothing. Names of system calls and the
// like do not come through.
Reason reasonOf(const std::string& report, qor::Texsmith::Raw::Error error, Work work);

// The report tells something of a file that was read all the same.
bool isRemark(const std::string& report);

// The report is about the file that is written, also while another one is read.
bool isAboutWriting(const std::string& report);

// What the system says of a file that it does not open.
std::string reasonOf(const std::error_code& error);

} // namespace Tool
