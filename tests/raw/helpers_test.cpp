#include "support/loaded_file.h"
#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

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
    EXPECT_TRUE(recorder.empty());
    EXPECT_EQ(loadWithResult(&image, &vxf, "x.tga", &configuration, 0), kErrorTgaColorMapType);
    EXPECT_EQ(load(&image, &vxf, "x.tga", &configuration), 0); // silent about the reader's result
    EXPECT_EQ(recorder.warnings().size(), 2u);
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
    EXPECT_TRUE(recorder.empty());
    const Bytes before = bytesOf(vxf);
    EXPECT_EQ(convert(bad.region(), "a.tga", &vxf, "a.vxf", &configuration), 0);
    EXPECT_EQ(convertWithResult(bad.region(), "a.tga", &vxf, "a.vxf", &configuration), kErrorTgaImageType);
    EXPECT_EQ(bytesOf(vxf), before);
    // A file that ends early is converted as far as it goes.
    EXPECT_EQ(convertWithResult(cut.region(), "a.tga", &back, "a.vxf", &configuration), kErrorFailed);
    EXPECT_EQ(vxfGetNumberOfTextures(&back, &configuration), 1);
    EXPECT_EQ(recorder.warnings().back().m_text, "The TGA file ends early: 2 of its 2 pixels are missing.");
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
    EXPECT_EQ(loadWithResult(&image, vxf.c_str(), &configuration, 0), kErrorNone);
    EXPECT_EQ(saveWithResult(&image, &fresh, ".vxf", &configuration), kErrorNone);
    EXPECT_EQ(folder.read("a.vxf"), bytesOf(fresh)); // whatever the file held before
    EXPECT_EQ(saveWithResult(&image, tga.c_str(), &configuration), kErrorNone);
    EXPECT_EQ(folder.read("a.tga"), makeTga());
    EXPECT_TRUE(recorder.empty()) << recorder.texts();

    const std::string missing = folder.name("missing.tga");
    EXPECT_EQ(loadWithResult(&image, missing.c_str(), &configuration, 0), kErrorFailed);
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

// In one pass from file to file, and through an image between them: the same bytes.
TEST(Helpers, OnePassGivesWhatAnImageBetweenGives) {
    const ReportRecorder recorder;
    Configuration configuration;
    for (const char* format : {"R8G8B8A8Unorm", "B8G8R8A8Unorm", "R16G16B16A16Float", "Bc1Unorm"}) {
        for (const bool isModified : {false, true}) {
            TestImage image(makeFlat(format, 37, 21, 3), 5);
            Modifiers modifiers;
            modifiers.m_decode.m_add[1] = isModified ? 0.25f : 0.0f;
            image.setModifiers(modifiers);
            AllocatedMemory vxf, direct, saved;
            ASSERT_EQ(save(&image, &vxf, ".vxf", &configuration), 0) << format;
            MemoryMappedImage between;
            ASSERT_EQ(convertWithResult(&vxf, ".vxf", &direct, ".tga", &configuration), kErrorNone);
            ASSERT_EQ(loadWithResult(&between, &vxf, ".vxf", &configuration, 0), kErrorNone);
            ASSERT_EQ(save(&between, &saved, ".tga", &configuration), 0);
            EXPECT_EQ(bytesOf(direct), bytesOf(saved)) << format;
        }
    }
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
}

