#include "application.h"

#include "commands.h"
#include "failure.h"
#include "help_text.h"
#include "options.h"
#include "replacement_file.h"

#include "qor/texsmith/raw/normalization_policy.h"
#include "qor/texsmith/raw/process.h"
#include "qor/texsmith/version.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace Tool {
namespace {

bool isControl(char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }

// One line, whatever a name in the text holds.
void printFailure(std::string text) {
    std::replace_if(text.begin(), text.end(), &isControl, ' ');
    std::fprintf(stderr, "texsmith: %s\n", text.c_str());
}

void runCommand(const Command& command, const std::vector<std::string>& arguments) {
    const Options options(command, arguments);
    if (options.has("--help")) {
        std::fputs(commandHelp(command).c_str(), stdout);
    } else {
        command.m_run(options);
    }
}

void runArguments(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        throw UsageFailure("no command given; see texsmith --help");
    }
    const std::string& first = arguments[0];
    if (first == "--help" || first == "-h" || first == "help") {
        std::fputs(generalHelp().c_str(), stdout);
    } else if (first == "--version") {
        std::printf("texsmith %s\n", qor::Texsmith::getLibraryVersionText());
    } else {
        runCommand(commandNamed(first), {arguments.begin() + 1, arguments.end()});
    }
    // A result that could not be written is a failure like any other.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure("cannot write to the standard output");
    }
}

class Application : public qor::Texsmith::Raw::UnhandledExceptionAbsorber {
    int doMain(int argc, char** argv) override {
        try {
            qor::Texsmith::Raw::failWritesWithoutSignals();
            installReportHandlers();
            // Signed blocks hold -1 to 1, like all other signed texels.
            qor::Texsmith::g_normalizationPolicy = qor::Texsmith::kNormalizationPolicyAsItIs;
            runArguments({argv + std::min(argc, 1), argv + argc});
            return kExitDone;
        } catch (const Failure& failure) {
            printFailure(failure.what());
            return failure.status();
        } catch (const std::exception& exception) {
            printFailure(exception.what());
            return kExitDamaged;
        }
    }
};

} // namespace

int runApplication(int argc, char** argv) {
    Application application;
    const int result = application.main(argc, argv);
    if (result >= 0) {
        return result;
    }
    // The body did not come back: a fault of the operating system ended it.
    ReplacementFile::removeUnfinished();
    const std::string report = firstReport();
    printFailure(report.empty() ? "an internal fault ended the command" : report);
    return kExitDamaged;
}

} // namespace Tool
