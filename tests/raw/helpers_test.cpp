#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

using namespace qor::Texsmith::Raw;
using namespace TestSupport;

constexpr int kFailed = static_cast<int>(kErrorFailed);

Bytes makeTga() {
    TgaWriter writer;
    writer.m_width = 2;
    writer.add({1, 2, 3, 4, 5, 6, 7, 8});
    return writer.file();
}

Bytes makeBadTga() {
    Bytes file = makeTga();
    file[2] = 7;
    return file;
}

FileType toType(const std::string& text) {
    return text.size() < 4 ? 0 : makeFileType({text[0], text[1], text[2], text[3], 0});
}

// A directory for the life of the object. Its name, and with it every name in it, is not plain ASCII.
class Folder {
public:
    Folder() { std::filesystem::create_directory(m_path); }
    ~Folder() { std::filesystem::remove_all(m_path); }
    std::string name(const std::string& file) const {
        const std::u8string name = (m_path / file).u8string();
        return std::string(name.begin(), name.end());
    }
    std::string write(const std::string& file, const Bytes& bytes) const {
        std::ofstream(m_path / file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return name(file);
    }
    std::string link(const std::string& file, const std::string& other) const {
        std::filesystem::create_hard_link(m_path / file, m_path / other);
        return name(other);
    }
    Bytes read(const std::string& file) const {
        std::ifstream stream(m_path / file, std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(stream), {});
    }

private:
    std::filesystem::path m_path = std::filesystem::temp_directory_path() / u8"texsmith h\u00E4\u6F22 files";
};

TEST(FileType, ComesFromTheExtensionOrTheFirstBytes) {
    // Behind a type, the extensions that stand for it.
    std::istringstream extensions("- tg tgaa vx tga/b .BMP bmp .GIF gif .ICO ico .JPG jpg JpEg .PNG png "
                                  ".TIF tif tiff .JXR jxr .WDP wdp .TGA TGA .DDS dds .VXF vxf Vxf17 .PFM pfm "
                                  ".HDR hdr rgbe pic .PSD psd .EXR exr .TSH tsh tsharp");
    for (std::string type, word; extensions >> word;) {
        const bool isType = word[0] == '.' || word[0] == '-';
        type = isType ? word : type;
        EXPECT_TRUE(isType || getFileTypeFromExtension(("a.b." + word).c_str()) == toType(type)) << word;
    }
    const std::string kContents[] = {
        "VXF ", ".VXF",  "DDS |",   ".DDS", ".PNG",         ".PNG", "GIF89",
        ".GIF", "#?RAD", ".HDR",    "8BPS", ".PSD",         "MMxx", ".TIF",
        "II*",  ".TIF",  "v/1\x01", ".EXR", "\xFF\xD8\xFF", ".JPG", "\xEF\xBB\xBF{",
        ".BOM", "BM",    ".BMP",    "Pf\n", ".PFM",         "PF",   ".PFM",
        "",     "",      "V",       "",     "VXF",          "",     "\x89PNG",
        "",     "v/1",   ""};
    for (std::size_t i = 0; i < std::size(kContents); i += 2) {
        HeapFile file(Bytes(kContents[i].begin(), kContents[i].end()));
        EXPECT_EQ(getFileTypeFromContents(file.region()), toType(kContents[i + 1])) << kContents[i];
    }
}

TEST(Helpers, TheExtensionWinsOverTheContents) {
    const ReportRecorder recorder;
    Configuration configuration;
    MemoryMappedImage image;
    HeapFile tga(makeTga());
    AllocatedMemory vxf;
    EXPECT_EQ(loadWithResult(&image, tga.region(), "x.tga", &configuration, 0), kErrorNone);
    EXPECT_EQ(save(&image, &vxf, ".vxf", &configuration), 0);
    EXPECT_EQ(load(&image, &vxf, "no extension", &configuration), 0); // by its first bytes
    EXPECT_EQ(loadWithResult(&image, &vxf, "x.tga", &configuration, 0), kErrorTgaColorMapType);
    EXPECT_EQ(load(&image, &vxf, "x.tga", &configuration), 0); // silent about the reader's result
    EXPECT_TRUE(recorder.empty());
    EXPECT_EQ(load(&image, &vxf, "x.psd", &configuration), kFailed);
    EXPECT_EQ(load(&image, tga.region(), "tga", &configuration, 3), kFailed);
    EXPECT_EQ(save(&image, &vxf, "x.psd", &configuration), kFailed);
    EXPECT_EQ(recorder.texts(), "can't determine image format from extension: 'x.psd'\n"
                                "can't determine image format from extension: 'tga'\n"
                                "can't figure out what format to write extension 'x.psd' as\n");
}

TEST(Helpers, RegionsAreConvertedAndEqualTypesCopied) {
    const ReportRecorder recorder;
    Configuration configuration;
    HeapFile tga(makeTga()), bad(makeBadTga()), cut(makeTga(), makeTga().size() - 5);
    AllocatedMemory vxf, back;
    EXPECT_EQ(convert(tga.region(), "a.tga", &vxf, "a.vxf", &configuration), 0);
    EXPECT_EQ(convertWithResult(&vxf, "a.vxf", &back, "a.tga", &configuration), kErrorNone);
    EXPECT_EQ(bytesOf(back), makeTga());
    EXPECT_EQ(convert(bad.region(), "a", &back, "a.unknown", &configuration), 0);
    EXPECT_EQ(bytesOf(back), makeBadTga());
    const Bytes before = bytesOf(vxf);
    EXPECT_EQ(convert(bad.region(), "a.tga", &vxf, "a.vxf", &configuration), 0);
    EXPECT_EQ(convertWithResult(bad.region(), "a.tga", &vxf, "a.vxf", &configuration), kErrorTgaImageType);
    EXPECT_EQ(bytesOf(vxf), before);
    EXPECT_TRUE(recorder.empty());
    // A file that ends early is converted as far as it goes.
    EXPECT_EQ(convertWithResult(cut.region(), "a.tga", &back, "a.vxf", &configuration), kErrorFailed);
    EXPECT_EQ(vxfGetNumberOfTextures(&back, &configuration), 1);
    EXPECT_EQ(recorder.warnings().at(0).m_text, "The TGA file ends early: 2 of its 2 pixels are missing.");
    EXPECT_EQ(convert(tga.region(), "a.tga", &back, "a.psd", &configuration), 0);
    EXPECT_EQ(convertWithResult(tga.region(), "a.tga", &back, "a.psd", &configuration), kErrorFailed);
}

TEST(Helpers, FilesAreConvertedByNamesInAnyScript) {
    const ReportRecorder recorder;
    Configuration configuration;
    const Folder folder;
    const std::string tga = folder.write("a.tga", makeTga()), vxf = folder.write("a.vxf", Bytes(9999, 'Q'));
    EXPECT_EQ(convert(tga.c_str(), ".vxf", &configuration), 0);
    EXPECT_EQ(convertWithResult(vxf.c_str(), folder.name("b.tga").c_str(), &configuration), kErrorNone);
    EXPECT_EQ(folder.read("b.tga"), makeTga());
    const std::string copy = folder.write("bad.TGA", makeBadTga()); // is copied as it is
    EXPECT_EQ(convert(copy.c_str(), tga.c_str(), &configuration), 0);
    EXPECT_EQ(folder.read("a.tga"), makeBadTga());
    EXPECT_EQ(convert(copy.c_str(), ".TGA", &configuration), 0); // onto itself
    EXPECT_EQ(folder.read("bad.TGA"), makeBadTga());
    EXPECT_EQ(convert(copy.c_str(), folder.link("bad.TGA", "link.vxf").c_str(), &configuration), 0);
    EXPECT_EQ(folder.read("bad.TGA"), makeBadTga());

    MemoryMappedImage image;
    AllocatedMemory fresh;
    EXPECT_EQ(load(&image, vxf.c_str(), &configuration), 0);
    EXPECT_EQ(save(&image, &fresh, ".vxf", &configuration), 0);
    EXPECT_EQ(folder.read("a.vxf"), bytesOf(fresh)); // whatever the file held before
    EXPECT_EQ(save(&image, tga.c_str(), &configuration), 0);
    EXPECT_EQ(folder.read("a.tga"), makeTga());
    EXPECT_TRUE(recorder.empty()) << recorder.texts();

    const std::string missing = folder.name("missing.tga");
    EXPECT_EQ(convertWithResult(missing.c_str(), vxf.c_str(), &configuration), kErrorFailed);
    EXPECT_EQ(convertWithResult(missing.c_str(), tga.c_str(), &configuration), kErrorFailed);
    EXPECT_EQ(folder.read("a.vxf"), bytesOf(fresh));
    EXPECT_EQ(folder.read("a.tga"), makeTga());
    EXPECT_FALSE(recorder.assertions().empty());
    // Cut to the room that there is for it, the derived name would be "dir.vxf".
    const std::string deep = folder.name("dir.d/" + std::string(1100, 'x') + ".tga");
    EXPECT_EQ(convertWithResult(deep.c_str(), ".vxf", &configuration), kErrorFailed);
    EXPECT_EQ(recorder.assertions().back().m_text, "Assertion 'names.isWhole()' failed.");
}

TEST(Helpers, NullArgumentsAreReportedInOrder) {
    const ReportRecorder recorder;
    EXPECT_EQ(load(nullptr, nullptr, nullptr, nullptr, 0), kFailed);
    EXPECT_EQ(load(nullptr, nullptr, nullptr), kFailed);
    EXPECT_EQ(save(nullptr, nullptr, nullptr, nullptr), kFailed);
    EXPECT_EQ(save(nullptr, nullptr, nullptr), kFailed);
    EXPECT_EQ(convert(nullptr, nullptr, nullptr, nullptr, nullptr), kFailed);
    EXPECT_EQ(convert(nullptr, nullptr, nullptr), kFailed);
    std::istringstream names(
        "destination source extension configuration destination filenameOrUrl configuration "
        "source destination extension configuration source filename configuration "
        "source sourceExtension destination destinationExtension configuration "
        "sourceFilenameOrUrl destinationFilenameOrExtension configuration");
    std::string expected;
    for (std::string name; names >> name;) {
        expected += name + " must not be NULL.\n";
    }
    EXPECT_EQ(recorder.texts(), expected);
}

} // namespace
