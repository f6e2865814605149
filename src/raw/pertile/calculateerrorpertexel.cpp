// The pass that sums up the errors between two surfaces, mip by mip.
#include "qor/texsmith/raw/comparison.h"
#include "raw/analysis/coded_tiles.h"
#include "raw/analysis/squared_error_lanes.h"
#include "raw/analysis/tile_decoder.h"
#include "raw/frame/check.h"
#include "simd/canonical_nan.h"
#include "simd/dispatch.h"
#include "simd/lanes4.h"
#include "simd/lanes4x2.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\calculateerrorpertexel";
constexpr unsigned kTilesAtOnce = 8; // of each side: their texels stay in the nearest cache

// One after the other.
void addTo(VectorFloat& sum, const VectorFloat* more, unsigned count) {
    using Lanes = Simd::Lanes4;
    Lanes::Float total = Lanes::loadFloats(sum.m_lanes);
    for (unsigned i = 0; i < count; ++i) {
        total = Simd::canonical<Lanes>(total + Lanes::loadFloats(more[i].m_lanes));
    }
    store(sum.m_lanes, total);
}

void addTo(VectorFloat& sum, const VectorFloat& more) { addTo(sum, &more, 1); }

bool checkArguments(const ElementProvider* imageA, const ElementProvider* imageB,
                    const Configuration* configuration) {
    const bool hasA = checkNotNull(imageA, kSourcePath, "imageA must not be NULL.");
    const bool hasB = checkNotNull(imageB, kSourcePath, "imageB must not be NULL.");
    return checkNotNull(configuration, kSourcePath, "configuration must not be NULL.") && hasA && hasB;
}

bool checkDimensions(const ElementProvider* imageA, const ElementProvider* imageB) {
    const bool agree = imageA == nullptr || imageB == nullptr || dimensionsAreIdentical(imageA, imageB);
    if (!agree) {
        toolsAssert(kSourcePath, __LINE__, "imageA and imageB must have the same dimensions.");
    }
    return agree;
}

// The errors of whole tiles in memory. The standard metric has wide kernels; all others are asked.
class TileErrors {
public:
    TileErrors(const DecoderConfiguration& a, const DecoderConfiguration& b,
               const SquaredErrorCalculator& calculator)
        : m_a(a), m_b(b), m_calculator(calculator) {
        const bool isStandard = dynamic_cast<const StandardSquaredErrorCalculator*>(&calculator) != nullptr;
        m_kernels = isStandard && Simd::mayUseAvx2() ? getTileKernelsAvx2() : nullptr;
        if (isStandard && m_a.hasFloatTexels() && m_b.hasFloatTexels()) {
            m_ofFloats =
                m_kernels != nullptr ? m_kernels->m_sumsOfFloatSquares : &sumsOfFloatSquares<Simd::Lanes4x2>;
        }
    }

    void sum(VectorFloat* sums, const ElementRows& a, const ElementRows& b, unsigned x, unsigned y,
             unsigned count) const {
        if (m_kernels != nullptr && m_a.readsBytes() && m_b.readsBytes()) {
            m_kernels->m_sumsOfByteSquares(sums, m_a.bytesAt(a, x, y), m_b.bytesAt(b, x, y), count);
            return;
        }
        if (m_ofFloats != nullptr) {
            m_ofFloats(sums, m_a.floatsAt(a, x, y), m_b.floatsAt(b, x, y), count);
            return;
        }
        Tile texelsA[kTilesAtOnce], texelsB[kTilesAtOnce];
        m_a.decode(texelsA, a, x, y, count);
        m_b.decode(texelsB, b, x, y, count);
        for (unsigned i = 0; i < count; ++i) {
            sums[i] = sumOf(texelsA[i].m_texels, texelsB[i].m_texels);
        }
    }

private:
    VectorFloat sumOf(const VectorFloat* a, const VectorFloat* b) const {
        if (m_kernels == nullptr) {
            return m_calculator.calculate(a, b, 64);
        }
        VectorFloat result;
        m_kernels->m_sumOfSquares(result.m_lanes, a->m_lanes, b->m_lanes);
        return result;
    }

    TileDecoder m_a, m_b;
    const SquaredErrorCalculator& m_calculator;
    const TileKernels* m_kernels;
    SumsOfFloatSquares m_ofFloats = nullptr; // where both sides are floats as they are measured
};

} // namespace

void ErrorSummary::Clear() { *this = {}; }

void ErrorSummary::Add(const ErrorSummary& other) {
    for (unsigned mip = 0; mip < kMaxMips; ++mip) {
        addTo(sums[mip], other.sums[mip]);
        counts[mip] += other.counts[mip];
    }
}

VectorFloat ErrorSummary::Mean() const {
    VectorFloat sum = {};
    std::uint32_t count = 0;
    for (unsigned mip = 0; mip < mipCount && mip < kMaxMips; ++mip) {
        addTo(sum, sums[mip]);
        count += counts[mip];
    }
    const float texels = count != 0 ? static_cast<float>(count) : 1.0f;
    return {{sum[0] / texels, sum[1] / texels, sum[2] / texels, sum[3] / texels}};
}

