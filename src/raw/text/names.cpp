// Derived file names, comparison without regard to case, and a stop watch.

#include "qor/texsmith/raw/names.h"

#include "platform/platform.h"
#include "raw/frame/check.h"

#include <cstdio>
#include <cstring>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\text\\names";

int foldCase(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

float secondsSince(std::uint64_t start, std::uint64_t frequency) {
    return static_cast<float>(Platform::getCounter() - start) / static_cast<float>(frequency);
}

} // namespace

DerivedFilename::DerivedFilename(const char* filenameToDerive, const char* filenameToDeriveFrom) {
    m_text[0] = '\0';
    const bool hasName = checkNotNull(filenameToDerive, kSourcePath, "filenameToDerive must not be NULL.");
    const bool hasSource =
        checkNotNull(filenameToDeriveFrom, kSourcePath, "filenameToDeriveFrom must not be NULL.");
    if (!hasName) {
        return;
    }
    if (filenameToDerive[0] != '.') {
        std::snprintf(m_text, sizeof m_text, "%s", filenameToDerive);
        return;
    }
    if (!hasSource) {
        return;
    }
    std::snprintf(m_text, sizeof m_text, "%s", filenameToDeriveFrom);
    char* whereExtensionBegins = std::strrchr(m_text, '.');
    if (!checkNotNull(whereExtensionBegins, kSourcePath, "whereExtensionBegins must not be NULL.")) {
        whereExtensionBegins = m_text + std::strlen(m_text);
    }
    const auto room = static_cast<std::size_t>(m_text + sizeof m_text - whereExtensionBegins);
    std::snprintf(whereExtensionBegins, room, "%s", filenameToDerive);
}

int strcmpCaseInsensitive(const char* a, const char* b) {
    if (a == nullptr || b == nullptr) {
        return a == b ? 1 : 0;
    }
    while (*a != '\0' && foldCase(*a) == foldCase(*b)) {
        ++a;
        ++b;
    }
    return foldCase(*a) - foldCase(*b);
}

Timer::Timer() : m_frequency(Platform::getCounterFrequency()), m_start(Platform::getCounter()) {}

void Timer::reset() { m_start = Platform::getCounter(); }

float Timer::getSeconds() const { return secondsSince(m_start, m_frequency); }

float Timer::getMilliseconds() const { return getSeconds() * 1000.0f; }

float Timer::getMicroseconds() const { return getSeconds() * 1000000.0f; }

} // namespace qor::Texsmith::Raw
