// Parts of textures, and textures of parts. Texels keep their bytes.
#pragma once

#include "steps/owned_image.h"

#include <optional>
#include <span>
#include <string>

namespace Tool {

// Which mip, slice of an array, face and slice of a volume; what is not chosen is taken whole.
struct PartChoice {
    std::optional<unsigned> m_mip, m_slice, m_face, m_depth;
};

// Throws Failure for a part that there is not. Of a slice of a volume the one mip is left that it lies in.
OwnedImage partOf(const qor::Texsmith::Raw::MemoryMappedImage& image, const PartChoice& choice);

enum class Assembly { kArray, kCube, kVolume, kChain };

struct NamedImage {
    std::string m_name;
    OwnedImage m_image;
};

// One texture of the first slices and faces of several pictures: with the mips that they all have, for arrays
// and cubes (+X, -X, +Y, -Y, +Z, -Z, and as many cubes as there are six), with one for volumes, and for a
// chain each picture a mip. Throws Failure, in the name of the picture that does not fit the first.
OwnedImage assembled(std::span<const NamedImage> pictures, Assembly as);

} // namespace Tool
