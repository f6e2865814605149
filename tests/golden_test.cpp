// Every conversion of the samples gives the bytes that golden/digests.txt lists, on every system and machine.
// A change of bytes that is meant: run with TEXSMITH_WRITE_DIGESTS=1, which writes the list anew, and say why
// in the commit.
#include "qor/texsmith/texsmith.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <utility>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using qor::Texsmith::Configuration;

constexpr char kList[] = TEXSMITH_SOURCE_DIR "/tests/golden/digests.txt";
constexpr const char* kSmallest = "moon";
constexpr const char* kSamples[] = {"dusk", "marbles", kSmallest};
constexpr unsigned kTileModes = 27;
constexpr unsigned kVolumeDepth = 8;

// By what was made, the digests for the samples in their order.
using Digests = std::map<std::string, std::string>;

std::string digestOf(const MemoryRegion& region) {
    std::uint8_t digest[Sha1Hasher::kDigestBytes] = {};
    EXPECT_EQ(Sha1Hasher::instance().hash(region.begin, static_cast<std::size_t>(region.length()), digest),
              kErrorNone);
    std::string text;
    for (const std::uint8_t byte : digest) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", unsigned{byte});
        text += digits;
    }
    return text;
}

// One sample, and the digests of what becomes of it.
class SampleDigests {
public:
    SampleDigests(const std::string& name, Digests* digests)
        : m_name(name), m_digests(digests), m_image(&m_memory) {
        EXPECT_EQ(0, makeDataFormat(&m_floatFormat, "R32G32B32A32Float", &m_configuration));
        const std::string path = TEXSMITH_SOURCE_DIR "/samples/" + name + ".tga";
        MemoryMappedFile file(path.c_str(), kPermissionsReadOnly, g_mallocAllocator);
        EXPECT_EQ(kErrorNone, loadWithResult(&m_image, &file, ".tga", &m_configuration, 0)) << path;
        add("load", m_image.getMemoryRegion());
    }

    // The bytes of the format, and what they read back as.
    void addFormat(const NamedDataFormat& format) {
        MappedMemory there, back;
        ReallocatableImage stored(&there), floats(&back);
        reallocate(&stored, &m_image, format.m_dataFormat);
        reallocate(&floats, &m_image, m_floatFormat);
        EXPECT_EQ(kErrorNone, reformat(&m_image, &stored, &m_configuration)) << format.m_name;
        EXPECT_EQ(kErrorNone, reformat(&stored, &floats, &m_configuration)) << format.m_name;
        add(std::string("to-") + format.m_name, stored.getMemoryRegion());
        add(std::string("from-") + format.m_name, floats.getMemoryRegion());
    }

    // The blocks of a compressed format at each effort.
    void addEfforts(const char* name) {
        constexpr std::pair<const char*, EncoderEffort> kEfforts[] = {{"normal", kEncoderEffortNormal},
                                                                      {"fast", kEncoderEffortFast},
                                                                      {"high", kEncoderEffortHigh},
                                                                      {"best", kEncoderEffortBest}};
        for (const auto& [effortName, effort] : kEfforts) {
            Configuration configuration;
            configuration.m_encoderConfiguration.m_effort = effort;
            Vex::DataFormat format = {};
            EXPECT_EQ(0, makeDataFormat(&format, name, &configuration));
            MappedMemory there;
            ReallocatableImage stored(&there);
            reallocate(&stored, &m_image, format);
            EXPECT_EQ(kErrorNone, reformat(&m_image, &stored, &configuration)) << name;
            add(std::string("to-") + name + "-" + effortName, stored.getMemoryRegion());
        }
    }

    // The sample as it is, and its rows taken for the slices of a volume.
    void addTileMode(Vex::TileMode mode) {
        const Vex::Texture& texture = *m_image.getVexTexture();
        Vex::Texture flat = texture;
        flat.setTileMode(mode);
        addTiled("flat-" + std::to_string(mode), flat);
        Vex::Texture volume;
        volume.initAs3d(texture.getWidth(), texture.getHeight() / kVolumeDepth, kVolumeDepth, 1,
                        texture.getDataFormat(), mode);
        addTiled("volume-" + std::to_string(mode), volume);
    }

