// Runs the tool as a user would, and looks at its exit status, its two streams and the files it leaves.
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

namespace {

namespace fs = std::filesystem;
using namespace qor::Texsmith;

std::string readFile(const fs::path& path, std::ios::openmode mode = std::ios::binary) {
    std::ifstream stream(path, mode);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

struct Outcome {
    bool m_succeeded;
    int m_status;
    std::string m_output;
    std::string m_errors;
};

class ToolTest : public testing::Test {
protected:
    void SetUp() override {
        m_directory =
            fs::temp_directory_path() / ("texsmith-tool-test-" + std::to_string(Platform::getProcessId()));
        fs::create_directory(m_directory);
        fs::current_path(m_directory);
    }
    void TearDown() override {
        fs::current_path(fs::temp_directory_path());
        fs::remove_all(m_directory);
    }

    static fs::path sample(const char* name) { return fs::path(TEXSMITH_SOURCE_DIR) / "samples" / name; }
    fs::path file(const char* name) const { return m_directory / name; }
    static std::string quoted(const fs::path& path) { return '"' + path.string() + '"'; }

    Outcome run(const std::string& arguments) const {
        const fs::path output = file("stdout.txt"), errors = file("stderr.txt");
        const std::string command = quoted(fs::path(TEXSMITH_TOOL_PATH).make_preferred()) + " >" +
                                    quoted(output) + " 2>" + quoted(errors) + " " + arguments;
        // The command interpreter of Windows takes off the first and the last quote of such a line.
        const bool onWindows = fs::path::preferred_separator == '\\';
        const int status = std::system((onWindows ? '"' + command + '"' : command).c_str());
        Outcome outcome{status == 0, onWindows ? status : status >> 8, readFile(output, {}),
                        readFile(errors, {})}; // as text
        fs::remove(output);
        fs::remove(errors);
        return outcome;
    }
    Outcome convert(const fs::path& from, const fs::path& to) const {
        return run("convert " + quoted(from) + " " + quoted(to));
    }
    std::size_t filesInDirectory() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(m_directory), {}));
    }
    // One line that names the reason, nothing on the other stream.
    static void expectFailure(const Outcome& outcome, const std::string& reason, int status = 0) {
        EXPECT_FALSE(outcome.m_succeeded);
        EXPECT_TRUE(status == 0 || outcome.m_status == status) << outcome.m_status << outcome.m_errors;
        EXPECT_EQ("", outcome.m_output);
        EXPECT_EQ(1, std::count(outcome.m_errors.begin(), outcome.m_errors.end(), '\n')) << outcome.m_errors;
        EXPECT_NE(std::string::npos, outcome.m_errors.find(reason)) << outcome.m_errors;
    }

    fs::path m_directory;
};

TEST_F(ToolTest, SamplesComeBackWithTheSamePixels) {
    for (const char* name : {"dusk.tga", "marbles.tga", "moon.tga"}) {
        const Outcome there = convert(sample(name), file("out.vxf"));
        const Outcome back = convert(file("out.vxf"), file("back.tga"));
        ASSERT_TRUE(there.m_succeeded && back.m_succeeded) << name << there.m_errors << back.m_errors;
        const std::string source = readFile(sample(name)), result = readFile(file("back.tga"));
        const std::size_t bytes = static_cast<unsigned char>(source[16]) / 8u;
        ASSERT_EQ(18 + (source.size() - 18) / bytes * 4, result.size());
        for (std::size_t pixel = 0; pixel < (source.size() - 18) / bytes; ++pixel) {
            for (std::size_t channel = 0; channel < 4; ++channel) {
                const char opaque = static_cast<char>(0xFF);
                const char expected = channel == 3 && bytes != 4 ? opaque
                                      : bytes == 1               ? source[18 + pixel]
                                                                 : source[18 + pixel * bytes + channel];
                ASSERT_EQ(expected, result[18 + pixel * 4 + channel]) << name << " pixel " << pixel;
            }
        }
    }
}

