#include "platform/platform.h"
#include "qor/texsmith/texsmith.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace qor::Texsmith;
using Raw::g_mallocAllocator;
namespace fs = std::filesystem;

std::string digestOf(const std::string& text) {
    std::uint8_t digest[Platform::kSha1Bytes];
    Platform::sha1(text.data(), text.size(), digest);
    std::string hex;
    for (const std::uint8_t byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        hex += digits;
    }
    return hex;
}

// The standard's own examples, and digests at the sizes around a block's end.
TEST(Platform, Sha1GivesKnownDigests) {
    const struct {
        std::string m_text;
        const char* m_digest;
    } kCases[] = {
        {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {std::string(55, 'x'), "cef734ba81a024479e09eb5a75b6ddae62e6abf1"},
        {std::string(56, 'x'), "901305367c259952f4e7af8323f480d59f81335b"},
        {std::string(63, 'x'), "0ddc4e0cccd9a12850deb5abb0853a4425559fec"},
        {std::string(64, 'x'), "bb2fa3ee7afb9f54c6dfb5d021f14b1ffe40c163"},
        {std::string(65, 'x'), "78c741ddc482e4cdf8c474a0876347a0905b6233"},
        {std::string(119, 'x'), "4300320394f7ee239bcdce7d3b8bcee173a0cd5c"},
        {std::string(120, 'x'), "ceb2821639c4b6dcb10bce0e522ca2e608ce056d"},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(digestOf(c.m_text), c.m_digest) << c.m_text.size();
    }
}

std::wstring widen(const std::string& text) {
    std::wstring wide(Platform::toWide(text.c_str(), nullptr, 0), L'?');
    Platform::toWide(text.c_str(), wide.data(), wide.size());
    EXPECT_EQ(wide.back(), L'\0');
    wide.pop_back();
    return wide;
}

std::string narrow(const std::wstring& wide) {
    std::string text(Platform::toUtf8(wide.c_str(), nullptr, 0), '?');
    Platform::toUtf8(wide.c_str(), text.data(), text.size());
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

// The other way to write a code point, from the ranges of the encoding.
std::string encode(unsigned code) {
    const auto byte = [](unsigned value) { return static_cast<char>(value); };
    if (code < 0x80) {
        return {byte(code)};
    }
    if (code < 0x800) {
        return {byte(0xC0 + code / 64), byte(0x80 + code % 64)};
    }
    if (code < 0x10000) {
        return {byte(0xE0 + code / 4096), byte(0x80 + code / 64 % 64), byte(0x80 + code % 64)};
    }
    return {byte(0xF0 + code / 262144), byte(0x80 + code / 4096 % 64), byte(0x80 + code / 64 % 64),
            byte(0x80 + code % 64)};
}

TEST(Platform, EveryCodePointConvertsBothWays) {
    for (unsigned code = 1; code < 0x110000; ++code) {
        if (code >= 0xD800 && code < 0xE000) {
            continue;
        }
        const std::string text = encode(code);
        const std::wstring wide = widen(text);
        ASSERT_EQ(narrow(wide), text) << code;
        if (code < 0x10000 || sizeof(wchar_t) == 4) {
            ASSERT_EQ(wide, std::wstring(1, static_cast<wchar_t>(code))) << code;
        }
    }
}

TEST(Platform, BrokenTextBecomesReplacementCharacters) {
    const struct {
        const char* m_text;
        std::wstring m_wide;
    } kCases[] = {
        {"a\x80z", L"a\uFFFDz"},
        {"\xC3", L"\uFFFD"},
        {"\xC3(", L"\uFFFD("},
        {"\xE2\x82z", L"\uFFFDz"},
        {"\xF0\x9F\x98", L"\uFFFD"},
        {"\xC0\xAF", L"\uFFFD\uFFFD"},                     // overlong
        {"\xE0\x80\xAF", L"\uFFFD\uFFFD\uFFFD"},           // overlong
        {"\xED\xA0\x80", L"\uFFFD\uFFFD\uFFFD"},           // a surrogate
        {"\xF4\x90\x80\x80", L"\uFFFD\uFFFD\uFFFD\uFFFD"}, // above the last code point
        {"\xFF", L"\uFFFD"},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(widen(c.m_text), c.m_wide) << c.m_text;
    }
    EXPECT_EQ(narrow({static_cast<wchar_t>(0xD800), L'z'}), "\xEF\xBF\xBDz");
}

TEST(Text, AllocatesAbove128Units) {
    static int s_allocations;
    const IAllocator counting = {nullptr,
                                 [](void*, unsigned long long size, unsigned long long alignment) {
                                     ++s_allocations;
                                     return Raw::defaultAllocate(nullptr, size, alignment);
                                 },
                                 &Raw::defaultRelease};
    for (const std::size_t length : {std::size_t{0}, std::size_t{127}, std::size_t{128}, std::size_t{5000}}) {
        const std::string text(length, 'x');
        s_allocations = 0;
        Raw::utf16 wide(text.c_str(), counting);
        const Raw::utf8 back(wide.c_str(), counting);
        EXPECT_EQ(back.c_str(), text);
        EXPECT_EQ(s_allocations, length >= 128 ? 2 : 0);
    }
    EXPECT_EQ(Raw::utf16(nullptr, counting).c_str(), nullptr);
    EXPECT_EQ(Raw::utf8(nullptr, counting).c_str(), nullptr);
}

TEST(Platform, TellsUrlsFromPaths) {
    for (const char* url : {"http://x", "file:///a", "FTP://x/y", "x-y.z+1://"}) {
        EXPECT_TRUE(Platform::isUrl(url)) << url;
    }
    for (const char* path : {"", "a.tga", "c://x", "c:\\x", "http:/x", "/http://x", "1a://x", "://x"}) {
        EXPECT_FALSE(Platform::isUrl(path)) << path;
    }
}

TEST(Platform, EscapesWhatAUrlMayNotHold) {
    std::string escaped;
    ASSERT_TRUE(Platform::escapeUrl("file:///a b\xC3\xA9%20<c>.tga", &escaped, g_mallocAllocator));
    EXPECT_EQ(escaped, "file:///a%20b%C3%A9%20%3Cc%3E.tga");
}

class TemporaryDirectory {
public:
    TemporaryDirectory()
        : m_path(fs::temp_directory_path() /
                 ("texsmith_platform_" + std::to_string(Platform::getProcessId()))) {
        fs::create_directory(m_path);
    }
    ~TemporaryDirectory() { fs::remove_all(m_path); }
    std::string operator/(const char* name) const { return (m_path / name).string(); }

private:
    fs::path m_path;
};

void write(const std::string& name, const std::string& text) {
    std::ofstream(name, std::ios::binary) << text;
}

std::string read(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(Platform, FileUrlsAreFiles) {
    const TemporaryDirectory directory;
    const std::string name = directory / "a b\xC3\xA9.bin";
    write(name, "text");
    const std::string separator = name[0] == '/' ? "" : "/";
    for (const std::string& url : {"file://" + separator + name, "FILE://localhost" + separator + name}) {
        const Raw::MemoryMappedFile file(url.c_str(), Raw::kPermissionsReadOnly, g_mallocAllocator);
        EXPECT_EQ(std::string(file.begin, file.end), "text") << url;
    }
    std::string path = "old";
    EXPECT_FALSE(Platform::cacheUrl("file://elsewhere/x", &path, g_mallocAllocator));
    EXPECT_EQ(path, "");
}

TEST(Platform, CopiesReplacesAndDeletesFiles) {
    const TemporaryDirectory directory;
    const std::string a = directory / "a";
    const std::string b = directory / "b\xC3\xA9";
    std::string big(700001, 'x');
    big[600000] = '\0';
    write(a, big);
    write(b, std::string(800000, 'y'));
    EXPECT_TRUE(Platform::copyFile(a.c_str(), b.c_str()));
    EXPECT_EQ(read(b), big);
    EXPECT_FALSE(Platform::isSameFile(a.c_str(), b.c_str()));
    EXPECT_TRUE(Platform::isSameFile(a.c_str(), (directory / "./a").c_str()));
    EXPECT_FALSE(Platform::copyFile(a.c_str(), a.c_str())); // must not cut its source
    EXPECT_EQ(read(a), big);
    write(a, "short");
    EXPECT_TRUE(Platform::replaceFile(a.c_str(), b.c_str()));
    EXPECT_EQ(read(b), "short");
    EXPECT_FALSE(Platform::fileExists(a.c_str()));
    EXPECT_TRUE(Platform::deleteFile(b.c_str()));
    EXPECT_FALSE(Platform::fileExists(b.c_str()));
    EXPECT_FALSE(Platform::isSameFile(a.c_str(), a.c_str()));
    EXPECT_FALSE(Platform::copyFile(a.c_str(), b.c_str()));
    EXPECT_FALSE(Platform::replaceFile(a.c_str(), b.c_str()));
    EXPECT_FALSE(Platform::deleteFile(b.c_str()));
}

TEST(Platform, TemporaryDirectoryEndsInASeparator) {
    char buffer[1024];
    ASSERT_TRUE(Platform::getTemporaryDirectory(buffer, sizeof buffer));
    const std::string name = buffer;
    EXPECT_TRUE(fs::is_directory(name));
    EXPECT_TRUE(fs::equivalent(fs::path(name + "."), fs::path(name)));
    EXPECT_FALSE(Platform::getTemporaryDirectory(buffer, name.size()));
    EXPECT_TRUE(Platform::getTemporaryDirectory(buffer, name.size() + 1));
}

TEST(Platform, DirectoriesAreNotFiles) {
    EXPECT_EQ(Platform::openFileToRead(fs::temp_directory_path().string().c_str()), Platform::kNoHandle);
    char text[8];
    Platform::lastErrorText(text, sizeof text);
    EXPECT_GT(std::strlen(text), 0u);
    EXPECT_LT(std::strlen(text), sizeof text);
}

} // namespace
