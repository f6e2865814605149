#include "replacement_file.h"

#include "failure.h"
#include "paths.h"

#include "platform/platform.h"

namespace Tool {
namespace {

using namespace qor::Texsmith;

std::string s_unfinished; // empty when there is none

std::string unusedName(const std::string& destination) {
    const std::string directory = destination.substr(0, nameOffset(destination));
    const std::string extension = destination.substr(extensionOffset(destination));
    const std::string process = std::to_string(Platform::getProcessId());
    for (unsigned number = 0;; ++number) {
        std::string name = directory + ".texsmith-" + process + "-" + std::to_string(number) + extension;
        if (!Platform::fileExists(name.c_str())) {
            return name;
        }
    }
}

} // namespace

ReplacementFile::ReplacementFile(const std::string& destination) : m_destination(destination) {
    s_unfinished = unusedName(destination);
}

const std::string& ReplacementFile::name() const { return s_unfinished; }

void ReplacementFile::takePlace() {
    if (!Platform::replaceFile(s_unfinished.c_str(), m_destination.c_str())) {
        char text[512];
        Platform::lastErrorText(text, sizeof text);
        throw Failure(m_destination + ": " + text);
    }
    s_unfinished.clear();
}

void ReplacementFile::removeUnfinished() {
    if (!s_unfinished.empty() && Platform::fileExists(s_unfinished.c_str())) {
        Platform::deleteFile(s_unfinished.c_str());
    }
    s_unfinished.clear();
}

} // namespace Tool