    void addContainers() {
        AllocatedMemory vxf, tga;
        EXPECT_EQ(0, save(&m_image, &vxf, ".vxf", &m_configuration));
        EXPECT_EQ(kErrorNone, convertWithResult(&vxf, ".vxf", &tga, ".tga", &m_configuration));
        add("vxf", vxf);
        add("tga", tga);
    }

private:
    void add(const std::string& what, const MemoryRegion& region) {
        EXPECT_NE(0u, region.length()) << m_name << ' ' << what;
        (*m_digests)[what] += ' ' + digestOf(region);
    }

    void addTiled(const std::string& what, const Vex::Texture& texture) {
        MappedMemory memory;
        ReallocatableImage image(&memory);
        image.reallocate(&texture);
        const MemoryRegion texels = image.getMemoryRegion();
        ASSERT_LE(texels.length(), m_image.getMemoryRegion().length());
        std::memcpy(texels.begin, m_image.getMemoryRegion().begin, static_cast<std::size_t>(texels.length()));
        AllocatedMemory tiled;
        EXPECT_EQ(kErrorNone, convertToVxf(&image, &tiled, &m_configuration)) << what;
        add("tiled-" + what, tiled);
    }

    std::string m_name;
    Digests* m_digests;
    Configuration m_configuration;
    Vex::DataFormat m_floatFormat = {};
    MappedMemory m_memory;
    ReallocatableImage m_image;
};

Digests computeDigests() {
    Digests digests;
    for (const char* name : kSamples) {
        SampleDigests sample(name, &digests);
        for (int index = 0; index < getNamedDataFormatCount(); ++index) {
            const NamedDataFormat format = getNamedDataFormat(index);
            const SurfaceFormatInfo& info = getSurfaceFormatInfo(format.m_dataFormat.getSurfaceFormat());
            // Of the formats of blocks BC6H alone, on the smallest sample: its search takes long.
            const bool isBc6 = format.m_dataFormat.getSurfaceFormat() == Vex::kSurfaceFormatBc6;
            const bool isWanted = isBc6 ? name == kSmallest : info.encodeTexels != nullptr;
            if (info.bytesPerElement != 0 && isWanted) {
                sample.addFormat(format);
            }
        }
        sample.addEfforts("Bc7Unorm");
        sample.addEfforts("Bc3Unorm");
        sample.addEfforts("Bc5Unorm");
        for (unsigned mode = 0; mode < kTileModes; ++mode) {
            sample.addTileMode(static_cast<Vex::TileMode>(mode));
        }
        sample.addContainers();
    }
    return digests;
}

Digests readDigests() {
    Digests digests;
    std::ifstream stream(kList);
    for (std::string name, rest; stream >> name && std::getline(stream, rest);) {
        digests[name] = rest;
    }
    return digests;
}

void writeDigests(const Digests& digests) {
    std::ofstream stream(kList, std::ios::binary);
    for (const auto& [name, digest] : digests) {
        stream << name << digest << '\n';
    }
    ASSERT_TRUE(stream.flush()) << kList;
}

TEST(GoldenTest, BytesAreThoseOfTheList) {
    const Digests digests = computeDigests();
    if (const char* write = std::getenv("TEXSMITH_WRITE_DIGESTS"); write != nullptr && *write == '1') {
        writeDigests(digests);
    }
    Digests listed = readDigests();
    for (const auto& [name, digest] : digests) {
        EXPECT_EQ(listed[name], digest) << name << digest;
        listed.erase(name);
    }
    for (const auto& [name, digest] : listed) {
        ADD_FAILURE() << "listed, but not computed: " << name << digest;
    }
}

} // namespace
