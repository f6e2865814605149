#include "error_text.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <vector>

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

// Whether the text is what the pattern says, in which "*" is any text, and the longest that will do; what the
// stars are goes to the parts.
bool isLike(std::string_view text, std::string_view pattern, std::vector<std::string_view>* parts) {
    const std::size_t star = pattern.find('*');
    if (star == std::string_view::npos) {
        return text == pattern;
    }
    if (!text.starts_with(pattern.substr(0, star))) {
        return false;
    }
    text.remove_prefix(star);
    pattern.remove_prefix(star + 1);
    const std::size_t index = parts->size();
    parts->emplace_back();
    for (std::size_t length = text.size() + 1; length-- > 0;) {
        (*parts)[index] = text.substr(0, length);
        if (isLike(text.substr(length), pattern, parts)) {
            return true;
        }
    }
    parts->pop_back();
    return false;
}

bool isLike(std::string_view text, std::string_view pattern) {
    std::vector<std::string_view> parts;
    return isLike(text, pattern, &parts);
}

// A text with the parts of what matched for $1 and so on.
std::string withParts(std::string_view text, const std::vector<std::string_view>& parts) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '$') {
            result += parts[static_cast<std::size_t>(text[++i] - '1')];
        } else {
            result += text[i];
        }
    }
    return result;
}

// What the library reports, what the user is told of it, and the status that it ends with. The stars of the
// pattern fill in $1 and so on. The first row that matches counts.
struct KnownReport {
    const char* m_pattern;
    const char* m_text;
    ExitStatus m_status;
};
constexpr char kNoMemory[] = "there is not enough memory for it";
constexpr KnownReport kKnownReports[] = {
    {"*not enough memory*", kNoMemory, kExitOverLimit},
    {"*no memory for*", kNoMemory, kExitOverLimit},
    {"*no memory to*", kNoMemory, kExitOverLimit},
    {"*No memory for*", kNoMemory, kExitOverLimit},
    {"*VirtualAlloc failed*", kNoMemory, kExitOverLimit},
    {"*failed to allocate*", kNoMemory, kExitOverLimit},
    {"There is no codec for files of type '.*' here.", "this build reads and writes no files of type $1",
     kExitUnsupported},
    {"There is no codec for files of type '*' here.", "this build reads and writes no files of type $1",
     kExitUnsupported},
    {"can't determine image format from extension: *", "neither its name nor its first bytes tell its type",
     kExitUnsupported},
    {"can't figure out what format to write extension *", "files of that type are not written",
     kExitUnsupported},
    {"MemoryRegion must be big enough to hold minimal header * is only * bytes.",
     "it is no VXF file, or cut off: it has only $2 bytes", kExitDamaged},
    {"MemoryRegion must be at least big enough to hold the padded header *",
     "the VXF file is cut off within its header", kExitDamaged},
    {"Expected 0x* (Vxf::kMagic)*", "it is no VXF file", kExitDamaged},
    {"Expected VXF version number to be 1 or 2, but it was *.", "VXF files of version $1 are not known",
     kExitUnsupported},
    {"DDS file must be at least *", "it is no DDS file, or cut off within its header", kExitDamaged},
    {"DDS file says it is DX10 format*", "the DDS file is cut off within its header", kExitDamaged},
    {"*DDS magic*", "it is no DDS file", kExitDamaged},
    {"*kMagic*", "it is no DDS file", kExitDamaged},
    {"*dwMagic*", "it is no DDS file", kExitDamaged},
    {"DDS header's dwSize* but this one is *.", "it is no DDS file: its header claims a size of $2 bytes",
     kExitDamaged},
    {"DDS header's ddspf.dwSize* but this one is *.",
     "it is no DDS file: its header claims a size of $2 bytes", kExitDamaged},
    {"The * file is odd: channels are left out: *.", "its further channels are left out: $2", kExitDamaged},
    {"The * file is odd: *.", "$2", kExitDamaged},
    {"The texels of surface format * cannot be converted.*", "its format cannot be converted",
     kExitUnsupported},
    {"The * image is *, but a texture is *.", "it is too large: it has $2, and a texture $3", kExitOverLimit},
    {"The * array has *, but a texture has *.", "it is too large: it has $2, and a texture $3",
     kExitOverLimit},
    {"The * file cannot be read: *not supported*.", "The $1 file cannot be read: $2not supported$3",
     kExitUnsupported},
    {"The * file cannot be written: *not supported*.", "The $1 file cannot be written: $2not supported$3",
     kExitUnsupported},
    {"The * file cannot be written: *.", "$2", kExitUnsupported},
};

// The reason behind the name of a system call, if that is what the report tells.
bool isSystemReport(std::string_view report, std::string* reason) {
    const std::string_view call = report.substr(0, report.find(' '));
    const bool beginsWithCall =
        call.size() > 1 && std::isupper(static_cast<unsigned char>(call[0])) &&
        std::all_of(call.begin(), call.end(), [](unsigned char c) { return std::isalnum(c); });
    std::vector<std::string_view> parts;
    if ((beginsWithCall && isLike(report, "* *failed: *", &parts)) ||
        isLike(report, "*: a file cannot be made beside it: *", &parts) ||
        isLike(report, "*: it cannot be replaced: *", &parts)) {
        *reason = translated(std::string(parts.back()));
        return true;
    }
    return false;
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
        std::vector<std::string_view> parts;
        if (isLike(report, known.m_pattern, &parts)) {
            return {withParts(known.m_text, parts), known.m_status};
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

bool isRemark(const std::string& report) { return isLike(report, "The * file is odd: *"); }

bool isAboutWriting(const std::string& report) {
    constexpr const char* kPatterns[] = {
        "SetEndOfFile*",         "SetFilePointer*",   "CreateFileMapping of*", "MapViewOfFile of*",
        "There is no room for*", "can't figure out*", "can't write*",          "*cannot be written: *"};
    return std::any_of(std::begin(kPatterns), std::end(kPatterns),
                       [&](const char* pattern) { return isLike(report, pattern); });
}

std::string reasonOf(const std::error_code& error) { return translated(error.message()); }

} // namespace Tool
