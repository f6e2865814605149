#include "platform/platform.h"
#include "qor/texsmith/texsmith.h"
#include "support/counting_heap.h"
#include "support/temporary_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

using namespace qor::Texsmith;
using Raw::g_mallocAllocator;
using TestSupport::TemporaryFile;
namespace fs = std::filesystem;

// The standard's own examples, and the sizes around a block's end.
TEST(Platform, Sha1GivesKnownDigests) {
    const struct {
        std::string m_text;
        const char* m_digest;
    } kCases[] = {
        {"", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {"abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {std::string(55, 'x'), "cef734ba81a024479e09eb5a75b6ddae62e6abf1"},
        {std::string(56, 'x'), "901305367c259952f4e7af8323f480d59f81335b"},
        {std::string(64, 'x'), "bb2fa3ee7afb9f54c6dfb5d021f14b1ffe40c163"},
        {std::string(119, 'x'), "4300320394f7ee239bcdce7d3b8bcee173a0cd5c"},
    };
    ASSERT_TRUE(Platform::startSha1());
    for (const auto& c : kCases) {
        std::uint8_t digest[Platform::kSha1Bytes] = {};
        EXPECT_TRUE(Platform::sha1(c.m_text.data(), c.m_text.size(), digest));
        std::string hex;
        for (const std::uint8_t byte : digest) {
            hex += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
        }
        EXPECT_EQ(hex, c.m_digest) << c.m_text.size();
    }
}

constexpr Platform::Scratch kScratch{nullptr, &Raw::defaultAllocate, &Raw::defaultRelease};

std::wstring widen(const std::string& text) {
    std::wstring wide(Platform::toWide(text.c_str(), nullptr, 0) - 1, L'?');
    Platform::toWide(text.c_str(), wide.data(), wide.size() + 1);
    return wide;
}

std::string narrow(const std::wstring& wide) {
    std::string text(Platform::toUtf8(wide.c_str(), nullptr, 0) - 1, '?');
    Platform::toUtf8(wide.c_str(), text.data(), text.size() + 1);
    return text;
}

// Against the standard library's paths.
TEST(Platform, EveryCodePointConvertsBothWays) {
    for (unsigned code = 1; code < 0x110000; code += code == 0xD7FF ? 0x801 : 1) {
        const std::string text = TestSupport::toUtf8(std::u32string(1, code));
        std::wstring wide(1, static_cast<wchar_t>(code));
        if (sizeof(wchar_t) == 2 && code >= 0x10000) {
            wide = {static_cast<wchar_t>(0xD7C0 + (code >> 10)), static_cast<wchar_t>(0xDC00 + code % 1024)};
        }
        ASSERT_EQ(narrow(wide), text) << code;
        ASSERT_EQ(widen(text), wide) << code;
    }
}

// How many for one broken sequence is up to the system.
TEST(Platform, BrokenTextBecomesReplacementCharacters) {
    const struct {
        const char* m_text;
        std::wstring m_wide;
    } kCases[] = {
        {"a\x80z", L"a\uFFFDz"},     {"\xC3(", L"\uFFFD("},           {"\xE2\x82z", L"\uFFFDz"},
        {"\xF0\x9F\x98", L"\uFFFD"}, {"\xC0\xAF", L"\uFFFD"},         {"\xE0\x80\xAF", L"\uFFFD"},
        {"\xED\xA0\x80", L"\uFFFD"}, {"\xF4\x90\x80\x80", L"\uFFFD"},
    };
    for (const auto& c : kCases) {
        std::wstring wide = widen(c.m_text);
        wide.erase(std::unique(wide.begin(), wide.end()), wide.end());
        EXPECT_EQ(wide, c.m_wide) << c.m_text;
    }
    EXPECT_EQ(narrow({static_cast<wchar_t>(0xD800), L'z'}), "\xEF\xBF\xBDz"); // half of a surrogate pair
}

TEST(Text, AllocatesAbove128Units) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{127}, std::size_t{128}, std::size_t{5000}}) {
        const std::string text(length, 'x');
        TestSupport::CountingHeap heap;
        {
            const Raw::utf16 wide(text.c_str(), heap.allocator());
            EXPECT_EQ(Raw::utf8(wide.c_str(), heap.allocator()).c_str(), text);
        }
        const decltype(heap.m_asked) asked = {{(length + 1) * sizeof(wchar_t), sizeof(wchar_t)},
                                              {length + 1, 1}};
        EXPECT_EQ(heap.m_asked, length >= 128 ? asked : decltype(asked)());
        EXPECT_EQ(heap.m_live, 0);
    }
    EXPECT_EQ(Raw::utf16(nullptr, g_mallocAllocator).c_str(), nullptr);
    EXPECT_EQ(Raw::utf8(nullptr, g_mallocAllocator).c_str(), nullptr);
}

