#include "platform/platform.h"
#include "qor/texsmith/texsmith.h"
#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

Bytes makeTga() {
    TgaWriter writer;
    writer.m_width = 3;
    writer.m_height = 2;
    for (std::uint8_t i = 0; i < 6; ++i) {
        writer.addPixel({i, 100, 200, static_cast<std::uint8_t>(250 + i)});
    }
    return writer.file();
}

Bytes makeBadTga() {
    Bytes file = makeTga();
    file[2] = 7;
    return file;
}

// A file of the temporary directory, for the life of the object.
class NamedFile {
public:
    explicit NamedFile(const std::string& name) {
        char directory[1000] = {};
        Platform::getTemporaryDirectory(directory, sizeof directory);
        m_name = directory + ("texsmith-" + std::to_string(Platform::getProcessId()) + "-" + name);
        Platform::deleteFile(m_name.c_str());
    }
    NamedFile(const std::string& name, const Bytes& bytes) : NamedFile(name) {
        MemoryMappedFile file(m_name.c_str(), kPermissionsReadWrite, g_mallocAllocator);
        file.resize(bytes.size());
        std::memcpy(file.begin, bytes.data(), bytes.size());
    }
    ~NamedFile() { Platform::deleteFile(m_name.c_str()); }

    const char* name() const { return m_name.c_str(); }
    bool exists() const { return Platform::fileExists(name()); }
    Bytes bytes() const {
        const MemoryMappedFile file(name(), kPermissionsReadOnly, g_mallocAllocator);
        return bytesOf(file);
    }

private:
    std::string m_name;
};

TEST(FileType, ComesFromWhatStandsBehindTheLastDot) {
    const std::pair<const char*, const char*> kNames[] = {
        {"a.bmp", ".BMP"},  {"a.GIF", ".GIF"},        {".ico", ".ICO"},    {"a.jpg", ".JPG"},
        {"a.JpEg", ".JPG"}, {"a.png", ".PNG"},        {"a.tif", ".TIF"},   {"a.tiff", ".TIF"},
        {"a.jxr", ".JXR"},  {"a.wdp", ".WDP"},        {"a.b.tga", ".TGA"}, {"a.dds", ".DDS"},
        {"a.vxf", ".VXF"},  {"a.Vxf17", ".VXF"},      {"a.pfm", ".PFM"},   {"a.hdr", ".HDR"},
        {"a.rgbe", ".HDR"}, {"a.pic", ".HDR"},        {"a.psd", ".PSD"},   {"a.exr", ".EXR"},
        {"a.tsh", ".TSH"},  {"a.dds.tsharp", ".TSH"},
    };
    for (const auto& [name, type] : kNames) {
        std::uint32_t tag = 0;
        std::memcpy(&tag, type, sizeof tag);
        EXPECT_EQ(getFileTypeFromExtension(name), tag) << name;
    }
    const ReportRecorder recorder;
    for (const char* name : {"", "tga", "a.", "a.tg", "a.tgaa", "a.vx", "a.tga/b"}) {
        EXPECT_EQ(getFileTypeFromExtension(name), 0u) << name;
    }
    EXPECT_TRUE(recorder.empty());
    EXPECT_EQ(getFileTypeFromExtension(nullptr), 0u);
    EXPECT_EQ(recorder.texts(), "filename must not be NULL.\n");
    EXPECT_EQ(recorder.assertions()[0].m_file, "raw\\filetype");
}

