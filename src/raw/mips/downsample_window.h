// Which texels of a surface lie under a texel of a smaller one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace qor::Texsmith::Raw {

// Half-open, in texels.
struct Window {
    unsigned m_begin;
    unsigned m_end;

    unsigned size() const { return m_end - m_begin; }
    Window within(unsigned begin, unsigned end) const {
        return {std::max(m_begin, begin), std::max(begin, std::min(m_end, end))};
    }
};

// Integers: in floats a window may reach a texel beyond the edge, first where 55 become 27.
inline Window windowUnder(unsigned position, unsigned source, unsigned destination) {
    const std::uint64_t scaled = std::uint64_t{position} * source;
    const std::uint64_t end = (scaled + source + destination - 1) / destination;
    return {static_cast<unsigned>(scaled / destination),
            static_cast<unsigned>(std::min<std::uint64_t>(end, source))};
}

inline std::vector<Window> windowsOver(unsigned source, unsigned destination) {
    std::vector<Window> windows(destination);
    for (unsigned position = 0; position < destination; ++position) {
        windows[position] = windowUnder(position, source, destination);
    }
    return windows;
}

} // namespace qor::Texsmith::Raw
