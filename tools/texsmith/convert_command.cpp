#include "commands.h"
#include "failure.h"
#include "format_conversion.h"
#include "mip_conversion.h"
#include "options.h"
#include "paths.h"
#include "replacement_file.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/memory_region.h"

#include <optional>
#include <string>

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
           Platform::isSameFile(source.c_str(), destination.c_str());
}

// A link stays and the file behind it is replaced, unless that is the source.
std::string fileToReplace(const std::string& source, const std::string& destination) {
    const bool leadsToSource = Platform::isSameFile(source.c_str(), destination.c_str());
    return leadsToSource ? destination : followLinks(destination);
}

struct Wishes {
    bool m_mips;
    std::optional<Vex::DataFormat> m_format;
};

Raw::Error convertRegions(MemoryRegion* from, const std::string& source, Raw::ResizableMemoryRegion* to,
                          const std::string& destination, const Wishes& wishes,
                          Configuration* configuration) {
    if (!wishes.m_mips && !wishes.m_format) {
        return Raw::convertWithResult(from, source.c_str(), to, destination.c_str(), configuration);
    }
    if (!wishes.m_format) {
        return convertWithMips(from, source, to, destination, configuration);
    }
    if (!wishes.m_mips) {
        return convertToFormat(from, source, to, destination, *wishes.m_format, configuration);
    }
    Raw::MappedMemory chain; // mips are made before the loss of a compression
    const Raw::Error error = convertWithMips(from, source, &chain, destination, configuration);
    return error != Raw::kErrorNone
               ? error
               : convertToFormat(&chain, destination, to, destination, *wishes.m_format, configuration);
}

void convertFile(const std::string& source, const std::string& destination, const std::string& written,
                 const Wishes& wishes) {
    Configuration configuration;
    Raw::Error error = Raw::kErrorFailed;
    const std::string* atWork = &source;
    try {
        Raw::MemoryMappedFile from(source.c_str(), Raw::kPermissionsReadOnly, configuration.m_allocator);
        atWork = &destination;
        Raw::MemoryMappedFile to(written.c_str(), Raw::kPermissionsReadWrite, configuration.m_allocator);
        atWork = &source;
        error = convertRegions(&from, source, &to, destination, wishes, &configuration);
    } catch (const Failure&) { // its text is the first report
    }
    if (error != Raw::kErrorNone || !firstReport().empty()) {
        throwFileFailure(*atWork, error);
    }
}

} // namespace

void convertCommand(Arguments arguments) {
    const Options options(arguments, {"--mips"}, {"--format"});
    if (options.names().size() != 2) {
        throw UsageFailure("convert takes a source and a destination; see texsmith --help");
    }
    Wishes wishes = {options.has("--mips"), {}};
    if (options.has("--format")) {
        wishes.m_format = findFormat(options.value("--format"));
    }
    const std::string source = options.names()[0];
    const std::string destination = resolveDestination(source, options.names()[1]);
    if (wishes.m_mips) {
        checkHoldsMips(destination);
    } else if (!wishes.m_format && isAlreadyThere(source, destination)) {
        return;
    }
    ReplacementFile file(fileToReplace(source, destination));
    convertFile(source, destination, file.name(), wishes);
    file.takePlace();
}

} // namespace Tool
