// Providers of one surface each, joined to one texture.
#include "qor/texsmith/raw/view.h"
#include "raw/frame/check.h"
#include "raw/surfaces/extent.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\comboelementprovider";
constexpr SurfaceIndex kOnlySurface;

} // namespace

ComboElementProvider::ComboElementProvider(ElementProvider** providers, int count, Vex::Texture texture) {
    init(providers, count, texture);
}

void ComboElementProvider::init(ElementProvider** providers, int count, Vex::Texture texture) {
    const bool hasProviders = checkNotNull(providers, kSourcePath, "providers must not be NULL.");
    m_providers = providers;
    m_count = 0; // for callers whose handler throws
    m_count = check(count > 0, kSourcePath, "count > 0") && hasProviders ? static_cast<unsigned>(count) : 0;
    const ElementProvider* first = nullptr;
    for (unsigned i = 0; i < m_count; ++i) {
        if (providers[i] == nullptr) {
            toolsAssert(kSourcePath, __LINE__, "providers[%d] must not be NULL.", static_cast<int>(i));
        } else if (first == nullptr) {
            first = providers[i];
        } else if (providers[i]->getDataFormat() != first->getDataFormat()) {
            toolsAssert(kSourcePath, __LINE__,
                        "A ComboElementProvider's constituent ElementProviders must all have the same "
                        "DataFormat, but #%d does not.",
                        static_cast<int>(i));
        }
    }
    if (first != nullptr) {
        texture = changeDataFormat(texture, first->getDataFormat());
    }
    setupAsVexTexture(&texture);
    std::uint64_t offset = 0;
    for (unsigned mip = 0; mip < std::size(m_mipOffset) && mip < m_surfaceCount.mips; ++mip) {
        m_mipOffset[mip] = offset;
        offset += std::uint64_t{getDepth(mip)} * m_surfaceCount.fragments;
    }
    m_faceStride = offset;
    m_arrayStride = m_faceStride * m_surfaceCount.faces;
}

std::uint64_t ComboElementProvider::numberOf(const SurfaceIndex& index) const {
    return index.arrayEntry * m_arrayStride + index.face * m_faceStride +
           m_mipOffset[index.mip % std::size(m_mipOffset)] +
           std::uint64_t{index.depth} * m_surfaceCount.fragments + index.fragment;
}

// Null, and reported when there are not that many.
const ElementProvider* ComboElementProvider::find(const SurfaceIndex& surfaceIndex) const {
    const std::uint64_t number = numberOf(surfaceIndex);
    if (number < m_count) {
        return m_providers[number];
    }
    toolsAssert(
        kSourcePath, __LINE__,
        "This ComboElementProvider has %d ElementProviders, but you tried to get ElementProvider #%d.",
        static_cast<int>(m_count), static_cast<int>(number));
    return nullptr;
}

// Null where the surface is of another shape than its provider, or has none.
const ElementProvider* ComboElementProvider::findAlike(const SurfaceIndex& surfaceIndex) const {
    const std::uint64_t number = numberOf(surfaceIndex);
    const ElementProvider* const found = number < m_count ? m_providers[number] : nullptr;
    if (found == nullptr || found->getBytesPerElement() != getBytesPerElement() ||
        found->getPixelsPerElementWide() != getPixelsPerElementWide()) {
        return nullptr;
    }
    const Extent own = pixelsOf(m_texture, surfaceIndex.mip), shown = pixelsOf(found->getTexture(), 0);
    return own.m_wide == shown.m_wide && own.m_tall == shown.m_tall ? found : nullptr;
}

void ComboElementProvider::doGetBlock(const SurfaceIndex* surfaceIndex, Block* block, unsigned x,
                                      unsigned y) const {
    if (const ElementProvider* provider = find(*surfaceIndex)) {
        provider->getBlock(&kOnlySurface, block, x, y);
    } else {
        *block = {};
    }
}

void ComboElementProvider::doPutBlock(const SurfaceIndex* surfaceIndex, const Block* block, unsigned x,
                                      unsigned y) const {
    if (const ElementProvider* provider = find(*surfaceIndex)) {
        provider->putBlock(&kOnlySurface, block, x, y);
    }
}

void ComboElementProvider::doGetTile(const SurfaceIndex* surfaceIndex, Tile* tile, unsigned x,
                                     unsigned y) const {
    if (const ElementProvider* provider = find(*surfaceIndex)) {
        provider->getTile(&kOnlySurface, tile, x, y);
    } else {
        *tile = {};
    }
}

void ComboElementProvider::doPutTile(const SurfaceIndex* surfaceIndex, const Tile* tile, unsigned x,
                                     unsigned y) const {
    if (const ElementProvider* provider = find(*surfaceIndex)) {
        provider->putTile(&kOnlySurface, tile, x, y);
    }
}

void ComboElementProvider::doGetTexel(const SurfaceIndex* surfaceIndex, Properties* properties, unsigned x,
                                      unsigned y) const {
    if (const ElementProvider* provider = find(*surfaceIndex)) {
        provider->getTexel(&kOnlySurface, properties, x, y);
    }
}

const std::type_info* ComboElementProvider::doGetRowsClass() const { return &typeid(ComboElementProvider); }

ElementRows ComboElementProvider::doGetElementRows(const SurfaceIndex* surfaceIndex) const {
    const ElementProvider* const provider = findAlike(*surfaceIndex);
    return provider != nullptr ? provider->getElementRows(&kOnlySurface) : ElementRows{};
}

ElementRows ComboElementProvider::doGetElementRun(const SurfaceIndex* surfaceIndex, unsigned x,
                                                  unsigned y) const {
    const ElementProvider* const provider = findAlike(*surfaceIndex);
    return provider != nullptr ? provider->getElementRun(&kOnlySurface, x, y) : ElementRows{};
}

bool ComboElementProvider::doGetStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                                      unsigned y) const {
    const ElementProvider* const provider = findAlike(*surfaceIndex);
    return provider != nullptr && provider->getStrip(&kOnlySurface, strip, x, y);
}

bool ComboElementProvider::doPutStrip(const SurfaceIndex* surfaceIndex, const ElementRows& strip, unsigned x,
                                      unsigned y) const {
    const ElementProvider* const provider = findAlike(*surfaceIndex);
    return provider != nullptr && provider->putStrip(&kOnlySurface, strip, x, y);
}

} // namespace qor::Texsmith::Raw
