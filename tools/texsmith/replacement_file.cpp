#include "replacement_file.h"

#include "failure.h"
#include "paths.h"

#include "platform/platform.h"

#include <random>

namespace Tool {
namespace {

using namespace qor::Texsmith;

std::string s_unfinished; // empty when there is none

[[noreturn]] void throwSystemFailure(const std::string& name) {
    char text[512];
    Platform::lastErrorText(text, sizeof text);
    throw Failure(name + ": " + text);
}

// 128 bits that nobody can guess.
std::string randomText() {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::random_device random;
    std::string text;
    while (text.size() < 32) {
        text += kDigits[random() % 16];
    }
    return text;
}

// Beside the destination. Whoever may write there too could not have put anything under this name.
std::string makeFileBeside(const std::string& destination) {
    const std::string directory = destination.substr(0, nameOffset(destination));
    const std::string extension = destination.substr(extensionOffset(destination));
    const std::string name = directory + ".texsmith-" + randomText() + extension;
    if (!Platform::makeFile(name.c_str())) {
        throwSystemFailure(destination);
    }
    return name;
}

} // namespace

ReplacementFile::ReplacementFile(const std::string& destination) : m_destination(destination) {
    s_unfinished = makeFileBeside(destination);
}

const std::string& ReplacementFile::name() const { return s_unfinished; }

void ReplacementFile::takePlace() {
    if (!Platform::replaceFile(s_unfinished.c_str(), m_destination.c_str())) {
        throwSystemFailure(m_destination);
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
