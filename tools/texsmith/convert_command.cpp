// texsmith convert: writes a file as another type, beside the destination first.
#include "commands.h"
#include "conversion.h"
#include "failure.h"
#include "options.h"
#include "paths.h"
#include "replacement_file.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/memory_region.h"

#include <cstdlib>
#include <string>
#include <utility>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

// The whole destination name, when only its extension was given. "./a.vxf" is a name.
std::string resolveDestination(const std::string& source, const std::string& destination) {
    if (destination.empty()) {
        throw UsageFailure("the destination has no name");
    }
    if (destination.front() != '.' || nameOffset(destination) != 0) {
        return destination;
    }
    const std::size_t extension = extensionOffset(source);
    if (extension == source.size()) {
        throw Failure(source + ": the name has no extension that " + destination + " could replace");
    }
    return source.substr(0, extension) + destination;
}

// The source itself, of the same type, was named as the destination.
bool isAlreadyThere(const std::string& source, const std::string& destination) {
    return Raw::getFileTypeFromExtension(source.c_str()) ==
               Raw::getFileTypeFromExtension(destination.c_str()) &&
           isSameFile(source, destination);
}

// A link stays and the file behind it is replaced, unless that is the source.
std::string fileToReplace(const std::string& source, const std::string& destination) {
    const bool leadsToSource = isSameFile(source, destination);
    return leadsToSource ? destination : followLinks(destination);
}

void convertFile(const std::string& source, const std::string& destination, const std::string& written,
                 const ConversionOptions& conversion) {
    Configuration configuration;
    if (conversion.m_quality) {
        configuration.m_encoderConfiguration.m_bc6Quality.setFromQuality(*conversion.m_quality);
    }
    configuration.m_encoderConfiguration.m_effort = conversion.m_effort;
    Raw::Error error = Raw::kErrorFailed;
    const std::string* atWork = &source;
    try {
        Raw::MemoryMappedFile from(source.c_str(), Raw::kPermissionsReadOnly, configuration.m_allocator);
        atWork = &destination;
        Raw::MemoryMappedFile to(written.c_str(), Raw::kPermissionsReadWrite, configuration.m_allocator);
        atWork = &source;
        error = convertRegions(&from, source, &to, destination, conversion, &configuration);
    } catch (const Failure&) { // whose text is the first report, where there is one
        if (firstReport().empty()) {
            throw;
        }
    }
    if (error != Raw::kErrorNone || !firstReport().empty()) {
        throwFileFailure(*atWork, error);
    }
}

float qualityOf(const std::string& text) {
    char* end = nullptr;
    const float value = std::strtof(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value >= 0.0f)) {
        throw UsageFailure("--quality is a number from 0 on, and not '" + text + "'");
    }
    return value;
}

Raw::EncoderEffort effortNamed(const std::string& name) {
    constexpr std::pair<const char*, Raw::EncoderEffort> kEfforts[] = {
        {"fast", Raw::kEncoderEffortFast},
        {"normal", Raw::kEncoderEffortNormal},
        {"high", Raw::kEncoderEffortHigh},
        {"best", Raw::kEncoderEffortBest},
    };
    for (const auto& [known, effort] : kEfforts) {
        if (name == known) {
            return effort;
        }
    }
    throw UsageFailure("--effort is fast, normal, high or best, and not '" + name + "'");
}

ConversionOptions conversionOptionsOf(const Options& options) {
    ConversionOptions conversion;
    conversion.m_mips = options.has("--mips");
    if (options.has("--resize")) {
        conversion.m_size = readSize(options.value("--resize"));
    }
    if (options.has("--filter")) {
        conversion.m_filter = options.value("--filter");
        checkFilter(conversion.m_filter);
        if (!conversion.m_size) {
            throw UsageFailure("--filter goes with --resize");
        }
    }
    if (options.has("--format")) {
        conversion.m_format = findFormat(options.value("--format"));
    }
    if (options.has("--dds-version")) {
        const std::string version = options.value("--dds-version");
        if (version != "9" && version != "10") {
            throw UsageFailure("--dds-version is 9 or 10, and not '" + version + "'");
        }
        conversion.m_ddsVersion = version == "9" ? 9 : 10;
    }
    if (options.has("--quality")) {
        conversion.m_quality = qualityOf(options.value("--quality"));
    }
    if (options.has("--effort")) {
        conversion.m_effort = effortNamed(options.value("--effort"));
    }
    return conversion;
}

} // namespace

void convertCommand(Arguments arguments) {
    const Options options(arguments, {"--mips"},
                          {"--format", "--dds-version", "--resize", "--filter", "--quality", "--effort"});
    if (options.names().size() != 2) {
        throw UsageFailure("convert takes a source and a destination; see texsmith --help");
    }
    const ConversionOptions conversion = conversionOptionsOf(options);
    const std::string source = options.names()[0];
    const std::string destination = resolveDestination(source, options.names()[1]);
    checkConversionOptions(conversion, destination);
    const bool changesNothing =
        !conversion.m_size && !conversion.m_mips && !conversion.m_format && !conversion.m_ddsVersion;
    if (changesNothing && isAlreadyThere(source, destination)) {
        return;
    }
    ReplacementFile file(fileToReplace(source, destination));
    convertFile(source, destination, file.name(), conversion);
    file.takePlace();
}

} // namespace Tool
