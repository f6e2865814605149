// URLs where nothing can fetch them: those of local files are unescaped into names.

#include "platform/platform.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace qor::Texsmith::Platform {

namespace {

constexpr char kUnsafe[] = " \"<>\\^`{|}";
constexpr char kFileScheme[] = "file://";
constexpr char kLocalHost[] = "localhost/";

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isSchemeCharacter(char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

bool mustEscape(unsigned char c) { return c <= 0x20 || c >= 0x7F || std::strchr(kUnsafe, c) != nullptr; }

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string unescape(const char* text) {
    std::string plain;
    for (; *text != '\0'; ++text) {
        const int high = *text == '%' ? hexDigit(text[1]) : -1;
        const int low = high >= 0 ? hexDigit(text[2]) : -1;
        if (low >= 0) {
            plain += static_cast<char>(high * 16 + low);
            text += 2;
        } else {
            plain += *text;
        }
    }
    return plain;
}

bool startsWithIgnoringCase(const char* text, const char* lowerCase) {
    for (; *lowerCase != '\0'; ++text, ++lowerCase) {
        if ((isLetter(*text) ? *text | 0x20 : *text) != *lowerCase) {
            return false;
        }
    }
    return true;
}

} // namespace

// One letter before the colon would be a drive.
bool isUrl(const char* name) {
    const char* p = name;
    while (isSchemeCharacter(*p)) {
        ++p;
    }
    return isLetter(*name) && p - name >= 2 && std::strncmp(p, "://", 3) == 0;
}

bool escapeUrl(const char* url, std::string* escaped, const Scratch&) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    escaped->clear();
    for (; *url != '\0'; ++url) {
        const auto c = static_cast<unsigned char>(*url);
        if (mustEscape(c)) {
            *escaped += {'%', kHex[c >> 4], kHex[c & 15]};
        } else {
            *escaped += *url;
        }
    }
    return true;
}

// Files of this machine need no cache; nothing else can be fetched.
bool cacheUrl(const char* escapedUrl, std::string* path, const Scratch&) {
    path->clear();
    if (!startsWithIgnoringCase(escapedUrl, kFileScheme)) {
        errno = EPROTONOSUPPORT;
        return false;
    }
    const char* rest = escapedUrl + std::strlen(kFileScheme);
    if (startsWithIgnoringCase(rest, kLocalHost)) {
        rest += std::strlen(kLocalHost) - 1;
    }
    if (*rest != '/') {
        errno = EHOSTUNREACH; // another machine's file
        return false;
    }
    std::string plain = unescape(rest);
    if (plain.find('\0') != std::string::npos) {
        errno = EINVAL; // the system would end the name there
        return false;
    }
    *path = std::move(plain);
    return true;
}

} // namespace qor::Texsmith::Platform