TEST_F(ToolTest, ConvertsIntoNamedFormatsAndBack) {
    const Outcome list = run("formats");
    EXPECT_TRUE(list.m_succeeded && list.m_output.find("\nBc5Snorm ") != std::string::npos) << list.m_output;
    for (const std::string format : {"Bc1Unorm", "bc1unormnoalpha", "Bc2UnormSrgb", "Bc3Unorm", "Bc4Snorm",
                                     "Bc5Snorm", "Bc6Uf16", "Bc7Unorm"}) {
        const std::string there =
            "convert -v --transfer srgb --mips --format " + format + " " + quoted(sample("dusk.tga"));
        const Outcome packed = run(there + " packed.vxf"), back = run("convert packed.vxf back.tga");
        ASSERT_TRUE(packed.m_succeeded && back.m_succeeded) << format << packed.m_errors << back.m_errors;
        EXPECT_EQ(format == "Bc1Unorm", packed.m_errors.find("opaque") != std::string::npos)
            << packed.m_errors;
        const std::string source = readFile(sample("dusk.tga")), result = readFile(file("back.tga"));
        const std::size_t bytes = static_cast<unsigned char>(source[16]) / 8u;
        double error = 0; // in red, which all of them hold
        const std::size_t pixels = (source.size() - 18) / bytes;
        for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
            const int a = static_cast<unsigned char>(source[18 + pixel * bytes + 2]);
            const int b = static_cast<unsigned char>(result[18 + pixel * 4 + 2]);
            error += std::abs(a - b);
        }
        EXPECT_LT(error / static_cast<double>(pixels), 4.0) << format;
        const Outcome compared = run("compare packed.vxf packed.vxf"); // BC6 holds floats without a peak
        EXPECT_EQ(format == "Bc6Uf16", compared.m_output.find("no PSNR") != std::string::npos) << format;
    }
    for (const std::string name : {"Bc9", "{", "{'SurfaceFormat':59}"}) {
        expectFailure(run("convert --format \"" + name + "\" " + quoted(sample("dusk.tga")) + " out.vxf"),
                      "unknown format '" + name + "'");
    }
    for (const std::string name : {"Invalid", "G8B8G8R8Unorm", "{'SurfaceFormat':'Bogus'}"}) {
        expectFailure(run("convert --format \"" + name + "\" " + quoted(sample("dusk.tga")) + " out.dds"),
                      "no texels can be made of format '" + name + "'");
    }
}

TEST_F(ToolTest, ADestinationIsAnExtensionOrANameAsItStands) {
    const std::string here = m_directory.filename().string();
    fs::copy_file(sample("moon.tga"), file("a.b.tga"));
    std::size_t files = filesInDirectory();
    for (const auto& [arguments, made] : std::initializer_list<std::pair<std::string, const char*>>{
             {"a.b.tga .vxf", "a.b.vxf"},
             {"./a.b.tga plain.vxf", "plain.vxf"},
             {quoted(file("a.b.tga")) + " ./dot.vxf", "dot.vxf"},
             {"a.b.tga ../" + here + "/up.vxf2", "up.vxf2"},
         }) {
        const Outcome outcome = run("convert " + arguments);
        EXPECT_TRUE(outcome.m_succeeded) << arguments << outcome.m_errors;
        EXPECT_EQ("VXF ", readFile(file(made)).substr(0, 4)) << arguments;
        EXPECT_EQ(++files, filesInDirectory()) << arguments;
    }
    expectFailure(run("convert ../" + here + "/none .vxf"),
                  "the name has no extension that .vxf could replace");
}

TEST_F(ToolTest, AFileBehindALinkIsReplacedAndKeepsItsPermissions) {
    fs::copy_file(sample("moon.tga"), file("moon.tga"));
    std::error_code error;
    fs::create_symlink("target.vxf", file("link.vxf"), error);
    if (error) {
        GTEST_SKIP() << "no links here: " << error.message();
    }
    const fs::perms mine = fs::perms::owner_all;
    for (const bool exists : {false, true}) {
        if (exists) {
            fs::permissions(file("target.vxf"), mine);
        }
        ASSERT_TRUE(run("convert moon.tga link.vxf").m_succeeded);
        EXPECT_TRUE(fs::is_symlink(file("link.vxf")));
        EXPECT_EQ("VXF ", readFile(file("target.vxf")).substr(0, 4));
        EXPECT_EQ(exists, fs::status(file("target.vxf")).permissions() == mine);
    }
    fs::create_symlink("moon.tga", file("moon.vxf"));
    ASSERT_TRUE(run("convert moon.tga moon.vxf").m_succeeded);
    EXPECT_EQ(readFile(sample("moon.tga")), readFile(file("moon.tga"))); // the source is not what gives way
}

TEST_F(ToolTest, FailedConversionHarmsNothing) {
    writeFile(file("cut.tga"), readFile(sample("dusk.tga")).substr(0, 5000));
    std::string wrong = readFile(sample("dusk.tga"));
    wrong[2] = 7;
    writeFile(file("wrong.tga"), wrong);
    writeFile(file("tiny.tga"), "TGA");
    writeFile(file("empty.tga"), "");
    writeFile(file("cut.vxf"), "VXF ");
    writeFile(file("keep.vxf"), "precious");
    writeFile(file("keep.tga"), "precious");
    const std::size_t files = filesInDirectory();
    expectFailure(convert(file("cut.tga"), file("keep.vxf")), "cut.tga: ");
    expectFailure(convert(file("wrong.tga"), file("keep.vxf")),
                  "wrong.tga: The TGA file cannot be read: its image type is unknown");
    expectFailure(convert(file("tiny.tga"), file("new.vxf")),
                  "tiny.tga: The TGA file cannot be read: it is too small for its header");
    expectFailure(convert(file("empty.tga"), file("new.vxf")), "empty.tga: it is empty");
    expectFailure(convert(file("cut.vxf"), file("keep.tga")),
                  "cut.vxf: it is no VXF file, or cut off: it has only 4 bytes");
    expectFailure(convert(file("missing.tga"), file("keep.vxf")), "missing.tga: there is no such file", 3);
    expectFailure(convert(sample("moon.tga"), file("keep.xyz")),
                  "keep.xyz: this build writes no files of that type");
    expectFailure(convert(sample("moon.tga"), file("no-directory") / "new.vxf"),
                  "new.vxf: there is no such folder", 5);
    EXPECT_EQ("precious", readFile(file("keep.vxf")));
    EXPECT_EQ("precious", readFile(file("keep.tga")));
    EXPECT_EQ(files, filesInDirectory());
}

