#include "shown_surfaces.h"

#include "console.h"
#include "failure.h"
#include "float_image.h"

#include "qor/texsmith/raw/view.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kMostTiles = Vex::kMaxTextureSize / 8;

unsigned slicesOf(const Raw::ElementProvider& texture, unsigned mip) {
    const Raw::SurfaceCount count = texture.getSurfaceCount();
    return count.arrayEntries * count.faces * texture.getDepth(mip);
}

struct Tiles {
    std::uint64_t m_wide, m_tall;
    bool fit() const { return m_wide <= kMostTiles && m_tall <= kMostTiles; }
    std::string text() const {
        return std::to_string(m_wide * 8) + " x " + std::to_string(m_tall * 8) + " pixels";
    }
};

Tiles crossAt(const Raw::ElementProvider& texture, unsigned mip) {
    return {4 * std::uint64_t{texture.getTilesWide(mip)}, 3 * std::uint64_t{texture.getTilesTall(mip)}};
}

Tiles gridAt(const Raw::ElementProvider& texture, unsigned mip, unsigned columns) {
    const std::uint64_t rows = (slicesOf(texture, mip) + std::uint64_t{columns} - 1) / columns;
    return {std::uint64_t{columns} * texture.getTilesWide(mip), rows * texture.getTilesTall(mip)};
}

// About as wide as tall, but no wider and no taller than fits, where both can be had.
unsigned columnsFor(const Raw::ElementProvider& texture, unsigned mip) {
    const unsigned slices = slicesOf(texture, mip);
    const unsigned wide = texture.getTilesWide(mip), tall = texture.getTilesTall(mip);
    const unsigned mostRows = kMostTiles / tall, mostColumns = std::min(kMostTiles / wide, slices);
    const double square = std::sqrt(static_cast<double>(slices) * tall / wide);
    return std::max((slices + mostRows - 1) / mostRows,
                    std::min(static_cast<unsigned>(std::lround(square)), mostColumns));
}

[[noreturn]] void throwTooLarge(const Tiles& size) {
    throw UsageFailure("the picture would have " + size.text() +
                       ", and 16384 either way are the most; --mip, --face and --slice draw one surface");
}

// The texture without its mips before `mip`.
Vex::Texture withoutMips(const Raw::ElementProvider& texture, unsigned mip) {
    Vex::Texture rest = texture.getTexture();
    rest.setWidthMinus1(texture.getPixelsWide(mip) - 1);
    rest.setHeightMinus1(texture.getPixelsTall(mip) - 1);
    if (rest.getTextureType() == Vex::kTextureType3d) {
        rest.setDepthMinus1(texture.getDepth(mip) - 1);
    }
    rest.setMipLevelRange(0, texture.getSurfaceCount().mips - 1 - mip);
    return rest;
}

// The canvas of the mips from one on.
class LaterCanvas : public Raw::AsCanvasElementProvider {
public:
    LaterCanvas(const Raw::ElementProvider& texture, unsigned mip) {
        const Vex::Texture rest = withoutMips(texture, mip);
        const Raw::SurfaceCount count(rest);
        Raw::SurfaceIndex index;
        for (index.arrayEntry = 0; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
            for (index.face = 0; index.face < count.faces; ++index.face) {
                for (index.mip = mip; index.mip < mip + count.mips; ++index.mip) {
                    addSlices(texture, index);
                }
            }
        }
        for (const auto& surface : m_surfaces) {
            m_providers.push_back(surface.get());
        }
        m_combo.init(m_providers.data(), static_cast<int>(m_providers.size()), rest);
        m_combo.setModifiers(texture.getModifiers());
        setTarget(&m_combo);
    }

private:
    const std::type_info* doGetRowsClass() const override { return &typeid(LaterCanvas); }
    void addSlices(const Raw::ElementProvider& texture, Raw::SurfaceIndex index) {
        for (; index.depth < texture.getDepth(index.mip); ++index.depth) {
            for (index.fragment = 0; index.fragment < texture.getFragments(); ++index.fragment) {
                m_surfaces.push_back(std::make_unique<Raw::AsSurfaceElementProvider>(&texture, &index));
            }
        }
    }

    std::vector<std::unique_ptr<Raw::AsSurfaceElementProvider>> m_surfaces;
    std::vector<Raw::ElementProvider*> m_providers;
    Raw::ComboElementProvider m_combo;
};

void checkBelow(unsigned value, unsigned count, const char* what, const char* plural) {
    if (value >= count) {
        throw UsageFailure("there is no " + std::string(what) + " " + std::to_string(value) +
                           ": the file has " + std::to_string(count) + " " + (count == 1 ? what : plural));
    }
}

} // namespace