TEST(Platform, TellsUrlsFromPaths) {
    for (const char* url : {"http://x", "file:///a", "FTP://x/y"}) {
        EXPECT_TRUE(Platform::isUrl(url)) << url;
    }
    for (const char* path : {"", "a.tga", "c://x", "c:\\x", "/http://x", "://x"}) {
        EXPECT_FALSE(Platform::isUrl(path)) << path;
    }
}

TEST(Platform, FileUrlsAreFiles) {
    const TemporaryFile name("text");
    const std::string url = (name.name()[0] == '/' ? "FILE://localhost" : "FILE://localhost/") + name.name();
    std::string escaped;
    ASSERT_TRUE(Platform::escapeUrl(url.c_str(), &escaped, kScratch));
    EXPECT_EQ(escaped.find_first_of(" \xC3\xA9"), std::string::npos) << escaped;
    for (const std::string& text : {url, escaped}) {
        const Raw::MemoryMappedFile file(text.c_str(), Raw::kPermissionsReadOnly, g_mallocAllocator);
        EXPECT_EQ(std::string(file.begin, file.end), "text") << text;
    }
    std::string path;
    EXPECT_FALSE(Platform::cacheUrl((escaped + "%00.tga").c_str(), &path, kScratch));
}

// The last one is too long for some systems' calls together with any directory.
TEST(Platform, NamesAreOfAnyScriptAndLength) {
    char directory[1024];
    ASSERT_TRUE(Platform::getTemporaryDirectory(directory, sizeof directory));
    for (const std::string& name : {std::string("\xE7\x94\xBB\xE5\x83\x8F \xF0\x9F\x8E\xA8 \xD0\x96"),
                                    std::string(130, 'n'), std::string(240, 'n')}) {
        const std::string first = directory + name + "1";
        const std::string second = directory + name + "2";
        {
            Raw::MemoryMappedFile file(first.c_str(), Raw::kPermissionsReadWrite, g_mallocAllocator);
            file.resize(4);
            ASSERT_EQ(file.length(), 4u) << first;
            std::memcpy(file.begin, "text", 4);
        }
        EXPECT_TRUE(Platform::copyFile(first.c_str(), second.c_str()));
        EXPECT_TRUE(Platform::replaceFile(second.c_str(), first.c_str()));
        EXPECT_FALSE(Platform::fileExists(second.c_str()));
        {
            const Raw::MemoryMappedFile file(first.c_str(), Raw::kPermissionsReadOnly, g_mallocAllocator);
            EXPECT_EQ(std::string(file.begin, file.end), "text");
        }
        EXPECT_TRUE(Platform::deleteFile(first.c_str()));
    }
}

// The system's limit is for the whole, and the folder is not in the name.
TEST(Platform, NamesInDeepFoldersMayBeRelative) {
    const fs::path before = fs::current_path(), deep = fs::temp_directory_path() / std::string(150, 'd');
    fs::create_directory(deep);
    fs::current_path(deep);
    const std::string name(130, 'n');
    EXPECT_TRUE(Platform::makeFile(name.c_str()) && Platform::fileExists(name.c_str()) &&
                Platform::deleteFile(name.c_str()));
    fs::current_path(before);
    fs::remove(deep);
}