TEST_F(ToolTest, SameFileIsLeftAlone) {
    fs::copy_file(sample("moon.tga"), file("moon.tga"));
    ASSERT_TRUE(convert(file("moon.tga"), file("moon.tga")).m_succeeded);
    EXPECT_EQ(readFile(sample("moon.tga")), readFile(file("moon.tga")));
    ASSERT_TRUE(convert(file("moon.tga"), file("copy.tga")).m_succeeded);
    EXPECT_EQ(readFile(sample("moon.tga")), readFile(file("copy.tga")));
}

TEST_F(ToolTest, InfoTellsWhatAFileHolds) {
    ASSERT_TRUE(convert(sample("marbles.tga"), file("m.vxf")).m_succeeded);
    const Outcome outcome = run("info " + quoted(file("m.vxf")));
    ASSERT_TRUE(outcome.m_succeeded) << outcome.m_errors;
    for (const char* line : {"type       VXF\n", "size       320 x 320\n", "format     B8G8R8A8Unorm\n",
                             "mips       1\n", "faces      1\n", "slices     1\n", "tile mode  Thin_1dThin\n",
                             "bytes      409600\n", "chunk      MODI, 192 bytes\n"}) {
        EXPECT_NE(std::string::npos, outcome.m_output.find(line)) << line << outcome.m_output;
    }
    const Outcome image = run("info " + quoted(sample("moon.tga")));
    EXPECT_NE(std::string::npos, image.m_output.find("size       203 x 149\nformat     L8Unorm\n"))
        << image.m_output << image.m_errors;
    writeFile(file("cut.vxf"), readFile(file("m.vxf")).substr(0, 40));
    EXPECT_FALSE(run("info " + quoted(file("cut.vxf"))).m_succeeded);

    fs::copy_file(file("m.vxf"), file("it's.vxf"));
    const Outcome json = run("info --json " + quoted(file("it's.vxf")));
    EXPECT_NE(std::string::npos,
              json.m_output.find("it's.vxf\",\n  \"type\": \"VXF\",\n  \"bytes\": 409856,\n"))
        << json.m_output << json.m_errors;
    EXPECT_NE(std::string::npos, json.m_output.find("\"chunks\": [\n    {\n      \"type\": \"MODI\",\n"))
        << json.m_output;
}

TEST_F(ToolTest, TexelTellsPlaceBytesAndValue) {
    const Outcome outcome = run("texel " + quoted(sample("moon.tga")) + " 100 70");
    for (const char* line : {"TexelXY [100, 70]\n", "TileXY [12, 8]\n", "Element ", "Value ["}) {
        EXPECT_NE(std::string::npos, outcome.m_output.find(line))
            << line << outcome.m_output << outcome.m_errors;
    }
    expectFailure(run("texel " + quoted(sample("moon.tga")) + " 203 0"),
                  "there is no such texel; mip 0 has 203 x 149");
    writeFile(file("cut.dds"), "DDS ");
    expectFailure(run("texel cut.dds 0 0"),
                  "texsmith: cut.dds: it is no DDS file, or cut off within its header", 4);
    expectFailure(run("texel " + quoted(sample("moon.tga")) + " 1 -1"), "Y is a number from 0 on");
}

TEST_F(ToolTest, DdsKeepsTheFormatUnlessTheVersionIsForced) {
    const std::string start = "convert --format R16G16B16A16Unorm " + quoted(sample("dusk.tga"));
    ASSERT_TRUE(run(start + " kept.dds").m_succeeded);
    EXPECT_NE(std::string::npos, run("info kept.dds").m_output.find("format     R16G16B16A16Unorm\n"));
    const Outcome forced = run(start + " lost.dds --dds-version 9 -v");
    EXPECT_TRUE(forced.m_succeeded);
    EXPECT_NE(std::string::npos, forced.m_errors.find("will be read as R16G16B16A16Float"))
        << forced.m_errors;
    ASSERT_TRUE(run("convert --mips --format \"{'SurfaceFormat':'Bc1','X':'X','Y':'Y','Z':'Z','W':1}\" " +
                    quoted(sample("dusk.tga")) + " chain.dds")
                    .m_succeeded);
    const Outcome chain = run("info chain.dds");
    EXPECT_NE(std::string::npos, chain.m_output.find("format     Bc1Unorm\nmips       9\n"))
        << chain.m_output;
    expectFailure(run(start + " a.vxf --dds-version 9"), "--dds-version is for .dds files");
}

