// One source gives one .vxf, whichever codec reads it: golden/interchange.txt lists what the PNG and BMP
// files of the corpus become, by SHA-1. EXR files, which one system reads, have no place here. A change that
// is meant: run with TEXSMITH_WRITE_DIGESTS=1 on Linux, which writes the list anew.
#include "qor/texsmith/texsmith.h"
#include "support/corpus.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>

namespace {

using namespace qor::Texsmith::Raw;

constexpr char kList[] = TEXSMITH_SOURCE_DIR "/tests/golden/interchange.txt";
using Digests = std::map<std::string, std::string>; // by name

// "refused" for a file that is none.
std::string digestOf(const std::string& name) {
    const TestSupport::ReportRecorder recorder;
    qor::Texsmith::Configuration configuration;
    MemoryMappedFile file(name.c_str(), kPermissionsReadOnly, g_mallocAllocator);
    AllocatedMemory container;
    if (convertWithResult(&file, name.c_str(), &container, ".vxf", &configuration) != kErrorNone) {
        return "refused";
    }
    std::uint8_t digest[Sha1Hasher::kDigestBytes] = {};
    EXPECT_EQ(
        Sha1Hasher::instance().hash(container.begin, static_cast<std::size_t>(container.length()), digest),
        kErrorNone);
    std::string text;
    for (const std::uint8_t byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", unsigned{byte});
        text += digits;
    }
    return text;
}

TEST(Interchange, SourcesGiveTheSameContainersOnEverySystem) {
    const std::filesystem::path root = TestSupport::corpus();
    if (!std::filesystem::exists(root)) {
        GTEST_SKIP() << "no corpus at " << root;
    }
    for (int i = 0; i < getFileTypeSupportCount(); ++i) {
        const FileTypeSupport support = getFileTypeSupport(i);
        if (std::string(support.m_extension) == ".PNG" && !support.m_isRead) {
            GTEST_SKIP() << "this build reads no PNG";
        }
    }
    Digests made, listed;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const FileType type = getFileTypeFromExtension(entry.path().string().c_str());
        if (type == makeFileType(".PNG") || type == makeFileType(".BMP")) {
            made[std::filesystem::relative(entry.path(), root).generic_string()] =
                digestOf(entry.path().string());
        }
    }
    if (std::getenv("TEXSMITH_WRITE_DIGESTS") != nullptr) {
        std::ofstream list(kList, std::ios::binary);
        for (const auto& [name, digest] : made) {
            list << digest << ' ' << name << '\n';
        }
    }
    std::ifstream list(kList);
    for (std::string digest, name; list >> digest >> name;) {
        listed[name] = digest;
    }
    EXPECT_GT(listed.size(), 100u);
    EXPECT_EQ(made, listed);
}

} // namespace
