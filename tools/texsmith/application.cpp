#include "application.h"

#include "commands.h"
#include "console.h"
#include "failure.h"
#include "help_text.h"
#include "json_output.h"
#include "options.h"
#include "plan.h"
#include "replacement_file.h"

#include "qor/texsmith/raw/normalization_policy.h"
#include "qor/texsmith/raw/process.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {
namespace {

constexpr std::string_view kHelpFlags[] = {"--help", "-h", "help"};

bool isAmong(std::span<const std::string_view> list, std::string_view text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

// Where the arguments themselves are at fault, nobody has read them yet.
bool asksForJson(const std::vector<std::string>& arguments) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    return std::find(arguments.begin(), end, "--json") != end;
}

void printFailure(const Failure& failure, bool asJson) {
    std::fflush(stdout); // so that the streams keep their order where they go into one file
    if (asJson) {
        std::fprintf(stderr, "%s\n", errorAsJson(failure).c_str());
    } else if (failure.status() != kExitAnswerIsNo || !isQuiet()) {
        std::fprintf(stderr, "texsmith: %s\n", escaped(failure.what()).c_str());
    }
}

void runCommand(const Command& command, const std::vector<std::string>& arguments) {
    const Options options(command, arguments);
    setConsole(options);
    if (options.has("--help")) {
        std::fputs(commandHelp(command).c_str(), stdout);
    } else {
        command.m_run(options);
    }
}

bool isCommonOption(const std::string& argument) {
    const auto& options = kCommonOptions.m_options;
    return std::any_of(options.begin(), options.end(), [&](const Option& option) {
        return argument == option.m_name ||
               (argument.size() == 2 && argument[0] == '-' && argument[1] == option.m_letter);
    });
}

// What every command takes may also stand in front of it.
void runArguments(std::vector<std::string> arguments) {
    const auto command = std::find_if(arguments.begin(), arguments.end(), [](const std::string& argument) {
        return isAmong(kHelpFlags, argument) || !isCommonOption(argument);
    });
    if (command == arguments.end()) {
        throw UsageFailure("no command given; see texsmith --help");
    }
    const std::string name = *command == "--version" ? "version" : *command;
    arguments.erase(command);
    if (isAmong(kHelpFlags, name)) {
        std::fputs(arguments.empty() ? generalHelp().c_str()
                                     : commandHelp(commandNamed(arguments[0])).c_str(),
                   stdout);
    } else {
        runCommand(commandNamed(name), arguments);
    }
    // A result that could not be written is a failure like any other.
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        throw Failure("it cannot be written", kExitUnwritable, "standard output");
    }
}

class Application : public qor::Texsmith::Raw::UnhandledExceptionAbsorber {
public:
    int endWith(const Failure& failure) const {
        printFailure(failure, asksForJson(m_arguments));
        return failure.status();
    }

private:
    int doMain(int argc, char** argv) override {
        m_arguments = {argv + std::min(argc, 1), argv + argc};
        try {
            qor::Texsmith::Raw::failWritesWithoutSignals();
            installReportHandlers();
            rememberProgram(argc > 0 ? argv[0] : nullptr);
            // Signed blocks hold -1 to 1, like all other signed texels.
            qor::Texsmith::g_normalizationPolicy = qor::Texsmith::kNormalizationPolicyAsItIs;
            runArguments(m_arguments);
            return kExitDone;
        } catch (const Failure& failure) {
            return endWith(failure);
        } catch (const std::bad_alloc&) {
            return endWith(Failure("there is not enough memory", kExitOverLimit));
        } catch (const std::exception& exception) {
            return endWith(Failure(exception.what()));
        }
    }

    std::vector<std::string> m_arguments;
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
    return application.endWith(Failure(report.empty() ? "an internal fault ended the command" : report));
}

} // namespace Tool
