// Surfaces for tests of measures: with texels as floats, without rows in memory, and settings for both
// managers.
#pragma once

#include "simd/dispatch.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace TestSupport {

using Texels = std::vector<Raw::VectorFloat>;

inline Vex::Texture makeFloats(unsigned width, unsigned height) {
    return makeFlat("R32G32B32A32Float", width, height);
}

// The texels of an image of floats, in the order of their storage.
inline Texels texelsOf(TestImage& image) {
    Texels texels(image.bytes().size() / sizeof(Raw::VectorFloat));
    std::memcpy(texels.data(), image.bytes().data(), image.bytes().size());
    return texels;
}
inline void setTexels(TestImage& image, const Texels& texels) {
    std::memcpy(image.bytes().data(), texels.data(), image.bytes().size());
}

// What reading `source` gives, by the way of a change of format.
inline Texels decodedTexels(const Raw::ElementProvider& source) {
    TestImage floats(Raw::changeDataFormat(source.getTexture(), formatNamed("R32G32B32A32Float")));
    Raw::Configuration configuration;
    Raw::reformat(&source, &floats, &configuration);
    return texelsOf(floats);
}

// Numbers whose sums and squares are exact in single precision.
inline Texels exactTexels(std::size_t count, unsigned seed) {
    std::minstd_rand random(seed);
    Texels texels(count);
    for (Raw::VectorFloat& texel : texels) {
        for (float& lane : texel.m_lanes) {
            lane = static_cast<float>(static_cast<int>(random() % 257) - 64) / 64;
        }
    }
    return texels;
}

// Calls `use(provider, configuration)` for the image and for its tiles alone, with and without wide kernels,
// on this thread and on the pool.
template <typename Use> void inEveryWay(const Raw::ElementProvider& image, unsigned callbacks, Use use) {
    const TilesOnly tiles(image);
    Raw::SerialJobManager serial;
    for (unsigned way = 0; way < 8; ++way) {
        Raw::Configuration configuration;
        configuration.m_callbacksPerJob = callbacks;
        configuration.m_jobManager = way % 2 != 0 ? &serial : configuration.m_jobManager;
        qor::Texsmith::Simd::allowAvx2(way / 2 % 2 != 0);
        SCOPED_TRACE(way);
        use(way < 4 ? static_cast<const Raw::ElementProvider&>(tiles) : image, configuration);
    }
    qor::Texsmith::Simd::allowAvx2(true);
}

} // namespace TestSupport