TEST_F(ToolTest, QualityReachesTheEncoderOfHalves) {
    const std::string start = "convert --format Bc6Uf16 " + quoted(sample("moon.tga"));
    ASSERT_TRUE(run(start + " plain.vxf").m_succeeded);
    ASSERT_TRUE(run(start + " one.vxf --quality 1").m_succeeded);
    ASSERT_TRUE(run(start + " low.vxf --quality 0.3").m_succeeded);
    EXPECT_EQ(readFile(file("plain.vxf")), readFile(file("one.vxf")));
    EXPECT_NE(readFile(file("plain.vxf")), readFile(file("low.vxf")));
    expectFailure(run(start + " a.vxf --quality -1"), "--quality is a number from 0 on, and not '-1'");
    expectFailure(run(start + " a.vxf --quality good"), "--quality is a number from 0 on");
}

TEST_F(ToolTest, EffortsMakeDifferentBlocks) {
    const std::string start = "convert --format Bc7Unorm " + quoted(sample("moon.tga"));
    ASSERT_TRUE(run(start + " normal.dds").m_succeeded);
    ASSERT_TRUE(run(start + " fast.dds --effort fast").m_succeeded);
    EXPECT_EQ(readFile(file("normal.dds")).size(), readFile(file("fast.dds")).size());
    EXPECT_NE(readFile(file("normal.dds")), readFile(file("fast.dds")));
    expectFailure(run(start + " a.dds --effort quick"), "--effort is fast, normal, high or best");
}

TEST_F(ToolTest, MipsReachTheFileAndCompareFindsTheChangedTexel) {
    std::string changed = readFile(sample("moon.tga"));
    const unsigned wide =
        static_cast<unsigned char>(changed[12]) + 256u * static_cast<unsigned char>(changed[13]);
    const std::size_t bytes = static_cast<unsigned char>(changed[16]) / 8u;
    const std::size_t texel = 18 + (3 * std::size_t{wide} + 5) * bytes;
    const bool isTopDown = (changed[17] & 32) != 0;
    changed[texel] = static_cast<char>(changed[texel] ^ 0x80);
    writeFile(file("changed.tga"), changed);
    for (const auto& [from, to] : {std::pair{sample("moon.tga"), "a.vxf"}, {file("changed.tga"), "b.vxf"}}) {
        const Outcome outcome = run("convert --mips " + quoted(from) + " " + to);
        ASSERT_TRUE(outcome.m_succeeded) << outcome.m_errors;
        EXPECT_EQ("", outcome.m_errors); // no progress where nobody watches
    }
    EXPECT_NE(std::string::npos, run("info a.vxf").m_output.find("mips       8"));
    const Outcome same = run("compare --fail-psnr 200 a.vxf " + quoted(sample("moon.tga")));
    EXPECT_TRUE(same.m_succeeded) << same.m_errors;
    EXPECT_NE(std::string::npos, same.m_output.find("no texel differs")) << same.m_output;

    const Outcome differ = run("compare --heatmap heat.tga --fail-psnr 90 a.vxf b.vxf");
    EXPECT_FALSE(differ.m_succeeded);
    EXPECT_NE(std::string::npos, differ.m_errors.find("below 90")) << differ.m_errors;
    const std::size_t largest = differ.m_output.find("largest    0.50196 in ");
    ASSERT_NE(std::string::npos, largest) << differ.m_output;
    EXPECT_EQ(isTopDown, differ.m_output.find(" at 5, 3, mip 0", largest) != std::string::npos)
        << differ.m_output;
    EXPECT_TRUE(run("stats heat.tga").m_succeeded);
    expectFailure(run("compare a.vxf b.vxf --heatmap heat.hdr"), "pictures are written as .bmp");
    expectFailure(run("compare a.vxf changed.tga --heatmap ./changed.tga"), "no picture is written over it");
    expectFailure(run("stats changed.tga --plot changed.tga"), "no picture is written over it");
    expectFailure(run("convert --mips a.vxf b.tga"), "only .vxf and .dds files hold mips");
}

TEST_F(ToolTest, AReportIsOnePageThatSaysWhatItLeavesOut) {
    ASSERT_TRUE(run("convert --mips --format R32G32B32A32Float " + quoted(sample("marbles.tga")) + " m.vxf")
                    .m_succeeded);
    ASSERT_TRUE(run("report m.vxf page.html").m_succeeded);
    const std::string page = readFile(file("page.html"));
    EXPECT_NE(std::string::npos, page.find("id=\"texels-0-0-0-0\""));
    for (const char* outside : {" src=", "<link", "@import"}) {
        EXPECT_EQ(std::string::npos, page.find(outside)) << outside;
    }
    const Outcome raw = run("convert --format R32G32B32A32Float --mips --resize 900x900 " +
                            quoted(sample("dusk.tga")) + " large.vxf");
    ASSERT_TRUE(raw.m_succeeded) << raw.m_errors;
    const Outcome cut = run("report -v --max-page 1 large.vxf page.html");
    EXPECT_NE(std::string::npos, cut.m_errors.find("hint: large.vxf: This page begins at mip"))
        << cut.m_errors;
    EXPECT_EQ(std::string::npos, readFile(file("page.html")).find("id=\"texels-0-0-0-0\""));

    writeFile(file("keep.html"), "precious");
    writeFile(file("cut.tga"), "TGA");
    expectFailure(run("report cut.tga keep.html"), "cut.tga");
    expectFailure(run("report m.vxf m.vxf"), "a report is written as .html");
    expectFailure(run("report m.vxf " + quoted(sample("moon.tga")) + " keep.html"), "is not that of m.vxf");
    EXPECT_EQ("precious", readFile(file("keep.html")));
    expectFailure(run("report --sheet cut.tga m.vxf keep.html"), "1 of 2 files could not be read");
    EXPECT_NE(std::string::npos, readFile(file("keep.html")).find("id=\"texels-1-0-0-0\""));
}