TEST(FileType, ComesFromTheFirstBytesThatAreThere) {
    const std::pair<const char*, const char*> kContents[] = {
        {"VXF ", ".VXF"},
        {"DDS |", ".DDS"},
        {".PNG", ".PNG"},
        {"GIF89a", ".GIF"},
        {"#?RADIANCE", ".HDR"},
        {"8BPS", ".PSD"},
        {"MMxx", ".TIF"},
        {"II*", ".TIF"},
        {"v/1\x01", ".EXR"},
        {"\xFF\xD8\xFF\xE0", ".JPG"},
        {"BM", ".BMP"},
        {"Pf\n", ".PFM"},
        {"\xEF\xBB\xBF{", ".BOM"},
        {"PF", ".PFM"},
    };
    for (const auto& [text, type] : kContents) {
        std::uint32_t tag = 0;
        std::memcpy(&tag, type, sizeof tag);
        HeapFile file(Bytes(text, text + std::strlen(text)));
        EXPECT_EQ(getFileTypeFromContents(file.region()), tag) << text;
    }
    for (const std::string text : {"", "V", "VXF", "\x89PNG", "I", "v/1"}) {
        HeapFile file(Bytes(text.begin(), text.end()));
        EXPECT_EQ(getFileTypeFromContents(file.region()), 0u) << text;
    }
}

TEST(Helpers, TheExtensionWinsOverTheContents) {
    const ReportRecorder recorder;
    Configuration configuration;
    MemoryMappedImage image;
    HeapFile tga(makeTga());
    EXPECT_EQ(loadWithResult(&image, tga.region(), "x.tga", &configuration, 0), kErrorNone);
    AllocatedMemory vxf;
    EXPECT_EQ(save(&image, &vxf, ".vxf", &configuration), 0);
    EXPECT_EQ(load(&image, &vxf, "no extension", &configuration), 0); // by its first bytes
    EXPECT_TRUE(recorder.empty());
    EXPECT_EQ(loadWithResult(&image, &vxf, "x.tga", &configuration, 0), kErrorTgaColorMapType);
    EXPECT_EQ(load(&image, &vxf, "x.tga", &configuration), 0); // silent about the reader's result

    const int failed = static_cast<int>(kErrorFailed);
    EXPECT_EQ(load(&image, &vxf, "x.psd", &configuration), failed);
    EXPECT_EQ(load(&image, tga.region(), "tga", &configuration, 3), failed);
    EXPECT_EQ(save(&image, &vxf, "x.psd", &configuration), failed);
    EXPECT_EQ(recorder.texts(), "can't determine image format from extension: 'x.psd'\n"
                                "can't determine image format from extension: 'tga'\n"
                                "can't figure out what format to write extension 'x.psd' as\n");
}

