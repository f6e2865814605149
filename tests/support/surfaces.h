// Formats by name, textures of every shape, images whose storage a test can see, and access by grain.
#pragma once

#include "qor/texsmith/texsmith.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <random>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace TestSupport {

namespace Raw = qor::Texsmith::Raw;
namespace Vex = qor::Vex;

inline constexpr Raw::SurfaceIndex kFirstSurface = {};

inline Vex::DataFormat formatNamed(const char* name) {
    for (int i = 0; i < Raw::getNamedDataFormatCount(); ++i) {
        if (std::strcmp(Raw::getNamedDataFormat(i).m_name, name) == 0) {
            return Raw::getNamedDataFormat(i).m_dataFormat;
        }
    }
    throw std::invalid_argument(name);
}

struct Shape {
    const char* m_name;
    Vex::TextureType m_type;
    unsigned m_width, m_height, m_depth, m_mips, m_log2Fragments;
    unsigned m_surfaces;
};

inline constexpr Shape kShapes[] = {
    {"line", Vex::kTextureType1d, 13, 1, 1, 4, 0, 4},
    {"flat", Vex::kTextureType2d, 17, 9, 1, 5, 0, 5},
    {"volume", Vex::kTextureType3d, 17, 5, 8, 5, 0, 8 + 4 + 2 + 1 + 1},
    {"cube", Vex::kTextureTypeCubemap, 16, 16, 1, 3, 0, 18},
    {"cube array", Vex::kTextureTypeCubemap, 8, 8, 3, 2, 0, 36},
    {"line array", Vex::kTextureType1dArray, 13, 1, 5, 2, 0, 10},
    {"flat array", Vex::kTextureType2dArray, 17, 9, 5, 3, 0, 15},
    {"samples", Vex::kTextureType2dMsaa, 9, 5, 1, 1, 2, 4},
    {"sample array", Vex::kTextureType2dArrayMsaa, 9, 5, 2, 1, 1, 4},
};

inline Vex::Texture makeTexture(const Shape& s, Vex::DataFormat format) {
    constexpr Vex::TileMode kTileMode = Vex::kTileModeThin_1dThin;
    const auto fragments = Vex::NumFragments(s.m_log2Fragments);
    const bool isCube = s.m_type == Vex::kTextureTypeCubemap;
    Vex::Texture texture;
    if (s.m_type == Vex::kTextureType3d) {
        texture.initAs3d(s.m_width, s.m_height, s.m_depth, s.m_mips, format, kTileMode);
    } else {
        texture.initAs2dArray(s.m_width, s.m_height, s.m_depth, 0, s.m_mips, format, kTileMode, fragments,
                              isCube);
    }
    texture.setTextureType(s.m_type);
    return texture;
}

inline Vex::Texture makeFlat(const char* format, unsigned width, unsigned height, unsigned mips = 1) {
    return makeTexture({"", Vex::kTextureType2dArray, width, height, 1, mips, 0, mips}, formatNamed(format));
}

// An image on a vector that is exactly as long as the descriptor asks for, until it is cut.
class TestImage : public Raw::Image {
public:
    explicit TestImage(const Vex::Texture& texture, unsigned seed = 0) {
        m_memoryRegion = &m_region;
        setupAsVexTexture(&texture);
        resize(getBytesTotal());
        std::minstd_rand random(seed);
        for (std::uint8_t& byte : m_bytes) {
            byte = seed != 0 ? static_cast<std::uint8_t>(random() >> 16) : std::uint8_t{0};
        }
    }
    TestImage(const TestImage&) = delete;
    TestImage& operator=(const TestImage&) = delete;

    std::vector<std::uint8_t>& bytes() { return m_bytes; }
    void resize(std::size_t length) {
        m_bytes.resize(length);
        m_bytes.shrink_to_fit(); // so that the address sanitizer sees its end
        m_region.begin = m_bytes.data();
        m_region.end = m_bytes.data() + length;
    }

private:
    const std::type_info* doGetRowsClass() const override { return &typeid(TestImage); }

