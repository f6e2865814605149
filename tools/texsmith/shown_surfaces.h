// Which surfaces of a texture a picture shows, and where.
#pragma once

#include "qor/texsmith/raw/element_provider.h"

#include <memory>
#include <optional>

namespace Tool {

struct SurfaceChoice {
    enum class Kind {
        kCanvas,  // all surfaces side by side
        kCross,   // the faces of a cube
        kGrid,    // the slices of one mip
        kSurface, // one, in its exact size
    };

    Kind m_kind = Kind::kCanvas;
    std::optional<unsigned> m_mip;
    unsigned m_face = 0;
    unsigned m_slice = 0; // of an array or a volume
    unsigned m_columns = 0;
};

class ShownSurfaces {
public:
    // Where the picture would pass 16384 pixels either way, it shows smaller mips or a grid of slices
    // instead, and a hint says so. Throws UsageFailure for what `texture` does not have, and where nothing
    // of what was asked for fits.
    ShownSurfaces(const qor::Texsmith::Raw::ElementProvider& texture, const SurfaceChoice& choice);

    // Of a texture of the same shape, which must outlive it.
    std::unique_ptr<qor::Texsmith::Raw::ElementProvider>
    of(const qor::Texsmith::Raw::ElementProvider& texture) const;
    // Whether there may be places where nothing is shown.
    bool hasGaps() const { return m_choice.m_kind != SurfaceChoice::Kind::kSurface; }

private:
    void fitCanvas(const qor::Texsmith::Raw::ElementProvider& texture);
    void fitTiles(const qor::Texsmith::Raw::ElementProvider& texture);

    SurfaceChoice m_choice;
    qor::Texsmith::Raw::SurfaceIndex m_surface;
};

} // namespace Tool
