// The pass that writes how far the texels of two surfaces are apart.
#include "qor/texsmith/raw/comparison.h"
#include "raw/analysis/coded_tiles.h"
#include "raw/frame/check.h"
#include "simd/canonical_nan.h"
#include "simd/lanes4.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\calculateabsolutedifferencepertexel";

void checkDimensions(const ElementProvider* destination, const ElementProvider* image, const char* message) {
    if (!dimensionsAreIdentical(destination, image)) {
        toolsAssert(kSourcePath, __LINE__, message);
    }
}

} // namespace

CalculateAbsoluteDifferencePerTexel::CalculateAbsoluteDifferencePerTexel(ElementProvider* destination,
                                                                         const ElementProvider* imageA,
                                                                         const ElementProvider* imageB,
                                                                         Configuration* configuration)
    : m_destination(destination), m_imageA(imageA), m_imageB(imageB) {
    const bool hasDestination = checkNotNull(destination, kSourcePath, "destination must not be NULL.");
    const bool hasA = checkNotNull(imageA, kSourcePath, "imageA must not be NULL.");
    const bool hasB = checkNotNull(imageB, kSourcePath, "imageB must not be NULL.");
    const bool hasSettings = checkNotNull(configuration, kSourcePath, "configuration must not be NULL.");
    m_isUsable = hasDestination && hasA && hasB && hasSettings;
    if (m_isUsable) {
        checkDimensions(destination, imageA, "destination and imageA must have the same dimensions.");
        checkDimensions(destination, imageB, "destination and imageB must have the same dimensions.");
        m_encoder = encoderFor(*destination, configuration->m_encoderConfiguration);
        m_decoderA = decoderFor(*imageA, configuration->m_decoderConfiguration);
        m_decoderB = decoderFor(*imageB, configuration->m_decoderConfiguration);
        m_isUsable = canEncodeTiles(*destination) && canDecodeTiles(*imageA) && canDecodeTiles(*imageB);
    }
}

Error CalculateAbsoluteDifferencePerTexel::doPerTileCallback(unsigned, const SurfaceIndex* surfaceIndex,
                                                             unsigned x, unsigned y) const {
    if (!m_isUsable) {
        return kErrorFailed;
    }
    Tile a, b;
    decodeTileOf(&a, *m_imageA, surfaceIndex, x, y, m_decoderA);
    decodeTileOf(&b, *m_imageB, surfaceIndex, x, y, m_decoderB);
    for (unsigned i = 0; i < 64; ++i) {
        const Simd::Float4 difference = Simd::loadFloats(&a.m_texels[i]) - Simd::loadFloats(&b.m_texels[i]);
        Simd::store(&a.m_texels[i], Simd::canonical<Simd::Lanes4>(absolute(difference)));
    }
    encodeTileTo(*m_destination, surfaceIndex, x, y, a, m_encoder);
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