// By the formula, over windows at every fourth texel and row.
double slowSimilarity(const std::string& a, const std::string& b, unsigned side) {
    double sum = 0;
    unsigned windows = 0;
    for (unsigned top = 0; top + 8 <= side; top += 4) {
        for (unsigned left = 0; left + 8 <= side; left += 4, ++windows) {
            double x = 0, y = 0, xx = 0, yy = 0, xy = 0;
            for (unsigned i = 0; i < 64; ++i) {
                const std::size_t at = ((top + i / 8) * side + left + i % 8) * 3;
                const double u = static_cast<unsigned char>(a[at]) / 255.0,
                             v = static_cast<unsigned char>(b[at]) / 255.0;
                x += u / 64, y += v / 64, xx += u * u / 64, yy += v * v / 64, xy += u * v / 64;
            }
            sum += (2 * x * y + 0.0001) * (2 * (xy - x * y) + 0.0009) /
                   ((x * x + y * y + 0.0001) * (xx - x * x + yy - y * y + 0.0009));
        }
    }
    return sum / windows;
}

// Two noisy pictures, the second with one texel's red raised.
TEST_F(ToolTest, ComparesWhatIsChosen) {
    constexpr unsigned kSide = 12;
    std::string header = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, kSide, 0, kSide, 0, 24, 32};
    std::string a(kSide * kSide * 3, 0), b;
    for (std::size_t i = 0; i < a.size(); ++i) {
        a[i] = static_cast<char>(i * 37 % 101);
    }
    b = a;
    b[(5 * kSide + 6) * 3 + 2] = static_cast<char>(200);
    writeFile(file("a.tga"), header + a);
    writeFile(file("b.tga"), header + b);
    for (const auto& [options, status] : {std::pair{"--fail-max 0", 1},
                                          {"--fail-max 0.99", 0},
                                          {"--fail-max 0 --channels gba", 0},
                                          {"--fail-ssim 1", 1},
                                          {"--fail-ssim 1 --channels BG", 0},
                                          {"--fail-max 0 --region 0,0,6x12", 0},
                                          {"--fail-max 0 --region 6,5,1x1", 1},
                                          {"--fail-ssim 0.1 --region 6,5,1x1", 1},
                                          {"--fail-psnr 90 --mip 0", 1},
                                          {"--mip 1", 2},
                                          {"--region 6,5,7x1", 2},
                                          {"--region 6,5", 2},
                                          {"--channels rr", 2},
                                          {"--fail-max 0 --heatmap heat.tga", 1}}) {
        const Outcome outcome = run(std::string("compare a.tga b.tga ") + options);
        EXPECT_EQ(outcome.m_status, status) << options << outcome.m_errors;
    }
    // What says nothing of its numbers means sRGB beside sRGB, and data beside data.
    for (const auto& [name, format] :
         {std::pair{"srgb.vxf", "R8G8B8A8UnormSrgb"}, {"data.vxf", "R8G8B8A8Unorm"}}) {
        ASSERT_TRUE(run(std::string("convert a.tga ") + name + " --format " + format).m_succeeded);
        EXPECT_EQ(0, run(std::string("compare --fail-max 0 a.tga ") + name).m_status) << name;
        EXPECT_EQ(0, run(std::string("compare --fail-max 0 ") + name + " a.tga").m_status) << name;
    }
    EXPECT_EQ(1, run("compare --fail-max 0 srgb.vxf data.vxf").m_status);
    const std::string output = run("compare a.tga b.tga --channels r").m_output;
    std::istringstream similarity(output.substr(output.find("SSIM")));
    std::string word;
    double value = 0;
    similarity >> word >> word >> word >> value;
    EXPECT_NEAR(value, slowSimilarity(a.substr(2) + "??", b.substr(2) + "??", kSide), 1e-4) << output;
    EXPECT_NE(readFile(file("heat.tga")).find("\xFF\xE6"), std::string::npos); // the ring around the largest
}

