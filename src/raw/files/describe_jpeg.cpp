// The segments of a JPEG file before its pixels (ITU-T T.81, annex B), and the name of its ICC profile
// (ICC.1, annex B.4 for how it lies in segments).
#include "raw/files/channel_formats.h"
#include "raw/files/describe.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kStartOfImage = 0xD8, kEndOfImage = 0xD9, kStartOfScan = 0xDA, kProfileSegment = 0xE2;
constexpr char kProfileMark[] = "ICC_PROFILE"; // with its terminator; then number and count of the parts

std::uint32_t half(const std::uint8_t* bytes) { return std::uint32_t(bytes[0]) << 8 | bytes[1]; }
std::uint32_t word(const std::uint8_t* bytes) { return half(bytes) << 16 | half(bytes + 2); }

// Frames of all kinds but those of tables alone.
bool isFrame(unsigned marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// What no segment follows: a byte of data, and marks that belong between those.
bool isAlone(unsigned marker) { return marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD7); }

// At most `bytes` of a region from `offset` on; empty behind its end.
MemoryRegion part(const MemoryRegion& region, std::uint64_t offset, std::uint64_t bytes) {
    MemoryRegion result = region;
    result.begin += std::min<std::uint64_t>(offset, region.length());
    result.end = result.begin + std::min<std::uint64_t>(bytes, result.length());
    return result;
}

// A text of 16-bit characters, of which others than ASCII become question marks.
std::string narrow(const MemoryRegion& text) {
    std::string result;
    for (std::uint64_t i = 0; i + 2 <= text.length(); i += 2) {
        const std::uint32_t character = half(text.begin + i);
        result += character < 0x80 ? static_cast<char>(character) : '?';
    }
    return result;
}

// What a tag of type 'desc' or 'mluc' says, as far as it is there.
std::string textOfTag(const MemoryRegion& tag) {
    constexpr std::uint64_t kMostCharacters = 64;
    if (tag.length() >= 12 && std::memcmp(tag.begin, "desc", 4) == 0) {
        const MemoryRegion text =
            part(tag, 12, std::min<std::uint64_t>(word(tag.begin + 8), kMostCharacters));
        return {text.begin, std::find(text.begin, text.end, std::uint8_t{0})};
    }
    if (tag.length() >= 28 && std::memcmp(tag.begin, "mluc", 4) == 0) { // the first of its languages
        return narrow(part(tag, word(tag.begin + 24),
                           std::min<std::uint64_t>(word(tag.begin + 20), 2 * kMostCharacters)));
    }
    return {};
}

// Empty where it does not lie in the first part.
std::string nameOfProfile(const MemoryRegion& profile) {
    constexpr std::uint64_t kTagTable = 128, kTagBytes = 12, kMostTags = 100;
    const MemoryRegion count = part(profile, kTagTable, 4);
    if (count.length() < 4) {
        return {};
    }
    const std::uint64_t tags = std::min<std::uint64_t>(word(count.begin), kMostTags);
    for (std::uint64_t i = 0; i < tags; ++i) {
        const MemoryRegion tag = part(profile, kTagTable + 4 + i * kTagBytes, kTagBytes);
        if (tag.length() == kTagBytes && std::memcmp(tag.begin, "desc", 4) == 0) {
            return textOfTag(part(profile, word(tag.begin + 4), word(tag.begin + 8)));
        }
    }
    return {};
}

void readProfile(FileDescription* description, const MemoryRegion& segment) {
    constexpr std::size_t kBefore = sizeof kProfileMark + 2;
    if (segment.length() > kBefore && std::memcmp(segment.begin, kProfileMark, sizeof kProfileMark) == 0 &&
        segment.begin[sizeof kProfileMark] == 1) {
        const std::string name = nameOfProfile(part(segment, kBefore, segment.length()));
        setTransferByProfile(description, name.data(), name.size());
    }
}

//   u8 bits, u16 height, width, u8 components
bool readFrame(FileDescription* description, const MemoryRegion& segment, Vex::TextureChannelType type) {
    if (segment.length() < 6) {
        return false;
    }
    describeFlat(description, half(segment.begin + 3), half(segment.begin + 1),
                 formatOf({segment.begin[5] == 1, false, ChannelDepth::k8}, type));
    return true;
}

// Cuts the next marker and the segment behind it off the front. False where they are not all there. What lies
// between segments is passed over, as decoders do.
bool takeSegment(unsigned* marker, MemoryRegion* segment, MemoryRegion* file) {
    do {
        file->begin = std::find(file->begin, file->end, std::uint8_t{0xFF});
        file->begin = std::find_if(file->begin, file->end, [](std::uint8_t byte) { return byte != 0xFF; });
    } while (file->length() > 0 && isAlone(*file->begin));
    if (file->length() < 3) {
        return false;
    }
    *marker = file->begin[0];
    const std::uint64_t length = half(file->begin + 1); // with its own two bytes
    if (length < 2 || file->length() - 1 < length) {
        return false;
    }
    *segment = part(*file, 3, length - 2);
    file->begin = segment->end;
    return true;
}

} // namespace

// The frame may stand before the profile.
bool describeJpeg(FileDescription* description, const DescribedFile& described) {
    MemoryRegion file = described.m_region, segment;
    if (file.length() < 3 || file.begin[0] != 0xFF || file.begin[1] != kStartOfImage) {
        return false;
    }
    file.begin += 2;
    bool hasFrame = false;
    unsigned marker = 0;
    while (takeSegment(&marker, &segment, &file)) {
        if (marker == kStartOfScan || marker == kEndOfImage) {
            return hasFrame;
        }
        if (marker == kProfileSegment) {
            readProfile(description, segment);
        } else if (isFrame(marker)) {
            hasFrame = readFrame(description, segment, described.m_configuration->m_textureChannelType);
        }
    }
    return false;
}

} // namespace qor::Texsmith::Raw