CalculateErrorPerTexel::CalculateErrorPerTexel(ErrorSummary* destination, const ElementProvider* imageA,
                                               const ElementProvider* imageB, Configuration* configuration,
                                               const SquaredErrorCalculator* calculator)
    : m_destination(destination), m_imageA(imageA), m_imageB(imageB), m_calculator(calculator) {
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasArguments = checkArguments(imageA, imageB, configuration);
    m_areAlike = checkDimensions(imageA, imageB);
    const bool hasCalculator = checkNotNull(calculator, kSourcePath, "calculator must not be NULL.");
    m_isUsable = hasDestination && hasArguments && hasCalculator;
    if (m_isUsable) {
        m_decoderA = decoderFor(*imageA, configuration->m_decoderConfiguration);
        m_decoderB = decoderFor(*imageB, configuration->m_decoderConfiguration);
        m_isUsable = canDecodeTiles(*imageA) && canDecodeTiles(*imageB);
    }
}

Error CalculateErrorPerTexel::doPrologue(unsigned) const {
    std::for_each(std::begin(m_slots), std::end(m_slots), [](ErrorSummary& slot) { slot.Clear(); });
    return kErrorNone;
}

Error CalculateErrorPerTexel::doPerTileCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                                unsigned x, unsigned y) const {
    if (!m_isUsable || surfaceIndex->mip >= ErrorSummary::kMaxMips) {
        return kErrorFailed;
    }
    if (m_imageA->surfaceIsOutside(surfaceIndex)) {
        return kErrorNone;
    }
    Tile a, b;
    decodeTileOf(&a, *m_imageA, surfaceIndex, x, y, m_decoderA);
    decodeTileOf(&b, *m_imageB, surfaceIndex, x, y, m_decoderB);
    addTile(callbackId, surfaceIndex->mip, x, y, a, b);
    return kErrorNone;
}

// The padding of a tile that overhangs the surface must not be counted.
void CalculateErrorPerTexel::addTile(unsigned callbackId, unsigned mip, unsigned x, unsigned y, const Tile& a,
                                     const Tile& b) const {
    ErrorSummary& slot = m_slots[callbackId];
    const unsigned wide = m_imageA->getPixelsWide(mip), tall = m_imageA->getPixelsTall(mip);
    const unsigned left = x * 8, top = y * 8;
    if (left + 8 <= wide && top + 8 <= tall) {
        addTo(slot.sums[mip], m_calculator->calculate(a.m_texels, b.m_texels, 64));
        slot.counts[mip] += 64;
        return;
    }
    for (unsigned row = 0; row < 8 && top + row < tall; ++row) {
        for (unsigned column = 0; column < 8 && left + column < wide; ++column) {
            const unsigned texel = row * 8 + column;
            addTo(slot.sums[mip], m_calculator->calculate(&a.m_texels[texel], &b.m_texels[texel], 1));
            ++slot.counts[mip];
        }
    }
}

// Opens where both have rows in memory, of one size.
OpenSurface CalculateErrorPerTexel::doOpenSurface(const SurfaceIndex* surfaceIndex) const {
    OpenSurface surface;
    if (m_isUsable && m_areAlike && surfaceIndex->mip < ErrorSummary::kMaxMips) {
        surface.m_isHidden = m_imageA->surfaceIsOutside(surfaceIndex);
        surface.m_source = m_imageA->getElementRows(surfaceIndex);
        surface.m_destination = m_imageB->getElementRows(surfaceIndex);
        surface.m_hasRows = surface.m_source.m_memory != nullptr && surface.m_destination.m_memory != nullptr;
    }
    return surface;
}

unsigned CalculateErrorPerTexel::doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                                const OpenSurface& surface, unsigned y) const {
    const unsigned mip = surfaceIndex->mip;
    if (surface.m_isHidden) {
        return m_imageA->getTilesWide(mip);
    }
    if (!surface.m_hasRows) {
        return 0;
    }
    const TileErrors errors(m_decoderA, m_decoderB, *m_calculator);
    ErrorSummary& slot = m_slots[callbackId];
    return surface.forWholeTiles(*m_imageA, mip, y, kTilesAtOnce, [&](unsigned x, unsigned count) {
        VectorFloat sums[kTilesAtOnce];
        errors.sum(sums, surface.m_source, surface.m_destination, x, y, count);
        addTo(slot.sums[mip], sums, count);
        slot.counts[mip] += 64 * count;
        return true;
    });
}

Error CalculateErrorPerTexel::doEpilogue(unsigned callbacks) const {
    if (!m_isUsable) {
        return kErrorFailed;
    }
    m_destination->Clear();
    m_destination->mipCount = m_imageA->getSurfaceCount().mips;
    std::for_each(m_slots, m_slots + callbacks,
                  [this](const ErrorSummary& slot) { m_destination->Add(slot); });
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
