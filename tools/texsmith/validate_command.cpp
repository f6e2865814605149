// texsmith validate: everything odd about files.
#include "commands.h"
#include "console.h"
#include "error_text.h"
#include "failure.h"
#include "file_info.h"
#include "json_output.h"
#include "options.h"
#include "source_file.h"

#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/statistics.h"
#include "qor/texsmith/raw/texture.h"
#include "qor/texsmith/raw/vxf.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

struct Finding {
    bool m_isFault; // else it is only odd
    std::string m_text;
};

class Findings {
public:
    void fault(const std::string& text) { add({true, text}); }
    void oddity(const std::string& text) { add({isStrict(), text}); }
    const std::vector<Finding>& all() const { return m_findings; }
    bool hasFaults() const {
        return std::any_of(m_findings.begin(), m_findings.end(),
                           [](const Finding& f) { return f.m_isFault; });
    }

private:
    void add(const Finding& finding) {
        const bool isKnown = std::any_of(m_findings.begin(), m_findings.end(),
                                         [&](const Finding& f) { return f.m_text == finding.m_text; });
        if (!isKnown) {
            m_findings.push_back(finding);
        }
    }

    std::vector<Finding> m_findings;
};

// What the name promises, and what the first bytes say.
void findType(Findings* findings, SourceFile* file) {
    const Raw::FileType named = file->namedType();
    const Raw::FileType held = file->heldType();
    if (named == 0 && held == 0) {
        findings->fault("neither its name nor its first bytes tell its type");
    } else if (named != 0 && held != 0 && named != held) {
        findings->fault("its name says " + typeText(named) + ", and its first bytes " + typeText(held));
    } else if (named == 0 && file->name() != nameOfSource(kStandardStream)) {
        findings->oddity("its name does not tell that it is " + typeText(held));
    }
}

unsigned wholeChainOf(const Vex::Texture& texture) {
    unsigned largest = std::max({texture.getWidth(), texture.getHeight(), Raw::getDepthOfMip(texture, 0)});
    unsigned mips = 1;
    for (; largest > 1; largest /= 2) {
        ++mips;
    }
    return mips;
}

void findInImage(Findings* findings, const Raw::Image& image, const std::string& which) {
    const Vex::Texture& texture = *image.getVexTexture();
    const Vex::DataFormat format = texture.getDataFormat();
    const unsigned mips = image.getSurfaceCount().mips, whole = wholeChainOf(texture);
    if (format.isBlockCompressedFormat() && (texture.getWidth() % 4 != 0 || texture.getHeight() % 4 != 0)) {
        findings->oddity(which + "its size is no multiple of the blocks' 4 x 4 texels");
    }
    if (mips > 1 && mips < whole) {
        findings->oddity(which + "it has " + std::to_string(mips) + " mips of the " + std::to_string(whole) +
                         " down to one texel");
    }
    Configuration configuration;
    Raw::MinMaxMean range;
    if (Raw::getMinMaxMean(&image, &range, &configuration) == Raw::kErrorNone) {
        const auto isOdd = [](float sum) { return !std::isfinite(sum); };
        if (std::any_of(std::begin(range.sum.m_lanes), std::end(range.sum.m_lanes), isOdd)) {
            findings->oddity(which + "some of its values are infinite or no numbers");
        }
    }
}

// Of calls that have failed each report is a fault; of others they are warnings.
void addReports(Findings* findings, CollectedReports* reports, bool haveFailed) {
    for (const std::string& report : reports->take()) {
        const std::string text = reasonOf(report, Raw::kErrorFailed, Work::kReading).m_text;
        haveFailed && !isRemark(report) ? findings->fault(text) : findings->oddity(text);
    }
}

// Every texture of a .vxf file, and the one image of others.
void findInTextures(Findings* findings, SourceFile* file, CollectedReports* reports) {
    Configuration configuration;
    const bool isVxf = Raw::getFileTypeFromExtension(file->typeName()) == Raw::makeFileType(".VXF");
    const int count = isVxf ? Raw::vxfGetNumberOfTextures(file->region(), &configuration) : 1;
    addReports(findings, reports, true);
    for (int index = 0; index < count; ++index) {
        Raw::MemoryMappedImage image;
        const std::string which = count > 1 ? "texture " + std::to_string(index) + ": " : "";
        const Raw::Error error =
            Raw::loadWithResult(&image, file->region(), file->typeName(), &configuration, index);
        const bool isTold = reports->haveAny();
        addReports(findings, reports, error != Raw::kErrorNone);
        if (image.getBytesTotal() != 0) {
            findInImage(findings, image, which);
        }
        if (error != Raw::kErrorNone && !isTold) {
            findings->fault(which + reasonOf("", error, Work::kReading).m_text);
        }
    }
}

Findings validate(const std::string& name, const std::string& type) {
    Findings findings;
    CollectedReports reports;
    try {
        SourceFile file(name, type);
        findType(&findings, &file);
        findInTextures(&findings, &file, &reports);
    } catch (const Failure& failure) {
        if (failure.status() == kExitUnreadable || failure.status() == kExitWrongArguments) {
            throw;
        }
        findings.fault(failure.file().empty()
                           ? failure.what()
                           : std::string(failure.what()).substr(failure.file().size() + 2));
    }
    addReports(&findings, &reports, true);
    return findings;
}

Json describe(const std::string& name, const Findings& findings) {
    Json list = Json::array();
    for (const Finding& finding : findings.all()) {
        list.push_back({{"kind", finding.m_isFault ? "fault" : "oddity"}, {"text", finding.m_text}});
    }
    return {{"file", name}, {"isValid", !findings.hasFaults()}, {"findings", list}};
}

void print(const std::string& name, const Findings& findings) {
    for (const Finding& finding : findings.all()) {
        std::printf("%s: %s: %s\n", shownName(name).c_str(), finding.m_isFault ? "fault" : "odd",
                    escaped(finding.m_text).c_str());
    }
    if (findings.all().empty()) {
        std::printf("%s: nothing odd\n", shownName(name).c_str());
    }
}

void run(const Options& options) {
    std::size_t faulty = 0;
    Json files = Json::array();
    for (const std::string& name : options.names()) {
        const Findings findings = validate(name, options.value("--type"));
        faulty += findings.hasFaults();
        files.push_back(describe(nameOfSource(name), findings));
        if (!isJson() && !isQuiet()) {
            print(nameOfSource(name), findings);
        }
    }
    if (isJson()) {
        printJson(kValidateCommand, {{"files", files}});
    }
    if (faulty != 0) {
        throw Failure(options.names().size() == 1
                          ? "the file has faults"
                          : std::to_string(faulty) + " of " + std::to_string(options.names().size()) +
                                " files have faults",
                      kExitAnswerIsNo);
    }
}

constexpr Operand kOperands[] = {
    {.m_name = "FILE", .m_help = "pictures or textures", .m_most = Operand::kAnyNumber}};

const OptionGroup kGroups[] = {kWarningOptions, kStandardStreamOptions};

constexpr Example kExamples[] = {
    {"validate textures/*.dds", "ends with status 1 when one of them is damaged"}};

} // namespace

const Command kValidateCommand = {
    .m_name = "validate",
    .m_summary = "tells everything odd about files",
    .m_description =
        "Faults, such as missing texels, make the exit status 1. What is only odd, such as a chain that "
        "ends early, does not, except with --strict.",
    .m_operands = kOperands,
    .m_groups = kGroups,
    .m_examples = kExamples,
    .m_run = &run,
};

} // namespace Tool
