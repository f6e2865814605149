// What a conversion may do to a picture besides its size and format.
#pragma once

#include "command.h"

#include "qor/vex/texture.h"

#include <optional>
#include <string>

namespace Tool {

// In texels of the largest mip.
struct Rectangle {
    unsigned m_x = 0, m_y = 0, m_width = 0, m_height = 0;
};

struct StepOptions {
    std::optional<Rectangle> m_crop;
    bool m_mirrors = false;   // left becomes right
    bool m_turnsOver = false; // top becomes bottom
    std::string m_swizzle;    // four of "rgba01": where the new channels come from; empty: nowhere else
    std::string m_inverted;   // of "rgba"
    bool m_premultiplies = false;
    std::optional<unsigned> m_maxSize, m_padToMultiple;

    unsigned m_mostMips = 16;
    std::string m_mipFilter = "box";      // box, triangle, cubic or lanczos
    std::optional<float> m_alphaCoverage; // the threshold
    bool m_isNormalMap = false;

    std::optional<qor::Vex::TileMode> m_tileMode;

    // Whether texels of the picture change, or move, before mips are made.
    bool changePicture() const {
        return m_crop || m_mirrors || m_turnsOver || changeChannels() || m_maxSize || m_padToMultiple;
    }
    bool changeChannels() const { return !m_swizzle.empty() || !m_inverted.empty() || m_premultiplies; }
};

extern const OptionGroup kStepOptions, kMipOptions;

// Throws UsageFailure.
StepOptions stepOptionsOf(const Options& options);

// "Thin_2dThin", whatever its case. Throws UsageFailure, which lists the names.
qor::Vex::TileMode tileModeNamed(const std::string& name);

} // namespace Tool
