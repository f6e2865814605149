#include "commands.h"
#include "failure.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/helpers.h"
#include "qor/texsmith/raw/names.h"

#include <string>

namespace Tool {
namespace {

using namespace qor::Texsmith;

// Room in a DerivedFilename, without the terminator.
constexpr std::size_t kMaxName = 1023;

// The whole destination name, when only its extension was given.
std::string resolveDestination(const std::string& source, const std::string& destination) {
    if (destination.empty()) {
        throw UsageFailure("the destination has no name");
    }
    if (source.size() + destination.size() > kMaxName) {
        throw Failure(source + ": the name is too long");
    }
    if (destination.front() == '.' && source.find('.') == std::string::npos) {
        throw Failure(source + ": the name has no extension that " + destination + " could replace");
    }
    return Raw::DerivedFilename(destination.c_str(), source.c_str()).c_str();
}

// The source itself, of the same type, was named as the destination.
bool isAlreadyThere(const std::string& source, const std::string& destination) {
    return Raw::getFileTypeFromExtension(source.c_str()) ==
               Raw::getFileTypeFromExtension(destination.c_str()) &&
           Platform::isSameFile(source.c_str(), destination.c_str());
}

// A file beside the destination, with its extension, that takes its place once it is whole.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& destination) : m_name(unusedName(destination)) {}
    ~TemporaryFile() {
        if (!m_kept && Platform::fileExists(m_name.c_str())) {
            Platform::deleteFile(m_name.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const char* name() const { return m_name.c_str(); }

    void moveTo(const std::string& destination) {
        if (!Platform::replaceFile(m_name.c_str(), destination.c_str())) {
            char text[512];
            Platform::lastErrorText(text, sizeof text);
            throw Failure(destination + ": " + text);
        }
        m_kept = true;
    }

private:
    static std::string unusedName(const std::string& destination) {
        const std::size_t directoryEnd = destination.find_last_of("/\\") + 1; // 0 without a directory
        const std::size_t dot = destination.rfind('.');
        const std::string extension =
            dot == std::string::npos || dot < directoryEnd ? std::string() : destination.substr(dot);
        const std::string process = std::to_string(Platform::getProcessId());
        for (unsigned number = 0;; ++number) {
            std::string name = destination.substr(0, directoryEnd) + ".texsmith-" + process + "-" +
                               std::to_string(number) + extension;
            if (!Platform::fileExists(name.c_str())) {
                return name;
            }
        }
    }

    std::string m_name;
    bool m_kept = false;
};

Raw::Error convertToFile(const std::string& source, const char* destination) {
    Configuration configuration;
    try {
        return Raw::convertWithResult(source.c_str(), destination, &configuration);
    } catch (const Failure&) {
        return Raw::kErrorFailed; // its text is the first report
    }
}

} // namespace

void convertCommand(Arguments arguments) {
    if (arguments.size() != 2) {
        throw UsageFailure("convert takes a source and a destination; see texsmith --help");
    }
    const std::string source = arguments[0];
    const std::string destination = resolveDestination(source, arguments[1]);
    if (isAlreadyThere(source, destination)) {
        return;
    }
    TemporaryFile temporary(destination);
    const Raw::Error error = convertToFile(source, temporary.name());
    if (error != Raw::kErrorNone || !firstReport().empty()) {
        throwFileFailure(source, error);
    }
    temporary.moveTo(destination);
}

} // namespace Tool
