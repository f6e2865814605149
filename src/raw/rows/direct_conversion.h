// The change of format for the pairs that people use most, and swizzles alone.
//
// One or two kernels do it: the conversion, and both formats' swizzles as one where they are not the
// identity, on that side of the conversion whose texels are smaller, a piece at a time that stays in the
// nearest cache. Texels of one or two channels go through the same kernels where the channels keep their
// places.
#pragma once

#include "raw/memory/row_stores.h"
#include "raw/rows/lane_swizzle.h"
#include "raw/rows/run_kernels.h"
#include "raw/texels/area_conversion.h"

#include <cstddef>

namespace qor::Texsmith::Raw {

class DirectConversion {
public:
    // In place of the steps of a tile.
    explicit DirectConversion(const TileConversion& steps);
    // The swizzles alone, on texels of four bytes.
    DirectConversion(Vex::DataFormat from, Vex::DataFormat to);

    // Whether there are kernels for it, which give the steps' bits.
    bool isUsable() const { return m_count != 0; }
    // Reads exactly `count` elements and writes as many. Asked to stream, the last kernel writes past the
    // caches if it has a form for that, and what it wrote is visible to other threads on return. Kernels
    // without such a form compute longer than their stores take, so that nothing would be gained.
    void convert(void* destination, const void* source, std::size_t count, RowStores stores) const;

private:
    struct Step {
        RunKernel m_cached;
        RunKernel m_streaming; // null: there is none
        std::size_t m_bytes;   // of a texel that it writes
    };

    void chooseForFour(Vex::DataFormat from, Vex::DataFormat to);
    void chooseForFew(Vex::DataFormat from, Vex::DataFormat to);
    void addStep(Run run, std::size_t bytes);
    bool chooseSettings(const LaneSwizzle& swizzle, Run run, bool fromSrgb);
    bool chooseLinearLanes(const LaneSwizzle& swizzle);
    void convertGroups(void* destination, const void* source, std::size_t groups, RunKernel last) const;
    void convertPart(void* destination, const void* source, std::size_t count) const;

    Step m_steps[2] = {};
    unsigned m_count = 0;
    std::size_t m_sourceBytes = 0; // of a texel
    std::size_t m_destinationBytes = 0;
    std::size_t m_texelsPerGroup = kTexelsPerGroup; // more for texels of fewer channels
    RunSettings m_settings = {};
};

} // namespace qor::Texsmith::Raw
