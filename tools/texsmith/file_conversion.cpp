#include "file_conversion.h"

#include "conversion.h"
#include "failure.h"
#include "paths.h"
#include "replacement_file.h"
#include "signals.h"
#include "source_file.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/job_manager.h"
#include "qor/texsmith/raw/memory_region.h"
#include "qor/texsmith/raw/process.h"
#include "qor/texsmith/raw/vxf.h"

#include <cstdio>
#include <optional>

namespace Tool {
namespace {

using namespace qor::Texsmith;

constexpr char kVxfName[] = ".vxf"; // of bytes in memory

// The source itself, of the same type, was named as the destination.
bool isAlreadyThere(const std::string& source, const std::string& destination) {
    return Raw::getFileTypeFromExtension(source.c_str()) ==
               Raw::getFileTypeFromExtension(destination.c_str()) &&
           isSameFile(source, destination);
}

// Before anything is read. A file of the source's own type is copied, whatever it is.
void checkIsWritten(const std::string& source, const std::string& destination, const std::string& shown) {
    const Raw::FileType type = Raw::getFileTypeFromExtension(destination.c_str());
    if (type != 0 && type == Raw::getFileTypeFromExtension(source.c_str())) {
        return;
    }
    for (int index = 0; index < Raw::getFileTypeSupportCount(); ++index) {
        const Raw::FileTypeSupport known = Raw::getFileTypeSupport(index);
        const bool isIt = type != 0 && Raw::getFileTypeFromExtension(known.m_extension) == type;
        if (isIt && known.m_isWritten) {
            return;
        }
    }
    if (extensionOffset(destination) == destination.size()) {
        throw UsageFailure(shown + ": its name has no extension, such as .dds, that tells the type");
    }
    throw Failure("this build writes no files of that type; see texsmith version", kExitUnsupported, shown);
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

struct NamedRegion {
    MemoryRegion* m_region;
    std::string m_typeName, m_name; // what tells its type, and how it is called
};

NamedRegion regionOf(SourceFile* file) { return {file->region(), file->typeName(), file->name()}; }

// From any source into any region. Throws Failure in the name of the file that is at fault.
void convertInto(Raw::ResizableMemoryRegion* to, const NamedRegion& source, const std::string& destination,
                 const ConversionOptions& options, const FileWork& work) {
    Raw::SerialJobManager serial;
    Configuration configuration;
    configuration.m_jobManager = work.m_isSerial ? &serial : configuration.m_jobManager;
    configuration.m_abort = abortWord();
    setEncoders(&configuration, options);
    Raw::Error error = Raw::kErrorFailed;
    try {
        error = convertRegions(source.m_region, source.m_typeName, to, destination, options, &configuration);
    } catch (const Failure& failure) {
        if (!haveFailed(Raw::kErrorNone)) { // it is none of the library's
            throwFileFailure(source.m_name, failure);
        }
    }
    if (haveFailed(error) && isAboutWriting(firstReport())) {
        throwFileFailure(destination, error, Work::kWriting);
    }
    if (haveFailed(error)) {
        throwFileFailure(source.m_name, error);
    }
    tellWarnings(source.m_name, options.m_isStrict);
}

void writeConverted(const NamedRegion& source, const std::string& destination, const std::string& replaced,
                    const ConversionOptions& options, const FileWork& work) {
    ReplacementFile file(replaced, work.m_force);
    std::optional<Raw::MemoryMappedFile> to;
    try {
        to.emplace(file.name().c_str(), Raw::kPermissionsReadWrite, Raw::g_mallocAllocator);
    } catch (const Failure&) { // its text is the first report
        throwFileFailure(destination, Raw::kErrorFailed, Work::kWriting);
    }
    convertInto(&*to, source, destination, options, work);
    to.reset();
    if (work.m_whenMade) {
        work.m_whenMade();
    }
    file.takePlace();
}

void writeToStandardOutput(SourceFile* source, const ConversionOptions& options, const FileWork& work) {
    constexpr int kStandardOutputNumber = 1;
    Raw::MappedMemory memory;
    convertInto(&memory, regionOf(source), options.m_outputType, options, work);
    Raw::setBinaryMode(kStandardOutputNumber);
    std::fwrite(memory.begin, 1, static_cast<std::size_t>(memory.length()), stdout);
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

void convertFile(const std::string& source, const std::string& destination, const ConversionOptions& options,
                 const FileWork& work) {
    if (destination == kStandardStream) {
        if (options.m_outputType.empty()) {
            throw UsageFailure("what the standard output is to hold is told by --type");
        }
        checkIsWritten(source, options.m_outputType, options.m_outputType);
        checkConversionOptions(options, options.m_outputType);
        SourceFile file(source, options.m_inputType);
        writeToStandardOutput(&file, options, work);
        return;
    }
    checkIsWritten(source, destination, destination);
    checkConversionOptions(options, destination);
    if (options.changeNothing() && isAlreadyThere(source, destination)) {
        return;
    }
    SourceFile from(source, options.m_inputType);
    writeConverted(regionOf(&from), destination, fileToReplace(source, destination), options, work);
}

void convertImage(const Raw::MemoryMappedImage& image, const std::string& source,
                  const std::string& destination, const ConversionOptions& options) {
    checkIsWritten(kVxfName, destination, destination);
    checkConversionOptions(options, destination);
    Configuration configuration;
    Raw::MappedMemory file;
    callLibrary(source, [&] { return Raw::convertToVxf(&image, &file, &configuration); });
    writeConverted({&file, kVxfName, source}, destination, followLinks(destination), options, {});
}

void convertIntoVxf(Raw::ResizableMemoryRegion* destination, const std::string& source,
                    const ConversionOptions& options) {
    SourceFile file(source, options.m_inputType);
    convertInto(destination, regionOf(&file), kVxfName, options, {});
}

void writeFile(const std::string& destination,
               const std::function<Raw::Error(Raw::ResizableMemoryRegion*)>& use, const FileWork& work) {
    ReplacementFile file(followLinks(destination), work.m_force);
    const auto write = [&] {
        Raw::MemoryMappedFile to(file.name().c_str(), Raw::kPermissionsReadWrite, Raw::g_mallocAllocator);
        return use(&to);
    };
    callLibrary(destination, write, Work::kWriting);
    file.takePlace();
}

} // namespace Tool
