#include "console.h"

#include "options.h"
#include "progress_bar.h"

#include "qor/texsmith/raw/process.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace Tool {
namespace {

constexpr int kStandardOutput = 1, kStandardError = 2;

constexpr Option kOptions[] = {
    {.m_name = "--help", .m_help = "tells how the command is used", .m_letter = 'h'},
    {.m_name = "--json", .m_help = "tells the result, warnings, hints and errors as JSON"},
    {.m_name = "--quiet",
     .m_help = "tells nothing but errors, and no numbers of compare and validate",
     .m_letter = 'q'},
    {.m_name = "--verbose", .m_help = "tells hints and progress also where nobody looks", .m_letter = 'v'},
};

constexpr Option kStrictOption[] = {{.m_name = "--strict", .m_help = "fails where it would warn of a file"}};

// Set before there are threads.
bool s_isJson = false, s_isQuiet = false, s_isVerbose = false, s_isStrict = false;

std::mutex s_mutex; // guards these
std::vector<std::string> s_hints, s_warnings;

thread_local const std::string* t_file = nullptr; // that hints of this thread are about

// How many bytes the UTF-8 character at the front has; 0 for what is none, or a control character.
std::size_t printableLength(std::string_view text) {
    const auto byte = [text](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u;
    };
    const auto follows = [&](std::size_t i, unsigned least = 0x80, unsigned most = 0xBF) {
        return byte(i) >= least && byte(i) <= most;
    };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return first >= ' ' && first != 0x7F ? 1 : 0;
    }
    if (first >= 0xC2 && first <= 0xDF) { // U+0080 to U+009F are control characters
        return follows(1, first == 0xC2 ? 0xA0 : 0x80) ? 2 : 0;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return follows(1, first == 0xE0 ? 0xA0 : 0x80, first == 0xED ? 0x9F : 0xBF) && follows(2) ? 3 : 0;
    }
    const bool isFour = first >= 0xF0 && first <= 0xF4;
    return isFour && follows(1, first == 0xF0 ? 0x90 : 0x80, first == 0xF4 ? 0x8F : 0xBF) && follows(2) &&
                   follows(3)
               ? 4
               : 0;
}

std::string escapeOf(unsigned char byte) {
    switch (byte) {
    case '\n':
        return "\\n";
    case '\t':
        return "\\t";
    default:
        char text[8];
        std::snprintf(text, sizeof text, "\\x%02x", static_cast<unsigned>(byte));
        return text;
    }
}

// False for a text that is there already.
bool keepNew(std::vector<std::string>* texts, const std::string& text) {
    const std::scoped_lock lock(s_mutex);
    const bool isNew = std::find(texts->begin(), texts->end(), text) == texts->end();
    if (isNew) {
        texts->push_back(text);
    }
    return isNew;
}

std::vector<std::string> copyOf(const std::vector<std::string>& texts) {
    const std::scoped_lock lock(s_mutex);
    return texts;
}

} // namespace

constinit const OptionGroup kCommonOptions = {"Every command", kOptions};
constinit const OptionGroup kWarningOptions = {"Warnings", kStrictOption};

void setConsole(const Options& options) {
    s_isJson = options.has("--json");
    s_isQuiet = options.has("--quiet");
    s_isVerbose = options.has("--verbose");
    s_isStrict = options.has("--strict");
}

bool isJson() { return s_isJson; }
bool isQuiet() { return s_isQuiet; }
bool isStrict() { return s_isStrict; }

bool showsProgress() {
    return !s_isQuiet && !s_isJson && (s_isVerbose || qor::Texsmith::Raw::isTerminal(kStandardError));
}

HintsAbout::HintsAbout(const std::string& file) : m_file(file) { t_file = &m_file; }

HintsAbout::~HintsAbout() { t_file = nullptr; }

void warn(const std::string& text) {
    if (keepNew(&s_warnings, text) && !s_isQuiet && !s_isJson) {
        ProgressBar::printAbove("texsmith: warning: " + escaped(text));
    }
}

void hint(const std::string& about) {
    const std::string text = t_file != nullptr ? *t_file + ": " + about : about;
    if (keepNew(&s_hints, text) && showsProgress()) {
        ProgressBar::printAbove("texsmith: hint: " + escaped(text));
    }
}

std::vector<std::string> hintsGiven() { return copyOf(s_hints); }
std::vector<std::string> warningsGiven() { return copyOf(s_warnings); }

std::string escaped(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t length = printableLength(text);
        result +=
            length != 0 ? std::string(text.substr(0, length)) : escapeOf(static_cast<unsigned char>(text[0]));
        text.remove_prefix(std::max<std::size_t>(1, length));
    }
    return result;
}

std::string shownName(const std::string& name) {
    return qor::Texsmith::Raw::isTerminal(kStandardOutput) ? escaped(name) : name;
}

} // namespace Tool