// Black and white average to 188 in light, which sRGB formats ask for, and to 128 as numbers.
TEST_F(ToolTest, ResizesInLightWhereTheFormatIsSrgb) {
    const std::string black(3, '\0'), white(3, '\xFF');
    std::string header(18, '\0');
    header[2] = 2; // true colours, 2 x 2, 24 bits
    header[12] = header[14] = 2;
    header[16] = 24;
    writeFile(file("checks.tga"), header + black + white + white + black);
    for (const auto& [format, stored] :
         {std::pair{"R8G8B8A8UnormSrgb", "bc, bc, bc"}, std::pair{"R8G8B8A8Unorm", "80, 80, 80"}}) {
        const Outcome large = run(std::string("convert checks.tga large.vxf --format ") + format);
        ASSERT_TRUE(large.m_succeeded) << large.m_status << large.m_errors;
        const Outcome outcome = run("convert large.vxf small.vxf --resize 1x1 --filter box");
        ASSERT_TRUE(outcome.m_succeeded) << outcome.m_errors;
        const std::string texel = run("texel small.vxf 0 0").m_output;
        EXPECT_NE(texel.find(stored), std::string::npos) << texel;
    }
    expectFailure(run("convert checks.tga small.vxf --resize 1x"), "--resize takes a size");
}

TEST_F(ToolTest, PartsComeOutOfTexturesAndGoIntoThem) {
    const std::string faces = " px.tga nx.tga py.tga ny.tga pz.tga nz.tga ";
    ASSERT_TRUE(run("convert " + quoted(sample("dusk.tga")) + " px.tga --crop 32x32+0+0").m_succeeded);
    for (const std::string face : {"nx", "py", "ny", "pz", "nz"}) {
        ASSERT_TRUE(
            run("convert px.tga " + face + ".tga --flip both --swizzle " + (face[0] == 'n' ? "bgra" : "grba"))
                .m_succeeded);
    }
    const Outcome cube = run("assemble --as cube" + faces + "cube.dds --mips");
    ASSERT_TRUE(cube.m_succeeded) << cube.m_errors;
    EXPECT_NE(std::string::npos, run("info cube.dds").m_output.find("mips       6\nfaces      6\n"));
    const Outcome all = run("extract cube.dds face{face}.tga --mip 0");
    ASSERT_TRUE(all.m_succeeded) << all.m_errors;
    EXPECT_EQ(readFile(file("px.tga")), readFile(file("face0.tga")));
    EXPECT_EQ(readFile(file("nz.tga")), readFile(file("face5.tga")));
    expectFailure(run("convert cube.dds flat.png --strict"),
                  "cube.dds: only the largest of 6 mips is written", 6);
    expectFailure(run("extract cube.dds a.tga --face 6"), "cube.dds: there is no face 6 of 6", 6);
    expectFailure(run("assemble --as array px.tga " + quoted(sample("moon.tga")) + " a.vxf"),
                  "its size is 203 x 149");

    ASSERT_TRUE(run("assemble --as textures px.tga cube.dds set.vxf").m_succeeded);
    ASSERT_TRUE(run("extract set.vxf part{texture}.dds").m_succeeded);
    EXPECT_EQ(readFile(file("cube.dds")), readFile(file("part1.dds")));

    ASSERT_TRUE(run("assemble --pack r=px.tga:g,g=nx.tga,b=1,a=px.tga:b packed.tga").m_succeeded);
    const std::string px = readFile(file("px.tga")), nx = readFile(file("nx.tga")),
                      packed = readFile(file("packed.tga"));
    ASSERT_EQ(px.size(), packed.size());
    for (std::size_t texel = 18; texel < packed.size(); texel += 4) { // blue, green, red, alpha
        const std::string expected = {'\xFF', px[texel + 1], nx[texel + 2], px[texel]};
        const std::string found = {packed[texel], packed[texel + 2], packed[texel + 1], packed[texel + 3]};
        ASSERT_EQ(expected, found) << texel;
    }
    expectFailure(run("convert packed.tga lost.jpg --strict"), "packed.tga: its alpha is lost", 6);
}

TEST_F(ToolTest, AnswersAreYesOrNoAndStreamsStandForFiles) {
    ASSERT_TRUE(run("convert --format=Bc1UnormNoAlpha - a.dds --type tga <" + quoted(sample("moon.tga")))
                    .m_succeeded);
    const Outcome odd = run("validate a.dds");
    EXPECT_TRUE(odd.m_succeeded) << odd.m_errors;
    EXPECT_EQ("a.dds: odd: its size is no multiple of the blocks' 4 x 4 texels\n", odd.m_output);
    writeFile(file("cut.dds"), readFile(file("a.dds")).substr(0, 5000));
    const Outcome cut = run("validate a.dds cut.dds");
    EXPECT_EQ(1, cut.m_status);
    EXPECT_NE(std::string::npos, cut.m_output.find("cut.dds: fault: The DDS file ends early"))
        << cut.m_output;
    const Outcome silent = run("compare -q --fail-psnr 90 a.dds " + quoted(sample("moon.tga")));
    EXPECT_EQ(1, silent.m_status);
    EXPECT_EQ("", silent.m_output + silent.m_errors);
    ASSERT_TRUE(run("convert a.dds through.tga").m_succeeded &&
                run("convert - - --type dds:tga <a.dds >b.tga").m_succeeded);
    EXPECT_EQ(readFile(file("through.tga")), readFile(file("b.tga")));
    expectFailure(run("info - <b.tga"), "tell it by --type", 2);
}

