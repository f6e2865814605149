// Where the surfaces of a texture lie in tiled memory, and bands of their rows.
#pragma once

#include "qor/gpu_address/gpu_address.h"
#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/memory_region.h"
#include "qor/texsmith/raw/tilers.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// The invalid format has no texels, and a texture of it no bytes.
bool hasNoTexels(const Vex::Texture& texture);
// The slice of tiled memory that a surface lies in: arrays of cubemaps count faces.
unsigned sliceOf(const SurfaceIndex& surfaceIndex, const SurfaceCount& count);
// A texture whose tile mode field is all ones lies in rows, padded to 8 elements, at offset 0.
bool isLinearGeneral(const Vex::Texture& texture);
// Such a texture has room for one surface. Reports one that has more.
bool checkHasRoom(const Vex::Texture& texture, const char* sourcePath);
// Where one mip of one slice lies; 0 and 0 for an invalid format. The size of a linear general surface is a
// rule of thumb that forgets blocks, slices and fragments: what may be touched is what a tiler says.
int computeSurfaceOffsetAndSize(std::uint64_t* offset, std::uint64_t* size, const Vex::Texture* texture,
                                unsigned mip, unsigned arraySlice);
// `bytes` of tiled memory at `offset`, or null when they do not lie in `tiled`.
std::uint8_t* tiledBytesAt(const MemoryRegion& tiled, std::uint64_t offset, std::uint64_t bytes);

// A band of rows of one surface of an image, and the tiled surface that it belongs to.
struct SurfaceRows {
    Tilers m_tilers;
    std::uint8_t* m_tiled = nullptr;  // start of the surface
    std::uint8_t* m_linear = nullptr; // start of the band
    GpuAddress::SurfaceRegion m_region = {};
    unsigned m_pitch = 0;
    unsigned m_slicePitch = 0;
};
// Fails when either side lies outside its memory. An empty band gets no tiler. `sourcePath` is that of the
// caller, for reports.
Error locateSurfaceRows(SurfaceRows* rows, const Image* image, const MemoryRegion& tiled,
                        const SurfaceIndex* surfaceIndex, unsigned begin, unsigned end,
                        const char* sourcePath);
// Reports a status that is not success.
Error checkAddressStatus(int status, const char* sourcePath);

} // namespace qor::Texsmith::Raw
