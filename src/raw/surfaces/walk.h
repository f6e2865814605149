// Visits the surfaces of a texture in surface order.
#pragma once

#include "qor/texsmith/raw/texture.h"

namespace qor::Texsmith::Raw {

// for (SurfaceWalk walk(count, texture); !walk.atEnd(); walk.advance()) use(walk.index());
class SurfaceWalk {
public:
    SurfaceWalk(const SurfaceCount& count, const Vex::Texture& texture)
        : m_count(count), m_texture(texture), m_depth(getDepthOfMip(texture, 0)) {}

    bool atEnd() const { return m_index.mip >= m_count.mips; }
    const SurfaceIndex& index() const { return m_index; }
    void advance() {
        if (step(m_index.fragment, m_count.fragments) && step(m_index.depth, m_depth) &&
            step(m_index.face, m_count.faces) && step(m_index.arrayEntry, m_count.arrayEntries)) {
            ++m_index.mip;
            m_depth = getDepthOfMip(m_texture, m_index.mip);
        }
    }

private:
    // Counts one wheel on; true when it has come round.
    static bool step(std::uint32_t& digit, std::uint32_t size) {
        digit = digit + 1 < size ? digit + 1 : 0;
        return digit == 0;
    }

    SurfaceCount m_count;
    const Vex::Texture& m_texture;
    std::uint32_t m_depth;
    SurfaceIndex m_index;
};

} // namespace qor::Texsmith::Raw