TEST_F(ToolTest, StatsTellRangeMeanAndConstants) {
    const unsigned char pixels[] = {0, 10, 200, 0, 30, 100}; // blue, green, red
    std::string bytes = {0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 24, 0};
    bytes.append(std::begin(pixels), std::end(pixels));
    writeFile(file("two.tga"), bytes);
    const Outcome outcome = run("stats --plot plot.tga two.tga");
    ASSERT_TRUE(outcome.m_succeeded) << outcome.m_errors;
    for (const char* line : {"texels     2\n", "R              0.392157     0.784314     0.588235\n",
                             "G             0.0392157     0.117647    0.0784314\n",
                             "B                     0            0            0  constant zero\n",
                             "A                     1            1            1  constant one\n"}) {
        EXPECT_NE(std::string::npos, outcome.m_output.find(line)) << line << outcome.m_output;
    }
    EXPECT_NE(std::string::npos, run("info plot.tga").m_output.find("size       528 x 464"));
}

TEST_F(ToolTest, ViewDrawsSurfacesInEverySizeAndRefusesWhatIsNotThere) {
    ASSERT_TRUE(
        run("convert --mips --format R8G8B8A8Unorm " + quoted(sample("dusk.tga")) + " a.vxf").m_succeeded);
    std::string strip = readFile(sample("moon.tga")).substr(0, 18);
    strip[12] = 0, strip[13] = 64, strip[14] = 16, strip[15] = 0; // 16384 x 16
    const std::size_t bytes = static_cast<unsigned char>(strip[16]) / 8u;
    writeFile(file("strip.tga"), strip + std::string(16384 * 16 * bytes, 'A'));
    ASSERT_TRUE(run("convert --mips strip.tga strip.vxf").m_succeeded);
    const auto unsignedAt = [](const std::string& tga, std::size_t at) {
        return static_cast<unsigned char>(tga[at]) + static_cast<unsigned char>(tga[at + 1]) * 256;
    };
    const std::string source = readFile(sample("dusk.tga"));
    const int wide = unsignedAt(source, 12), tall = unsignedAt(source, 14);
    struct Case {
        const char* m_arguments;
        int m_wide, m_tall;
        const char* m_hint = "";
    };
    for (const Case& c : {Case{"a.vxf", (wide + wide / 2 + 7) / 8 * 8, (tall + 7) / 8 * 8},
                          {"a.vxf --mip 0", wide, tall},
                          {"a.vxf --mip 1 --scale 3", wide / 2 * 3, tall / 2 * 3},
                          {"a.vxf --wrap 2 --normal", wide * 2, tall * 2},
                          {"a.vxf --mip 0 --thumbnail 32 --channels a", 32, tall * 32 / wide},
                          {"strip.vxf", 8208, 8, "24592 x 16 pixels, so it begins at mip 2"}}) {
        const Outcome drawn = run(std::string("view -v ") + c.m_arguments + " out.tga");
        ASSERT_TRUE(drawn.m_succeeded) << c.m_arguments << drawn.m_errors;
        EXPECT_NE(drawn.m_errors.find(c.m_hint), std::string::npos) << drawn.m_errors;
        const std::string picture = readFile(file("out.tga"));
        EXPECT_EQ(unsignedAt(picture, 12), c.m_wide) << c.m_arguments;
        EXPECT_EQ(unsignedAt(picture, 14), c.m_tall) << c.m_arguments;
    }
    // The canvas begins with the picture itself, and is dark where nothing is.
    ASSERT_TRUE(run("view a.vxf out.tga").m_succeeded);
    const std::string canvas = readFile(file("out.tga"));
    const std::size_t perPixel = static_cast<unsigned char>(source[16]) / 8u;
    for (std::size_t x = 0; x < static_cast<std::size_t>(wide); ++x) {
        EXPECT_EQ(source.substr(18 + x * perPixel, 3), canvas.substr(18 + x * 4, 3)) << x;
    }
    EXPECT_EQ(canvas.substr(canvas.size() - 4), std::string("\x38\x30\x30\xFF"));
    ASSERT_TRUE(run("view a.vxf out.tga --mip 0 --channels a").m_succeeded);
    EXPECT_EQ(readFile(file("out.tga")).substr(18, 4), std::string(4, '\xFF'));
    for (const auto& [arguments, reason] : std::initializer_list<std::pair<const char*, const char*>>{
             {"a.vxf out.tga --mip 20", "there is no mip 20"},
             {"a.vxf out.tga --cross", "--cross shows cubes, and the file is none"},
             {"a.vxf out.tga --range 1", "--range needs two values"},
             {"a.vxf out.tga --range 1 0", "--range takes the lower value first"},
             {"a.vxf out.tga --range 0 1 --tone cut", "--range and --tone exclude each other"},
             {"a.vxf out.tga --scale 64 --wrap 64", "16384 either way are the most"},
             {"a.vxf out.vxf", "pictures are written as"}}) {
        writeFile(file("out.tga"), "precious");
        expectFailure(run(std::string("view ") + arguments), reason, 2);
        EXPECT_EQ(readFile(file("out.tga")), "precious");
    }
}