TEST(Helpers, ATgaInAnyOrderIsConvertedAsThroughAnImage) {
    const ReportRecorder recorder;
    Configuration configuration;
    constexpr std::pair<unsigned, unsigned> kSizes[] = {{1, 1}, {13, 531}, {1031, 9}};
    const auto check = [&](Bytes file, int surplus) {
        file.resize(file.size() + static_cast<std::size_t>(surplus));
        HeapFile tga(file);
        const Error result = surplus < 0 ? kErrorFailed : kErrorNone;
        AllocatedMemory direct, saved;
        MemoryMappedImage between;
        EXPECT_EQ(convertWithResult(tga.region(), ".tga", &direct, ".vxf", &configuration), result);
        EXPECT_EQ(loadWithResult(&between, tga.region(), ".tga", &configuration, 0), result);
        EXPECT_EQ(save(&between, &saved, ".vxf", &configuration), 0);
        EXPECT_TRUE(bytesOf(direct) == bytesOf(saved)) << surplus;
    };
    for (const TgaKind& kind : kTgaKinds) {
        for (const unsigned descriptor : {0x00u, 0x10u, 0x28u}) {
            for (const auto& [width, height] : kSizes) {
                SCOPED_TRACE(testing::PrintToString(std::tuple(kind.m_format, descriptor, width)));
                const Bytes file = TgaPicture(kind, false, descriptor, width, height).m_writer.file();
                check(file, -1);
                check(file, 0);
                check(file, 26); // the length of a footer
            }
        }
    }
    EXPECT_TRUE(recorder.assertions().empty()) << recorder.texts();
}

// What lacks texels takes the way through an image, and comes out as far as it goes.
TEST(Helpers, AFileThatIsCutIsConvertedAsFarAsItGoes) {
    const ReportRecorder recorder;
    Configuration configuration;
    TestImage image(makeFlat("R8G8B8A8Unorm", 37, 21), 5);
    AllocatedMemory whole, direct, saved;
    ASSERT_EQ(save(&image, &whole, ".vxf", &configuration), 0);
    HeapFile cut(bytesOf(whole), whole.length() - 300);
    MemoryMappedImage loaded;
    EXPECT_EQ(convertWithResult(cut.region(), ".vxf", &direct, ".tga", &configuration), kErrorFailed);
    EXPECT_EQ(loadWithResult(&loaded, cut.region(), ".vxf", &configuration, 0), kErrorFailed);
    ASSERT_EQ(save(&loaded, &saved, ".tga", &configuration), 0);
    EXPECT_EQ(bytesOf(direct), bytesOf(saved));
    EXPECT_EQ(recorder.warnings().size(), 2u);
}

// Types with a codec differ from build to build, so that the library is asked for them.
TEST(Helpers, TypesWithoutACodecAreNamed) {
    const ReportRecorder recorder;
    Configuration configuration;
    HeapFile file(Bytes(100));
    TestImage image(makeFlat("R8G8B8A8Unorm", 4, 4), 5);
    MemoryMappedImage loaded;
    AllocatedMemory saved;
    std::size_t refusals = 0;
    for (int i = 0; i < getFileTypeSupportCount(); ++i) {
        const FileTypeSupport support = getFileTypeSupport(i);
        const std::string type = support.m_extension;
        const bool isOwn = std::string(".DDS.VXF.TGA.BMP.HDR.PFM.TSH").find(type) != std::string::npos;
        EXPECT_TRUE(isOwn ? support.m_isWritten && support.m_library == nullptr
                          : support.m_isRead == (support.m_library != nullptr))
            << type;
        const std::string name = type == ".JXR" ? ".WDP" : type; // one codec for both
        if (!support.m_isRead) {
            EXPECT_EQ(loadWithResult(&loaded, file.region(), type.c_str(), &configuration, 1),
                      kErrorWicFactory);
            EXPECT_EQ(recorder.warnings().at(refusals++).m_text,
                      "There is no codec for files of type '" + name + "' here.");
        }
        if (!support.m_isWritten) {
            EXPECT_EQ(saveWithResult(&image, &saved, type.c_str(), &configuration), kErrorWicFactory);
            EXPECT_NE(recorder.warnings().at(refusals++).m_text.find('\'' + name + '\''), std::string::npos);
        }
    }
    EXPECT_EQ(recorder.warnings().size(), refusals);
    EXPECT_EQ(getFileTypeSupport(-1).m_extension[0], '\0');
    EXPECT_TRUE(recorder.assertions().empty());
}

