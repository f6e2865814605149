#include "error_text.h"

#include <cctype>
#include <cstddef>
#include <iterator>
#include <regex>
#include <string_view>

namespace Tool {
namespace {

using namespace qor::Texsmith;

// Reasons of systems: as POSIX numbers them, and as Windows does.
struct SystemReason {
    std::errc m_code;
    int m_windowsCode;
    const char* m_text;
};
constexpr SystemReason kSystemReasons[] = {
    {std::errc::no_such_file_or_directory, 2, "there is no such file or folder"},
    {std::errc::no_such_file_or_directory, 3, "there is no such folder"},
    {std::errc::not_a_directory, 267, "a part of its path is no folder"},
    {std::errc::permission_denied, 5, "the system does not permit it"},
    {std::errc::operation_not_permitted, 1314, "the system does not permit it"},
    {std::errc::read_only_file_system, 19, "it lies on a read-only device"},
    {std::errc::is_a_directory, 0, "it is a folder"},
    {std::errc::no_space_on_device, 112, "no space left on the device"},
    {std::errc::no_space_on_device, 39, "no space left on the device"},
    {std::errc::file_too_large, 223, "files on that device cannot be so large"},
    {std::errc::filename_too_long, 206, "its name is too long"},
    {std::errc::filename_too_long, 123, "its name is none that a file can have"},
    {std::errc::device_or_resource_busy, 32, "another program is using it"},
    {std::errc::too_many_files_open, 4, "too many files are open"},
    {std::errc::too_many_symbolic_link_levels, 1921, "its links lead in a circle"},
    {std::errc::not_enough_memory, 8, "there is not enough memory"},
    {std::errc::not_enough_memory, 1455, "there is not enough memory"},
    {std::errc::protocol_not_supported, 0, "this system reads no URLs"},
    {std::errc::io_error, 1117, "the device reports an error"},
};

// The system's words for one of these reasons; others with a small first letter and without a point.
std::string translated(std::string reason) {
    while (!reason.empty() &&
           (reason.back() == '.' || std::isspace(static_cast<unsigned char>(reason.back())))) {
        reason.pop_back();
    }
    for (const SystemReason& known : kSystemReasons) {
        std::string onWindows = std::system_category().message(known.m_windowsCode);
        onWindows = onWindows.substr(0, onWindows.find_last_not_of(". \r\n") + 1);
        if (reason == std::make_error_code(known.m_code).message() || reason == onWindows) {
            return known.m_text;
        }
    }
    if (reason.size() > 1 && std::islower(static_cast<unsigned char>(reason[1]))) {
        reason[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(reason[0])));
    }
    return reason;
}

// What the library reports, what the user is told of it, and the status that it ends with. Groups of the
// pattern fill in $1 and so on. The first row that matches counts.
struct KnownReport {
    const char* m_pattern;
    const char* m_text;
    ExitStatus m_status;
};
const KnownReport kKnownReports[] = {
    {".*(?:not enough memory|no memory (?:for|to)|No memory for|VirtualAlloc failed|failed to allocate).*",
     "there is not enough memory for it", kExitOverLimit},
    {"There is no codec for files of type '\\.?(.*)' here\\.",
     "this build reads and writes no files of type $1", kExitUnsupported},
    {"can't determine image format from extension: .*", "neither its name nor its first bytes tell its type",
     kExitUnsupported},
    {"can't figure out what format to write extension .*", "files of that type are not written",
     kExitUnsupported},
    {"MemoryRegion must be big enough to hold minimal header .* is only (\\d+) bytes\\.",
     "it is no VXF file, or cut off: it has only $1 bytes", kExitDamaged},
    {"MemoryRegion must be at least big enough to hold the padded header .*",
     "the VXF file is cut off within its header", kExitDamaged},
    {"Expected 0x\\w+ \\(Vxf::kMagic\\).*", "it is no VXF file", kExitDamaged},
    {"Expected VXF version number to be 1 or 2, but it was (-?\\d+)\\.",
     "VXF files of version $1 are not known", kExitUnsupported},
    {"DDS file must be at least .*", "it is no DDS file, or cut off within its header", kExitDamaged},
    {"DDS file says it is DX10 format.*", "the DDS file is cut off within its header", kExitDamaged},
    {".*(?:DDS magic|kMagic|dwMagic).*", "it is no DDS file", kExitDamaged},
    {"DDS header's (?:ddspf\\.)?dwSize.* but this one is (.*)\\.",
     "it is no DDS file: its header claims a size of $1 bytes", kExitDamaged},
    {"The \\w+ file is odd: channels are left out: (.*)\\.", "its further channels are left out: $1",
     kExitDamaged},
    {"The \\w+ file is odd: (.*)\\.", "$1", kExitDamaged},
    {"The texels of surface format \\d+ cannot be converted\\..*", "its format cannot be converted",
     kExitUnsupported},
    {"The \\w+ (?:image|array) (?:is|has) (.*), but a texture (?:is|has) (.*)\\.",
     "it is too large: it has $1, and a texture $2", kExitOverLimit},
    {"(The .* file cannot be (?:read|written): .*not supported.*)\\.", "$1", kExitUnsupported},
    {"The .* file cannot be written: (.*)\\.", "$1", kExitUnsupported},
};

// The reason behind the name of a system call, if that is what the report tells.
bool isSystemReport(const std::string& report, std::string* reason) {
    static const std::regex s_pattern(
        R"((?:[A-Z][A-Za-z0-9]+ .*failed: |.*: a file cannot be made beside it: |.*: it cannot be replaced: )(.*))");
    std::smatch match;
    if (!std::regex_match(report, match, s_pattern)) {
        return false;
    }
    *reason = translated(match[1].str());
    return true;
}

std::string withoutPoint(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == '.')) {
        text.pop_back();
    }
    return text;
}

} // namespace

Reason reasonOf(const std::string& report, Raw::Error error, Work work) {
    if (report.empty()) {
        return error == Raw::kErrorAborted
                   ? Reason{"the work was stopped", kExitUnwritable}
                   : Reason{"its format cannot be converted like that", kExitUnsupported};
    }
    for (const KnownReport& known : kKnownReports) {
        const std::regex pattern(known.m_pattern);
        if (std::regex_match(report, pattern)) {
            return {std::regex_replace(report, pattern, known.m_text), known.m_status};
        }
    }
    const ExitStatus ofSystem = work == Work::kReading ? kExitUnreadable : kExitUnwritable;
    std::string reason;
    if (isSystemReport(report, &reason)) {
        const bool lacksFolder = work == Work::kWriting && reason == kSystemReasons[0].m_text;
        return {lacksFolder ? "there is no such folder" : reason, ofSystem};
    }
    return {withoutPoint(report), work == Work::kReading ? kExitDamaged : kExitUnwritable};
}

bool isRemark(const std::string& report) {
    static const std::regex s_pattern("The \\w+ file is odd: .*");
    return std::regex_match(report, s_pattern);
}

bool isAboutWriting(const std::string& report) {
    static const std::regex s_pattern(
        "(?:SetEndOfFile|SetFilePointer|CreateFileMapping of|MapViewOfFile of|There is "
        "no room for|can't figure out|can't write).*|.*cannot be written: .*");
    return std::regex_match(report, s_pattern);
}

std::string reasonOf(const std::error_code& error) { return translated(error.message()); }

} // namespace Tool
