// Formats by name, textures of every shape, and images whose storage a test can see.
#pragma once

#include "qor/texsmith/texsmith.h"

#include <cstdint>
#include <cstring>
#include <random>
#include <span>
#include <stdexcept>
#include <vector>

namespace TestSupport {

namespace Raw = qor::Texsmith::Raw;
namespace Vex = qor::Vex;

inline Vex::DataFormat formatNamed(const char* name) {
    for (int i = 0; i < Raw::getNamedDataFormatCount(); ++i) {
        if (const Raw::NamedDataFormat named = Raw::getNamedDataFormat(i);
            std::strcmp(named.m_name, name) == 0) {
            return named.m_dataFormat;
        }
    }
    throw std::invalid_argument(name);
}

struct Shape {
    const char* m_name;
    Vex::TextureType m_type;
    unsigned m_width, m_height, m_depth, m_mips, m_log2Fragments;
};

inline constexpr Shape kShapes[] = {
    {"line", Vex::kTextureType1d, 13, 1, 1, 4, 0},
    {"flat", Vex::kTextureType2d, 17, 9, 1, 5, 0},
    {"volume", Vex::kTextureType3d, 9, 5, 8, 4, 0},
    {"cube", Vex::kTextureTypeCubemap, 16, 16, 1, 3, 0},
    {"cube array", Vex::kTextureTypeCubemap, 8, 8, 3, 2, 0},
    {"line array", Vex::kTextureType1dArray, 13, 1, 5, 2, 0},
    {"flat array", Vex::kTextureType2dArray, 17, 9, 5, 3, 0},
    {"samples", Vex::kTextureType2dMsaa, 9, 5, 1, 1, 2},
    {"sample array", Vex::kTextureType2dArrayMsaa, 9, 5, 2, 1, 1},
};

inline Vex::Texture makeTexture(const Shape& shape, Vex::DataFormat format) {
    Vex::Texture texture;
    const auto fragments = Vex::NumFragments(shape.m_log2Fragments);
    const Vex::TileMode tileMode = Vex::kTileModeThin_1dThin;
    switch (shape.m_type) {
    case Vex::kTextureType3d:
        texture.initAs3d(shape.m_width, shape.m_height, shape.m_depth, shape.m_mips, format, tileMode);
        break;
    case Vex::kTextureType1d:
    case Vex::kTextureType2d:
    case Vex::kTextureType2dMsaa:
        texture.initAs2d(shape.m_width, shape.m_height, shape.m_mips, format, tileMode, fragments);
        break;
    default:
        texture.initAs2dArray(shape.m_width, shape.m_height, shape.m_depth, 0, shape.m_mips, format, tileMode,
                              fragments, shape.m_type == Vex::kTextureTypeCubemap);
    }
    texture.setTextureType(shape.m_type);
    return texture;
}

inline Vex::Texture makeFlat(const char* format, unsigned width, unsigned height, unsigned mips = 1) {
    return makeTexture({"", Vex::kTextureType2dArray, width, height, 1, mips, 0}, formatNamed(format));
}

// An image on a vector that is exactly as long as the descriptor asks for, until it is cut.
class TestImage : public Raw::Image {
public:
    explicit TestImage(const Vex::Texture& texture) {
        m_memoryRegion = &m_region;
        setupAsVexTexture(&texture);
        resize(getBytesTotal());
    }
    TestImage(const char* format, unsigned width, unsigned height, unsigned mips = 1)
        : TestImage(makeFlat(format, width, height, mips)) {}
    TestImage(const TestImage&) = delete;
    TestImage& operator=(const TestImage&) = delete;

    std::vector<std::uint8_t>& bytes() { return m_bytes; }
    template <typename Value> void set(std::initializer_list<Value> values) {
        std::memcpy(m_bytes.data(), values.begin(), values.size() * sizeof(Value));
    }
    template <typename Value> Value get(std::size_t index) const {
        Value value;
        std::memcpy(&value, m_bytes.data() + index * sizeof(Value), sizeof value);
        return value;
    }
    void resize(std::size_t length) {
        m_bytes.resize(length);
        m_bytes.shrink_to_fit(); // so that the address sanitizer sees its end
        m_region.begin = m_bytes.data();
        m_region.end = m_bytes.data() + length;
    }
    void fillRandomly(unsigned seed) {
        std::minstd_rand random(seed);
        for (std::uint8_t& byte : m_bytes) {
            byte = static_cast<std::uint8_t>(random() >> 16);
        }
    }
    // The view of a part of the mips and slices.
    void restrictView(unsigned baseMip, unsigned baseSlice, unsigned lastSlice) {
        m_texture.setMipLevelRange(baseMip, m_texture.getLastMipLevel());
        m_texture.setArrayView(baseSlice, lastSlice);
    }

private:
    std::vector<std::uint8_t> m_bytes;
    Raw::MemoryRegion m_region;
};

template <typename Buffer> std::span<const std::uint8_t> bytesOf(const Buffer& buffer) {
    return {reinterpret_cast<const std::uint8_t*>(&buffer), sizeof buffer};
}

template <typename Buffer> bool isZero(const Buffer& buffer) {
    for (const std::uint8_t byte : bytesOf(buffer)) {
        if (byte != 0) {
            return false;
        }
    }
    return true;
}

template <typename Buffer> Buffer filledWith(int byte) {
    Buffer buffer;
    std::memset(static_cast<void*>(&buffer), byte, sizeof buffer);
    return buffer;
}

} // namespace TestSupport