TEST(Helpers, FilesAreComparedAsStoredOrAsPictures) {
    const ReportRecorder recorder;
    Configuration configuration;
    TestImage image(makeFlat("R8G8B8A8Unorm", 11, 6), 3);
    const auto saved = [&](const char* extension) {
        AllocatedMemory file;
        EXPECT_EQ(save(&image, &file, extension, &configuration), 0);
        return bytesOf(file);
    };
    const char* const kTypes[] = {".vxf", ".dds", ".tga"};
    Bytes before[3];
    std::transform(kTypes, kTypes + 3, before, saved);
    std::uint8_t& red = image.bytes()[4 * 11 * 2];
    red = static_cast<std::uint8_t>(red ^ 0x10);
    const StandardSquaredErrorCalculator calculator;
    for (int i = 0; i < 9; ++i) {
        const char *const a = kTypes[i / 3], *const b = kTypes[i % 3];
        HeapFile fileA(before[i / 3]), same(before[i % 3]), other(saved(b));
        const bool isStored = (i / 3 == 2) == (i % 3 == 2); // a TGA file has the channels in another order
        if (isStored) {
            EXPECT_EQ(areBitwiseEqual(fileA.region(), a, same.region(), b, &configuration), 0) << a << b;
            EXPECT_EQ(areBitwiseEqual(fileA.region(), a, other.region(), b, &configuration), kFailed)
                << a << b;
        }
        VectorFloat mse;
        EXPECT_EQ(compare(&mse, fileA.region(), a, same.region(), b, &configuration, &calculator), 0);
        EXPECT_EQ(mse.m_lanes[0], 0.0f);
        EXPECT_EQ(compare(&mse, fileA.region(), a, other.region(), b, &configuration, &calculator), 0);
        EXPECT_GT(mse.m_lanes[0], 0.0f) << a << b;
        EXPECT_EQ(mse.m_lanes[1], 0.0f);
    }
    EXPECT_TRUE(recorder.empty()) << recorder.texts();
    HeapFile whole(before[0]), cut(before[0], before[0].size() - 8), bad(makeBadTga());
    EXPECT_EQ(areBitwiseEqual(whole.region(), ".vxf", cut.region(), ".vxf", &configuration), kFailed);
    EXPECT_EQ(areBitwiseEqual(whole.region(), ".vxf", bad.region(), ".tga", &configuration),
              static_cast<int>(kErrorTgaImageType));
    VectorFloat mse = {{1, 1, 1, 1}};
    EXPECT_EQ(compare(&mse, bad.region(), ".tga", bad.region(), ".tga", &configuration, &calculator), 0);
    EXPECT_EQ(mse.m_lanes[3], 0.0f); // one region, unread
    EXPECT_EQ(compare(&mse, bad.region(), ".tga", whole.region(), ".vxf", &configuration, &calculator),
              static_cast<int>(kErrorTgaImageType));
}

TEST(Helpers, FilesAreComparedByName) {
    Configuration configuration;
    const StandardSquaredErrorCalculator calculator;
    const Folder folder;
    Bytes changed = makeTga();
    changed.back() = static_cast<std::uint8_t>(changed.back() ^ 1);
    const std::string a = folder.write("a.tga", makeTga()), b = folder.write("b.tga", makeTga()),
                      c = folder.write("c.tga", changed);
    VectorFloat mse = {{1, 1, 1, 1}};
    EXPECT_EQ(areBitwiseEqual("no such file.tga", "No Such File.TGA", &configuration), 0);
    EXPECT_EQ(compare(&mse, "no such file.tga", "No Such File.TGA", &configuration, &calculator), 0);
    EXPECT_EQ(mse.m_lanes[0], 0.0f);
    EXPECT_EQ(areBitwiseEqual(a.c_str(), b.c_str(), &configuration), 0);
    EXPECT_EQ(areBitwiseEqual(a.c_str(), c.c_str(), &configuration), kFailed);
    EXPECT_EQ(compare(&mse, a.c_str(), c.c_str(), &configuration, &calculator), 0);
    EXPECT_TRUE(mse.m_lanes[3] > 0.0f && mse.m_lanes[0] == 0.0f);
    const ReportRecorder recorder;
    EXPECT_EQ(areBitwiseEqual(a.c_str(), folder.name("none.tga").c_str(), &configuration), kFailed);
    EXPECT_FALSE(recorder.assertions().empty());
}

} // namespace
