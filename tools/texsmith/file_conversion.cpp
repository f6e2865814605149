#include "file_conversion.h"

#include "conversion.h"
#include "failure.h"
#include "paths.h"
#include "replacement_file.h"
#include "signals.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/memory_region.h"

namespace Tool {
namespace {

using namespace qor::Texsmith;

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

void setEncoders(Configuration* configuration, const ConversionOptions& options) {
    if (options.m_quality) {
        configuration->m_encoderConfiguration.m_bc6Quality.setFromQuality(*options.m_quality);
    }
    configuration->m_encoderConfiguration.m_effort = options.m_effort;
}

void writeConverted(const std::string& source, const std::string& destination, const std::string& written,
                    const ConversionOptions& options) {
    Configuration configuration;
    configuration.m_abort = abortWord();
    setEncoders(&configuration, options);
    Raw::Error error = Raw::kErrorFailed;
    const std::string* atWork = &source;
    try {
        Raw::MemoryMappedFile from(source.c_str(), Raw::kPermissionsReadOnly, configuration.m_allocator);
        atWork = &destination;
        Raw::MemoryMappedFile to(written.c_str(), Raw::kPermissionsReadWrite, configuration.m_allocator);
        atWork = &source;
        error = convertRegions(&from, source, &to, destination, options, &configuration);
    } catch (const Failure&) { // whose text is the first report, where there is one
        if (firstReport().empty()) {
            throw;
        }
    }
    if (error != Raw::kErrorNone || !firstReport().empty()) {
        throwFileFailure(*atWork, error);
    }
}

} // namespace

std::string resolveDestination(const std::string& source, const std::string& destination) {
    if (destination.empty()) {
        throw UsageFailure("the destination has no name");
    }
    if (destination.front() != '.' || nameOffset(destination) != 0) {
        return destination;
    }
    const std::size_t extension = extensionOffset(source);
    if (extension == source.size()) {
        throw UsageFailure(source + ": the name has no extension that " + destination + " could replace");
    }
    return source.substr(0, extension) + destination;
}

void convertFile(const std::string& source, const std::string& destination,
                 const ConversionOptions& options) {
    checkConversionOptions(options, destination);
    if (options.changeNothing() && isAlreadyThere(source, destination)) {
        return;
    }
    ReplacementFile file(fileToReplace(source, destination));
    writeConverted(source, destination, file.name(), options);
    file.takePlace();
}

} // namespace Tool
