#include "fuzz_target.h"

#include "raw/files/dds_and_vxf.h"

#include <algorithm>

namespace {

using namespace qor::Texsmith;

// The size of an image as the header has it, from above: a cube, with all mips of 16 bytes an element.
std::uint64_t mostTexels(const std::uint8_t* data, std::size_t size) {
    if (size < 128) {
        return 0;
    }
    std::uint32_t height, width, depth;
    std::memcpy(&height, data + 12, sizeof height);
    std::memcpy(&width, data + 16, sizeof width);
    std::memcpy(&depth, data + 24, sizeof depth);
    const bool isVolume = (data[114] & 0x20) != 0;
    const std::uint64_t flat = std::uint64_t{std::max(width, 1u)} * std::max(height, 1u);
    return flat > Fuzz::kMostTexels ? flat : flat * (isVolume ? std::max(depth, 1u) : 6);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (mostTexels(data, size) > Fuzz::kMostTexels) {
        return 0;
    }
    Fuzz::Input input(data, size);
    Raw::AllocatedMemory memory, classic, extended, container, back;
    Raw::ReallocatableImage image(&memory);
    Fuzz::chooseReading(input, size);
    if (Raw::convertFromDds(input.region(), &image, input.configuration()) == Raw::kErrorNone) {
        Fuzz::expectDescribed(input, ".dds", image);
    }
    if (image.getBytesTotal() == 0) {
        return 0;
    }
    Fuzz::useImage(input, ".dds", image);
    Raw::convertToDds(&image, &classic, 9, input.configuration());
    Raw::convertToDds(&image, &extended, Raw::kDdsVersionDx10, input.configuration());
    Raw::convertFromDds(&classic, static_cast<Raw::ElementProvider*>(&image), input.configuration());
    if (image.getBytesTotal() <= Fuzz::kMostTexels) {
        Raw::convertDdsToVxf(input.region(), &container, input.configuration());
        Raw::convertVxfToDds(&container, &back, 9, input.configuration());
    }
    return 0;
}