// A file of one mip in a format of DXGI, with `bytes` before zeros up to `length`.
void writeDds(const fs::path& path, std::uint32_t format, unsigned wide, unsigned tall, unsigned slices,
              const std::string& bytes, std::size_t length, bool isCube = false) {
    std::uint32_t words[37] = {0x20534444, 124, 0x1007, tall, wide};
    words[7] = 1, words[19] = 32, words[20] = 4, words[21] = 0x30315844, words[27] = 0x1000;
    words[28] = isCube ? 0xFE00 : 0, words[32] = format, words[33] = 3, words[34] = isCube ? 4 : 0;
    words[35] = slices;
    writeFile(path, std::string(reinterpret_cast<const char*>(words), sizeof words) + bytes);
    fs::resize_file(path, sizeof words + length);
}

TEST_F(ToolTest, ViewShowsCrossesGridsAndLight) {
    std::string faces, drawn;
    for (char face = 0; face < 6; ++face) {
        faces += std::string(64, static_cast<char>(20 * face + 10));
    }
    writeDds(file("cube.dds"), 61, 8, 8, 1, faces, faces.size(), true);
    ASSERT_TRUE(run("view cube.dds out.tga --cross").m_succeeded);
    const std::string cross = readFile(file("out.tga"));
    ASSERT_EQ(cross.size(), 18 + 32 * 24 * 4u);
    for (std::size_t cell = 0; cell < 12; ++cell) { // the number of each face, as layouts count
        const char red = cross[18 + ((cell / 4 * 8 + 3) * 32 + cell % 4 * 8 + 5) * 4 + 2];
        drawn += static_cast<char>(red == 0x30 ? '.' : '1' + (red - 10) / 20);
    }
    EXPECT_EQ(drawn, ".3..2516.4..");
    writeDds(file("many.dds"), 61, 8, 16, 1025, {}, 1025 * 128);
    const Outcome grid = run("view -v many.dds out.tga");
    EXPECT_NE(grid.m_errors.find("so the slices of mip 0 are laid out in a grid"), std::string::npos);
    EXPECT_EQ(readFile(file("out.tga")).substr(12, 4), std::string("\x68\x01\x70\x01")); // 45 x 23 slices
    writeDds(file("tall.dds"), 61, 1, 8200, 2049, {}, 2049 * 8200);
    expectFailure(run("view tall.dds out.tga"), "16384 either way are the most; --mip, --face and", 2);
    const float light[] = {2, 0.5f, 0, 1}; // by -1: 1, which the curve takes to 0.875, and a quarter of it
    const std::string texel(reinterpret_cast<const char*>(light), sizeof light);
    writeDds(file("light.dds"), 2, 1, 1, 1, texel, texel.size());
    for (const auto& [tone, bytes] : {std::pair{"soft", "\x81\xF0\xFF"}, {"cut", "\x89\xFF\xFF"}}) {
        ASSERT_TRUE(
            run(std::string("view light.dds out.tga --mip 0 --exposure -1 --tone ") + tone).m_succeeded);
        EXPECT_EQ(readFile(file("out.tga")).substr(19, 3), bytes) << tone;
    }
}

TEST_F(ToolTest, WrongArgumentsAreOneLine) {
    expectFailure(run(""), "no command given");
    expectFailure(run("paint"), "unknown command 'paint'");
    expectFailure(run("--hlep"), "did you mean '--help'?", 2);
    expectFailure(run("convert a.tga b"), "its name has no extension, such as .dds", 2);
    expectFailure(run("convert a.tga b/"), "b/ is a folder; 'a.tga .dds -o b/' writes below it", 2);
    expectFailure(run("convert a.tga"), "convert takes SOURCE... and a DESTINATION");
    expectFailure(run("convert a.tga \"\""), "the destination has no name", 2);
    expectFailure(run("convert a.tga b.dds --efort best"),
                  "unknown option '--efort'; did you mean '--effort'?", 2);
    expectFailure(run("convert a.tga b.dds --format"), "--format needs a value");
    expectFailure(run("compare a b --fail-psnr \"\""), "--fail-psnr is a number, and not ''", 2);
    expectFailure(run("info -- --json"), "--json: there is no such file", 3);
    expectFailure(run("info"), "info takes FILE");
    EXPECT_TRUE(run("--help").m_succeeded);
    if (fs::exists("/dev/full")) {
        expectFailure(run("--help >/dev/full"), "standard output: it cannot be written", 5);
    }
}

} // namespace