TEST(Platform, CopiesReplacesAndDeletesFiles) {
    std::string big(700001, 'x');
    big[600000] = '\0';
    const TemporaryFile a(big);
    const TemporaryFile b(std::string(800000, 'y'));
    EXPECT_TRUE(Platform::copyFile(a.c_str(), b.c_str()));
    EXPECT_EQ(b.read(), big);
    EXPECT_FALSE(Platform::isSameFile(a.c_str(), b.c_str()));
    EXPECT_TRUE(Platform::isSameFile(a.c_str(), a.c_str()));
    EXPECT_FALSE(Platform::copyFile(a.c_str(), a.c_str())); // must not cut its source
    const std::string directory = TestSupport::toUtf8(fs::temp_directory_path());
    EXPECT_FALSE(Platform::copyFile(directory.c_str(), a.c_str()));
    EXPECT_EQ(a.read(), big);
    EXPECT_TRUE(Platform::flushFile(a.c_str()) && Platform::replaceFile(a.c_str(), b.c_str()));
    EXPECT_FALSE(Platform::flushFile(a.c_str()));
    EXPECT_EQ(b.read(), big);
    EXPECT_FALSE(Platform::fileExists(a.c_str()));
    EXPECT_FALSE(Platform::isSameFile(a.c_str(), a.c_str()));
    EXPECT_FALSE(Platform::copyFile(a.c_str(), b.c_str()) || Platform::replaceFile(a.c_str(), b.c_str()));
    EXPECT_TRUE(Platform::fileExists(b.c_str()) && Platform::deleteFile(b.c_str()));
    EXPECT_FALSE(Platform::fileExists(b.c_str()) || Platform::deleteFile(b.c_str()));
}

bool isOpened(Platform::Handle file) { return file != Platform::kNoHandle && Platform::closeFile(file); }

// What somebody else may have planted under the name of a file that the program makes for itself.
TEST(Platform, FilesOfItsOwnFollowNoLinks) {
    const TemporaryFile own, link, other("others");
    EXPECT_TRUE(Platform::makeFile(own.c_str()));
    EXPECT_FALSE(Platform::makeFile(own.c_str()));
    EXPECT_TRUE(isOpened(Platform::openPrivateFile(own.c_str())));
    EXPECT_EQ(other.read(), "others");
    std::error_code error;
    fs::create_hard_link(fs::u8path(other.name()), fs::u8path(link.name()), error);
    if (!error) {
        EXPECT_FALSE(isOpened(Platform::openPrivateFile(link.c_str())));
        EXPECT_TRUE(Platform::deleteFile(link.c_str()));
    }
    fs::create_symlink(fs::u8path(other.name() + "x"), fs::u8path(link.name()), error); // to nowhere
    if (!error) {
        EXPECT_FALSE(isOpened(Platform::openPrivateFile(link.c_str())));
        EXPECT_FALSE(Platform::makeFile(link.c_str()));
        EXPECT_FALSE(Platform::fileExists((other.name() + "x").c_str()));
    }
}

TEST(Platform, TheTemporaryDirectoryIsADirectory) {
    char buffer[1024];
    ASSERT_TRUE(Platform::getTemporaryDirectory(buffer, sizeof buffer));
    const std::string name = buffer;
    EXPECT_TRUE(fs::is_directory(name));
    EXPECT_TRUE(name.back() == '/' || name.back() == '\\');
    EXPECT_FALSE(Platform::getTemporaryDirectory(buffer, name.size()));
    EXPECT_EQ(Platform::openFileToRead(name.c_str()), Platform::kNoHandle); // and no file
    Platform::lastErrorText(buffer, 8);
    EXPECT_GT(std::strlen(buffer), 0u);
    EXPECT_LT(std::strlen(buffer), 8u);
}

} // namespace
