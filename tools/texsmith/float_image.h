// Files as surfaces of floats, which measures and comparisons work on.
#pragma once

#include "qor/texsmith/raw/file_description.h"
#include "qor/texsmith/raw/image.h"

#include <string>

namespace Tool {

// Calls use(index) for the surfaces of all mips, from the largest mip on.
template <typename Use> void forEachSurface(const qor::Texsmith::Raw::ElementProvider& image, Use use) {
    const qor::Texsmith::Raw::SurfaceCount count = image.getSurfaceCount();
    qor::Texsmith::Raw::SurfaceIndex index;
    for (index.mip = 0; index.mip < count.mips; ++index.mip) {
        for (index.arrayEntry = 0; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
            for (index.face = 0; index.face < count.faces; ++index.face) {
                for (index.depth = 0; index.depth < image.getDepth(index.mip); ++index.depth) {
                    for (index.fragment = 0; index.fragment < count.fragments; ++index.fragment) {
                        use(index);
                    }
                }
            }
        }
    }
}

// Loads the first texture of a file, and returns what the file says of its numbers. `type` is what the
// standard input holds. Throws Failure.
qor::Texsmith::Raw::FileTransfer loadFile(qor::Texsmith::Raw::MemoryMappedImage* image,
                                          const std::string& name, const std::string& type = {});

enum class SrgbValues { kAsStored, kAsLight };

// The first `mips` mips of `image` as four floats a texel, integers as they are. Throws Failure, in the name
// of the file, for a format that cannot be read.
void convertToFloats(qor::Texsmith::Raw::MemoryMappedImage* floats,
                     const qor::Texsmith::Raw::MemoryMappedImage& image, unsigned mips, SrgbValues srgb,
                     const std::string& name);

// One texel of a surface of floats.
const float* texelOf(const qor::Texsmith::Raw::ElementRows& rows, unsigned x, unsigned y);

inline constexpr const char* kChannelNames[4] = {"R", "G", "B", "A"};

} // namespace Tool
