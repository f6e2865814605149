#include "steps/image_parts.h"

#include "failure.h"
#include "float_image.h"

#include "qor/texsmith/raw/texture.h"

#include <algorithm>
#include <cstring>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kFacesOfCube = 6;

void checkIndex(const std::optional<unsigned>& index, unsigned count, const char* what) {
    if (index && *index >= count) {
        throw Failure("there is no " + std::string(what) + " " + std::to_string(*index) + " of " +
                          std::to_string(count),
                      kExitUnsupported);
    }
}

void copySurface(const Raw::MemoryMappedImage& from, const Raw::SurfaceIndex& fromIndex,
                 Raw::MemoryMappedImage* to, const Raw::SurfaceIndex& toIndex) {
    const MemoryRegion source = from.getMemoryRegion(&fromIndex), destination = to->getMemoryRegion(&toIndex);
    std::memcpy(destination.begin, source.begin,
                static_cast<std::size_t>(std::min(source.length(), destination.length())));
}

struct Shape {
    unsigned m_width, m_height, m_depth = 1, m_mips = 1, m_slices = 1;
    bool m_isCube = false;
};

OwnedImage makeShape(const Shape& shape, const Raw::MemoryMappedImage& like) {
    const Vex::DataFormat format = like.getDataFormat();
    Vex::Texture texture;
    if (shape.m_depth > 1) {
        texture.initAs3d(shape.m_width, shape.m_height, shape.m_depth, shape.m_mips, format,
                         Vex::kTileModeThick_1dThick);
    } else {
        texture.initAs2dArray(shape.m_width, shape.m_height, shape.m_slices, 0, shape.m_mips, format,
                              Vex::kTileModeThin_1dThin, Vex::kNumFragments1, shape.m_isCube);
    }
    OwnedImage image = makeImage(texture);
    image->setModifiers(like.getModifiers());
    return image;
}

unsigned atMip(unsigned length, unsigned mip) { return std::max(1u, length >> mip); }

void checkFits(const NamedImage& picture, const NamedImage& first, unsigned width, unsigned height) {
    const Vex::Texture& texture = *picture.m_image->getVexTexture();
    if (texture.getWidth() != width || texture.getHeight() != height) {
        throw Failure("its size is " + std::to_string(texture.getWidth()) + " x " +
                          std::to_string(texture.getHeight()) + ", and beside " + first.m_name +
                          " it must be " + std::to_string(width) + " x " + std::to_string(height),
                      kExitUnsupported, picture.m_name);
    }
    if (!(picture.m_image->getDataFormat() == first.m_image->getDataFormat())) {
        throw Failure("its format is not that of " + first.m_name + "; --format makes them alike",
                      kExitUnsupported, picture.m_name);
    }
}

// Where picture `i` goes.
Raw::SurfaceIndex placeOf(unsigned i, Assembly as) {
    Raw::SurfaceIndex index;
    switch (as) {
    case Assembly::kArray:
        index.arrayEntry = i;
        break;
    case Assembly::kCube:
        index.arrayEntry = i / kFacesOfCube;
        index.face = i % kFacesOfCube;
        break;
    case Assembly::kVolume:
        index.depth = i;
        break;
    case Assembly::kChain:
        index.mip = i;
        break;
    }
    return index;
}

Shape shapeOf(std::span<const NamedImage> pictures, Assembly as) {
    const auto count = static_cast<unsigned>(pictures.size());
    const Vex::Texture& first = *pictures[0].m_image->getVexTexture();
    Shape shape = {first.getWidth(), first.getHeight()};
    if (as == Assembly::kArray || as == Assembly::kCube) {
        shape.m_mips = pictures[0].m_image->getSurfaceCount().mips;
        for (const NamedImage& picture : pictures) {
            shape.m_mips = std::min(shape.m_mips, picture.m_image->getSurfaceCount().mips);
        }
    }
    shape.m_isCube = as == Assembly::kCube;
    shape.m_slices = as == Assembly::kArray ? count : as == Assembly::kCube ? count / kFacesOfCube : 1;
    shape.m_depth = as == Assembly::kVolume ? count : 1;
    shape.m_mips = as == Assembly::kChain ? count : shape.m_mips;
    return shape;
}

} // namespace

OwnedImage partOf(const Raw::MemoryMappedImage& image, const PartChoice& choice) {
    const Raw::SurfaceCount count = image.getSurfaceCount();
    if (count.fragments > 1) {
        throw Failure("textures of several samples have no parts", kExitUnsupported);
    }
    checkIndex(choice.m_mip, count.mips, "mip");
    checkIndex(choice.m_slice, count.arrayEntries, "slice");
    checkIndex(choice.m_face, count.faces, "face");
    const unsigned mip = choice.m_mip.value_or(0);
    const unsigned depth = image.getDepth(mip);
    checkIndex(choice.m_depth, depth, "slice of the volume");
    const Vex::Texture& texture = *image.getVexTexture();
    const bool isOneMip = choice.m_mip || choice.m_depth;
    OwnedImage part = makeShape({atMip(texture.getWidth(), mip), atMip(texture.getHeight(), mip),
                                 choice.m_depth ? 1 : depth, isOneMip ? 1 : count.mips,
                                 choice.m_slice ? 1 : count.arrayEntries, count.faces > 1 && !choice.m_face},
                                image);
    forEachSurface(*part, [&](const Raw::SurfaceIndex& to) {
        Raw::SurfaceIndex from = to;
        from.mip = isOneMip ? mip : to.mip;
        from.arrayEntry = choice.m_slice.value_or(to.arrayEntry);
        from.face = choice.m_face.value_or(to.face);
        from.depth = choice.m_depth.value_or(to.depth);
        copySurface(image, from, part.get(), to);
    });
    return part;
}

OwnedImage assembled(std::span<const NamedImage> pictures, Assembly as) {
    if (as == Assembly::kCube && pictures.size() % kFacesOfCube != 0) {
        throw UsageFailure("a cube has six faces, and there are " + std::to_string(pictures.size()) +
                           " pictures");
    }
    const Shape shape = shapeOf(pictures, as);
    if (shape.m_isCube && shape.m_width != shape.m_height) {
        throw Failure("the faces of a cube are squares", kExitUnsupported, pictures[0].m_name);
    }
    OwnedImage texture = makeShape(shape, *pictures[0].m_image);
    for (unsigned i = 0; i < pictures.size(); ++i) {
        const bool isChain = as == Assembly::kChain;
        checkFits(pictures[i], pictures[0], isChain ? atMip(shape.m_width, i) : shape.m_width,
                  isChain ? atMip(shape.m_height, i) : shape.m_height);
        for (unsigned mip = 0; mip < (isChain ? 1 : shape.m_mips); ++mip) {
            Raw::SurfaceIndex from, to = placeOf(i, as);
            from.mip = mip;
            to.mip += mip;
            copySurface(*pictures[i].m_image, from, texture.get(), to);
        }
    }
    return texture;
}

} // namespace Tool