ShownSurfaces::ShownSurfaces(const Raw::ElementProvider& texture, const SurfaceChoice& choice)
    : m_choice(choice) {
    const Raw::SurfaceCount count = texture.getSurfaceCount();
    const bool isVolume = texture.getTexture().getTextureType() == Vex::kTextureType3d;
    m_surface.mip = choice.m_mip.value_or(0);
    checkBelow(m_surface.mip, count.mips, "mip", "mips");
    checkBelow(choice.m_face, count.faces, "face", "faces");
    checkBelow(choice.m_slice, isVolume ? texture.getDepth(m_surface.mip) : count.arrayEntries, "slice",
               "slices");
    m_surface.face = choice.m_face;
    (isVolume ? m_surface.depth : m_surface.arrayEntry) = choice.m_slice;
    if (choice.m_kind == SurfaceChoice::Kind::kCross && count.faces != 6) {
        throw UsageFailure("--cross shows cubes, and the file is none");
    }
    if (choice.m_kind == SurfaceChoice::Kind::kCanvas) {
        fitCanvas(texture);
    } else if (choice.m_kind != SurfaceChoice::Kind::kSurface) {
        fitTiles(texture);
    }
}

// Begins at a smaller mip where there is one slice, and lays more slices out in a grid.
void ShownSurfaces::fitCanvas(const Raw::ElementProvider& texture) {
    const Raw::CanvasLayout whole(texture.getTexture());
    if (whole.isWhole()) {
        return;
    }
    const unsigned mips = texture.getSurfaceCount().mips;
    const std::string tooLarge = "the canvas of all surfaces would have " +
                                 Tiles{whole.getTilesWide(), whole.getTilesTall()}.text() + ", so ";
    unsigned mip = 0;
    if (slicesOf(texture, 0) == 1) {
        while (mip + 1 < mips && !Raw::CanvasLayout(withoutMips(texture, mip)).isWhole()) {
            ++mip;
        }
        hint(tooLarge + "it begins at mip " + std::to_string(mip));
    } else {
        while (mip + 1 < mips && !gridAt(texture, mip, columnsFor(texture, mip)).fit()) {
            ++mip;
        }
        m_choice.m_kind = SurfaceChoice::Kind::kGrid;
        m_choice.m_columns = columnsFor(texture, mip);
        if (const Tiles grid = gridAt(texture, mip, m_choice.m_columns); !grid.fit()) {
            throwTooLarge(grid);
        }
        hint(tooLarge + "the slices of mip " + std::to_string(mip) + " are laid out in a grid");
    }
    m_surface.mip = mip;
}

// The mip that was asked for, else the first one that fits.
void ShownSurfaces::fitTiles(const Raw::ElementProvider& texture) {
    const auto sizeAt = [&](unsigned mip) {
        return m_choice.m_kind == SurfaceChoice::Kind::kCross ? crossAt(texture, mip)
                                                              : gridAt(texture, mip, m_choice.m_columns);
    };
    const Tiles largest = sizeAt(m_surface.mip);
    while (!m_choice.m_mip && !sizeAt(m_surface.mip).fit() &&
           m_surface.mip + 1 < texture.getSurfaceCount().mips) {
        ++m_surface.mip;
    }
    if (!sizeAt(m_surface.mip).fit()) {
        throwTooLarge(largest);
    }
    if (!largest.fit()) {
        hint("the picture of mip 0 would have " + largest.text() + ", so mip " +
             std::to_string(m_surface.mip) + " is shown");
    }
}

std::unique_ptr<Raw::ElementProvider> ShownSurfaces::of(const Raw::ElementProvider& texture) const {
    switch (m_choice.m_kind) {
    case SurfaceChoice::Kind::kCross:
        return std::make_unique<Raw::AsCrossElementProvider>(&texture, &m_surface);
    case SurfaceChoice::Kind::kGrid:
        return std::make_unique<Raw::AsSlicesElementProvider>(&texture, &m_surface,
                                                              static_cast<int>(m_choice.m_columns));
    case SurfaceChoice::Kind::kSurface:
        return std::make_unique<Raw::AsSurfaceElementProvider>(&texture, &m_surface);
    case SurfaceChoice::Kind::kCanvas:
        break;
    }
    if (m_surface.mip == 0) {
        return std::make_unique<Raw::AsCanvasElementProvider>(&texture);
    }
    return std::make_unique<LaterCanvas>(texture, m_surface.mip);
}

} // namespace Tool