TEST(Helpers, RegionsAreConvertedAndEqualTypesCopied) {
    const ReportRecorder recorder;
    Configuration configuration;
    HeapFile tga(makeTga());
    AllocatedMemory vxf;
    AllocatedMemory back;
    EXPECT_EQ(convert(tga.region(), "a.tga", &vxf, "a.vxf", &configuration), 0);
    EXPECT_EQ(convertWithResult(&vxf, "a.vxf", &back, "a.tga", &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(back), makeTga());

    HeapFile bad(makeBadTga());
    EXPECT_EQ(convert(bad.region(), "a.tga", &back, "b.TGA", &configuration), 0);
    EXPECT_EQ(bytesOf(back), makeBadTga());
    EXPECT_EQ(convert(bad.region(), "a", &back, "a.unknown", &configuration), 0);
    EXPECT_EQ(convert(bad.region(), "a.tga", &back, "a.vxf", &configuration), 0);
    EXPECT_EQ(convertWithResult(bad.region(), "a.tga", &back, "a.vxf", &configuration), kErrorTgaImageType);
    EXPECT_EQ(bytesOf(back), makeBadTga());
    EXPECT_TRUE(recorder.empty());

    // A file that ends early is converted as far as it goes.
    HeapFile cut(makeTga(), makeTga().size() - 5);
    EXPECT_EQ(convertWithResult(cut.region(), "a.tga", &back, "a.vxf", &configuration), kErrorFailed);
    EXPECT_EQ(vxfGetNumberOfTextures(&back, &configuration), 1);
    EXPECT_EQ(recorder.warnings().size(), 1u);
    EXPECT_EQ(recorder.warnings()[0].m_text, "The TGA file ends early: 2 of its 6 pixels are missing.");
    EXPECT_EQ(convert(tga.region(), "a.tga", &back, "a.psd", &configuration), 0);
    EXPECT_EQ(convertWithResult(tga.region(), "a.tga", &back, "a.psd", &configuration), kErrorFailed);
}

TEST(Helpers, FilesAreConvertedByNamesInAnyScript) {
    const ReportRecorder recorder;
    Configuration configuration;
    const NamedFile tga("\xC3\xA4\xE6\xBC\xA2.tga", makeTga());
    const NamedFile vxf("\xC3\xA4\xE6\xBC\xA2.vxf", Bytes(9999, 'Q')); // made from the name of the first
    const NamedFile back("back.tga");
    const NamedFile copied("copy.TGA", Bytes(500, 1));
    EXPECT_EQ(convert(tga.name(), ".vxf", &configuration), 0);
    EXPECT_EQ(convertWithResult(vxf.name(), back.name(), &configuration), kErrorNone);
    EXPECT_EQ(back.bytes(), makeTga());
    EXPECT_EQ(convert(tga.name(), copied.name(), &configuration), 0);
    EXPECT_EQ(copied.bytes(), makeTga());
    EXPECT_EQ(convert(tga.name(), ".tga", &configuration), 0); // onto itself
    EXPECT_EQ(tga.bytes(), makeTga());

    MemoryMappedImage image;
    EXPECT_EQ(load(&image, vxf.name(), &configuration), 0);
    AllocatedMemory fresh;
    EXPECT_EQ(save(&image, &fresh, ".vxf", &configuration), 0);
    EXPECT_EQ(vxf.bytes(), bytesOf(fresh)); // whatever the file held before
    EXPECT_EQ(save(&image, back.name(), &configuration), 0);
    EXPECT_EQ(back.bytes(), makeTga());
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

TEST(Helpers, AMissingSourceLeavesTheDestinationAlone) {
    const ReportRecorder recorder;
    Configuration configuration;
    const NamedFile missing("missing.tga");
    const NamedFile vxf("kept.vxf", {1, 2, 3});
    const NamedFile unmade("unmade.tga");
    EXPECT_EQ(convertWithResult(missing.name(), vxf.name(), &configuration), kErrorFailed);
    EXPECT_EQ(vxf.bytes(), (Bytes{1, 2, 3}));
    EXPECT_EQ(convertWithResult(missing.name(), unmade.name(), &configuration), kErrorFailed);
    EXPECT_FALSE(unmade.exists());
    EXPECT_FALSE(recorder.assertions().empty());
}

TEST(Helpers, NullArgumentsAreReportedInOrder) {
    const ReportRecorder recorder;
    const int failed = static_cast<int>(kErrorFailed);
    EXPECT_EQ(load(nullptr, nullptr, nullptr, nullptr, 0), failed);
    EXPECT_EQ(load(nullptr, nullptr, nullptr), failed);
    EXPECT_EQ(save(nullptr, nullptr, nullptr, nullptr), failed);
    EXPECT_EQ(save(nullptr, nullptr, nullptr), failed);
    EXPECT_EQ(convert(nullptr, nullptr, nullptr, nullptr, nullptr), failed);
    EXPECT_EQ(convert(nullptr, nullptr, nullptr), failed);
    const char* kNames[] = {
        "destination",
        "source",
        "extension",
        "configuration", // load a region
        "destination",
        "filenameOrUrl",
        "configuration", // load a file
        "source",
        "destination",
        "extension",
        "configuration", // save to a region
        "source",
        "filename",
        "configuration", // save to a file
        "source",
        "sourceExtension",
        "destination",
        "destinationExtension",
        "configuration",
        "sourceFilenameOrUrl",
        "destinationFilenameOrExtension",
        "configuration",
    };
    std::string expected;
    for (const std::string name : kNames) {
        expected += name + " must not be NULL.\n";
    }
    EXPECT_EQ(recorder.texts(), expected);
    EXPECT_EQ(recorder.assertions()[0].m_file, "raw\\helpers");
}

} // namespace
