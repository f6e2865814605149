// Counting, naming and comparing the surfaces of textures.
#include "qor/texsmith/raw/texture.h"

#include "qor/texsmith/raw/element_provider.h"
#include "raw/frame/check.h"
#include "raw/texels/texture_format.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\surfaces\\texture";

constexpr unsigned kCubeFaces = 6;

bool checkPair(const ElementProvider* a, const ElementProvider* b) {
    const bool hasA = checkNotNull(a, kSourcePath, "a must not be NULL.");
    const bool hasB = checkNotNull(b, kSourcePath, "b must not be NULL.");
    return hasA && hasB;
}

unsigned surfacesOfMip(const SurfaceCount& count, const Vex::Texture& texture, unsigned mip) {
    return count.arrayEntries * count.faces * getDepthOfMip(texture, mip) * count.fragments;
}

// Splits the lowest digit off a number whose digits run to `size`.
unsigned takeDigit(unsigned& number, unsigned size) {
    const unsigned digit = number % size;
    number /= size;
    return digit;
}

} // namespace

SurfaceIndex SurfaceIndex::getNext() const {
    return {first + 1, arrayEntry + 1, face + 1, mip + 1, depth + 1, fragment + 1, last + 1};
}

SurfaceCount::SurfaceCount(const Vex::Texture& texture)
    : arrayEntries(texture.getTextureType() == Vex::kTextureType3d ? 1 : texture.getDepth()),
      faces(texture.getTextureType() == Vex::kTextureTypeCubemap ? kCubeFaces : 1),
      mips(texture.getLastMipLevel() + 1), fragments(1u << texture.getNumFragments()) {}

unsigned getDepthOfMip(const Vex::Texture& texture, unsigned mip) {
    const bool hasDepth = texture.getTextureType() == Vex::kTextureType3d && mip < 32;
    return hasDepth ? std::max(1u, texture.getDepth() >> mip) : 1;
}

int getNumberOfSurfaces(const ElementProvider* elementProvider) {
    if (!checkNotNull(elementProvider, kSourcePath, "elementProvider must not be NULL.")) {
        return 0;
    }
    const SurfaceCount count = elementProvider->getSurfaceCount();
    unsigned surfaces = 0;
    for (unsigned mip = 0; mip < count.mips; ++mip) {
        surfaces += surfacesOfMip(count, elementProvider->getTexture(), mip);
    }
    return static_cast<int>(surfaces);
}

void getSurfaceIndexFromSurfaceNumber(SurfaceIndex* result, const ElementProvider* elementProvider,
                                      int surfaceNumber) {
    const bool hasResult = checkNotNull(result, kSourcePath, "result must not be NULL.");
    const bool hasProvider = checkNotNull(elementProvider, kSourcePath, "elementProvider must not be NULL.");
    if (!hasResult || !hasProvider || surfaceNumber < 0) {
        return;
    }
    const SurfaceCount count = elementProvider->getSurfaceCount();
    const Texture& texture = elementProvider->getTexture();
    unsigned number = static_cast<unsigned>(surfaceNumber);
    for (unsigned mip = 0; mip < count.mips; ++mip) {
        const unsigned surfaces = surfacesOfMip(count, texture, mip);
        if (number >= surfaces) {
            number -= surfaces;
            continue;
        }
        SurfaceIndex index;
        index.mip = mip;
        index.fragment = takeDigit(number, count.fragments);
        index.depth = takeDigit(number, getDepthOfMip(texture, mip));
        index.face = takeDigit(number, count.faces);
        index.arrayEntry = number;
        *result = index;
        return;
    }
}

unsigned getBlockPitchInBytes(Vex::DataFormat format) { return packedPitchInBytes(infoOf(format), 4); }
unsigned getTilePitchInBytes(Vex::DataFormat format) { return packedPitchInBytes(infoOf(format), 8); }

bool dimensionsAreIdenticalExceptMips(const Vex::Texture& a, const Vex::Texture& b) {
    return a.getTextureType() == b.getTextureType() && a.getWidth() == b.getWidth() &&
           a.getHeight() == b.getHeight() && a.getDepth() == b.getDepth() &&
           a.getBaseArraySlice() == b.getBaseArraySlice() && a.getLastArraySlice() == b.getLastArraySlice();
}

bool dimensionsAreIdentical(const Vex::Texture& a, const Vex::Texture& b) {
    return dimensionsAreIdenticalExceptMips(a, b) && a.getBaseMipLevel() == b.getBaseMipLevel() &&
           a.getLastMipLevel() == b.getLastMipLevel();
}

bool dimensionsAndSurfaceFormatAreIdentical(const Vex::Texture& a, const Vex::Texture& b) {
    return dimensionsAreIdentical(a, b) &&
           a.getDataFormat().getSurfaceFormat() == b.getDataFormat().getSurfaceFormat();
}

bool dimensionsAreIdenticalExceptMips(const ElementProvider* a, const ElementProvider* b) {
    return checkPair(a, b) && dimensionsAreIdenticalExceptMips(a->getTexture(), b->getTexture());
}

bool dimensionsAreIdentical(const ElementProvider* a, const ElementProvider* b) {
    return checkPair(a, b) && dimensionsAreIdentical(a->getTexture(), b->getTexture());
}

bool dimensionsAndSurfaceFormatAreIdentical(const ElementProvider* a, const ElementProvider* b) {
    return checkPair(a, b) && dimensionsAndSurfaceFormatAreIdentical(a->getTexture(), b->getTexture());
}

bool dimensionsAndFormatAreIdentical(const ElementProvider* a, const ElementProvider* b) {
    return checkPair(a, b) && dimensionsAndSurfaceFormatAreIdentical(a->getTexture(), b->getTexture()) &&
           a->getDataFormat() == b->getDataFormat();
}

bool areBitwiseComparableForEquality(const ElementProvider* a, const ElementProvider* b) {
    return dimensionsAndFormatAreIdentical(a, b) &&
           std::memcmp(&a->getModifiers(), &b->getModifiers(), sizeof(Modifiers)) == 0;
}

} // namespace qor::Texsmith::Raw
