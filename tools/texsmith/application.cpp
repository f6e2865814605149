#include "application.h"

#include "commands.h"
#include "failure.h"
#include "replacement_file.h"

#include "qor/texsmith/raw/normalization_policy.h"
#include "qor/texsmith/raw/process.h"
#include "qor/texsmith/version.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

namespace Tool {
namespace {

struct Command {
    std::string_view m_name;
    void (*m_run)(Arguments arguments);
};

constexpr Command kCommands[] = {
    {"compare", &compareCommand}, {"convert", &convertCommand}, {"formats", &formatsCommand},
    {"info", &infoCommand},       {"stats", &statsCommand},     {"texel", &texelCommand},
};

constexpr char kUsage[] =
    "usage: texsmith convert [--resize WxH [--filter box|triangle|cubic|lanczos]] [--mips]\n"
    "                        [--format NAME] [--dds-version 9|10] [--quality N]\n"
    "                        [--effort fast|normal|high|best]\n"
    "                        SOURCE DESTINATION-OR-EXTENSION\n"
    "       texsmith compare [--heatmap PICTURE] [--fail-psnr DB] A B\n"
    "       texsmith formats\n"
    "       texsmith info [--json] FILE\n"
    "       texsmith stats [--plot PICTURE] FILE\n"
    "       texsmith texel [--slice N] [--face N] [--mip N] [--depth N] FILE X Y\n"
    "       texsmith --help | --version\n"
    "\n"
    "convert  writes SOURCE (a file or URL) as another type of file. A destination that\n"
    "         begins with a dot, such as .vxf, stands for SOURCE with that extension.\n"
    "         --resize makes every face and slice of the largest level that size, by a\n"
    "         lanczos filter unless --filter says another: in light where the picture's\n"
    "         format is sRGB, and otherwise of its numbers.\n"
    "         --mips adds smaller levels down to one texel. --format stores the texels in\n"
    "         that format, such as Bc1UnormNoAlpha, or given as JSON. A DDS file gets the\n"
    "         classic header where that can name the format, unless --dds-version says.\n"
    "         --quality, from 0.3 to 50, is how hard BC6H is searched; 1 without it.\n"
    "         --effort is how long compressed blocks are searched for.\n"
    "compare  tells how far two files of the same size are apart: errors by channel and\n"
    "         mip, and the largest. Two sRGB files are compared as they are stored, any\n"
    "         other pair as light. --heatmap draws the differences; --fail-psnr fails when\n"
    "         a channel's PSNR is below DB.\n"
    "formats  lists the formats that have a name.\n"
    "info     tells what FILE holds, with --json as standard JSON.\n"
    "stats    tells range, mean, constants and histogram of the values, those of sRGB as\n"
    "         they are stored. --plot draws the histogram.\n"
    "texel    tells what stands at X, Y: place, stored bytes and value.\n"
    "\n"
    "Types: .bmp, .dds, .hdr, .jpg, .pfm, .png, .tga, .tsh, .vxf\n";

bool isControl(char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }

// One line, whatever a name in the text holds.
void printFailure(std::string text) {
    std::replace_if(text.begin(), text.end(), &isControl, ' ');
    std::fprintf(stderr, "texsmith: %s\n", text.c_str());
}

void runCommand(std::string_view name, Arguments arguments) {
    const auto* command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                       [name](const Command& candidate) { return candidate.m_name == name; });
    if (command == std::end(kCommands)) {
        throw UsageFailure("unknown command '" + std::string(name) + "'; see texsmith --help");
    }
    command->m_run(arguments);
}

void runArguments(Arguments arguments) {
    if (arguments.empty()) {
        throw UsageFailure("no command given; see texsmith --help");
    }
    const std::string_view first = arguments[0];
    if (first == "--help" || first == "-h" || first == "help") {
        std::fputs(kUsage, stdout);
    } else if (first == "--version") {
        std::printf("texsmith %s\n", qor::Texsmith::getLibraryVersionText());
    } else {
        runCommand(first, arguments.subspan(1));
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
            runArguments(Arguments(argv, static_cast<std::size_t>(argc)).subspan(argc > 0 ? 1 : 0));
            return kExitSuccess;
        } catch (const UsageFailure& failure) {
            printFailure(failure.what());
            return kExitUsage;
        } catch (const std::exception& exception) {
            printFailure(exception.what());
            return kExitFailure;
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
    return kExitFailure;
}

} // namespace Tool
