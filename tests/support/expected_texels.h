// What the texels of a picture are in a format whose selects tell where each lane is stored.
#pragma once

#include "qor/vex/data_format.h"
#include "support/tga_writer.h"

#include <array>

namespace TestSupport {

// lanesAt(x, y) gives R, G, B and A as they are stored, in as many bytes each. A channel that no lane reads
// is zero.
template <typename LanesAt>
Bytes expectedTexels(unsigned width, unsigned height, qor::Vex::DataFormat format, unsigned channelBytes,
                     LanesAt lanesAt) {
    Bytes texels;
    for (unsigned pixel = 0; pixel < width * height; ++pixel) {
        const std::array<std::uint32_t, 4> lanes = lanesAt(pixel % width, pixel / width);
        for (unsigned channel = 0; channel < unsigned(format.getNumComponents()); ++channel) {
            std::uint32_t value = 0;
            for (unsigned lane = 4; lane-- > 0;) {
                value = format.getChannel(lane) == qor::Vex::kTextureChannelX + channel ? lanes[lane] : value;
            }
            for (unsigned byte = 0; byte < channelBytes; ++byte) {
                texels.push_back(static_cast<std::uint8_t>(value >> 8 * byte & 255));
            }
        }
    }
    return texels;
}

} // namespace TestSupport