    std::vector<std::uint8_t> m_bytes;
    Raw::MemoryRegion m_region;
};

inline Raw::Configuration configurationOf(Raw::JobManager* manager, unsigned callbacks = 0) {
    Raw::Configuration configuration;
    configuration.m_jobManager = manager;
    configuration.m_callbacksPerJob = callbacks;
    return configuration;
}
// Runs jobs on the calling thread.
inline Raw::Configuration onThisThread(unsigned callbacks = 0) {
    static Raw::SerialJobManager s_serial;
    return configurationOf(&s_serial, callbacks);
}
// Of a codec, whose texture plays no part but for its format.
inline Raw::EncoderConfiguration encoderFor(Vex::DataFormat format) {
    Vex::Texture texture;
    texture.setDataFormat(format);
    Raw::EncoderConfiguration configuration;
    configuration.setTexture(&texture);
    return configuration;
}
inline Raw::EncoderConfiguration encoderFor(const char* format) { return encoderFor(formatNamed(format)); }

// A derived class that does not vouch for its rows hands out neither rows nor strips.
struct ImageByTiles : TestImage {
    using TestImage::TestImage;
};

using Provider = Raw::ElementProvider;
using Index = Raw::SurfaceIndex;

// Shows another provider tile by tile, without its rows and strips, and counts what is written.
class TilesOnly : public Provider {
public:
    explicit TilesOnly(const Provider& provider) : m_provider(provider) {
        setupAsVexTexture(provider.getVexTexture());
        setModifiers(provider.getModifiers());
    }
    mutable std::atomic<unsigned> m_puts{0};

private:
    void doGetBlock(const Index* index, Raw::Block* block, unsigned x, unsigned y) const override {
        m_provider.getBlock(index, block, x, y);
    }
    void doGetTile(const Index* index, Raw::Tile* tile, unsigned x, unsigned y) const override {
        m_provider.getTile(index, tile, x, y);
    }
    void doPutTile(const Index* index, const Raw::Tile* tile, unsigned x, unsigned y) const override {
        ++m_puts;
        m_provider.putTile(index, tile, x, y);
    }

    const Provider& m_provider;
};

// The three grains under one name.
template <typename Buffer> constexpr auto kGet = &Provider::getElement;
template <> inline constexpr auto kGet<Raw::Block> = &Provider::getBlock;
template <> inline constexpr auto kGet<Raw::Tile> = &Provider::getTile;
template <typename Buffer> constexpr auto kPut = &Provider::putElement;
template <> inline constexpr auto kPut<Raw::Block> = &Provider::putBlock;
template <> inline constexpr auto kPut<Raw::Tile> = &Provider::putTile;
template <typename Buffer> void get(const Provider& p, const Index* i, Buffer* b, unsigned x, unsigned y) {
    (p.*kGet<Buffer>)(i, b, x, y);
}
template <typename Buffer> void put(const Provider& p, const Index* i, Buffer* b, unsigned x, unsigned y) {
    (p.*kPut<std::remove_const_t<Buffer>>)(i, b, x, y);
}
// Across; as many down.
template <typename Buffer> unsigned elementsWide(const Provider& p) {
    constexpr unsigned kPixels = sizeof(Buffer) == sizeof(Raw::Tile)    ? 8
                                 : sizeof(Buffer) == sizeof(Raw::Block) ? 4
                                                                        : 1;
    return std::max(1u, kPixels / p.getPixelsPerElementWide());
}
template <typename Use> void withEachGrain(Use use) {
    use(Raw::VectorFloat{});
    use(Raw::Block{});
    use(Raw::Tile{});
}

template <typename Buffer> Buffer filledWith(int byte) {
    Buffer buffer;
    std::memset(static_cast<void*>(&buffer), byte, sizeof buffer);
    return buffer;
}
template <typename Buffer> bool equal(const Buffer& a, const Buffer& b, std::size_t bytes = sizeof(Buffer)) {
    return std::memcmp(&a, &b, bytes) == 0;
}

} // namespace TestSupport
