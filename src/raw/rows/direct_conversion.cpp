#include "raw/rows/direct_conversion.h"

#include "raw/texels/srgb_bytes.h"
#include "raw/texels/texture_format.h"
#include "simd/dispatch.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::size_t kStreamAlignment = 32;
constexpr std::size_t kMostTexelBytes = 16;
constexpr std::size_t kBytesBetween =
    4096; // what the first of two kernels leaves in the cache for the second

// Surface format and channel type, as they stand in a format word.
enum Kind : unsigned {
    kBytes = Vex::kTextureChannelTypeUNorm << 8 | Vex::kSurfaceFormat8_8_8_8,
    kSrgb = Vex::kTextureChannelTypeSrgb << 8 | Vex::kSurfaceFormat8_8_8_8,
    kWords = Vex::kTextureChannelTypeUNorm << 8 | Vex::kSurfaceFormat16_16_16_16,
    kHalves = Vex::kTextureChannelTypeFloat << 8 | Vex::kSurfaceFormat16_16_16_16,
    kFloats = Vex::kTextureChannelTypeFloat << 8 | Vex::kSurfaceFormat32_32_32_32,
    kTens = Vex::kTextureChannelTypeUNorm << 8 | Vex::kSurfaceFormat2_10_10_10,
    kFiveSixFive = Vex::kTextureChannelTypeUNorm << 8 | Vex::kSurfaceFormat5_6_5,
};

enum Swizzling { kBefore, kBehind };

struct Pair {
    Kind m_from;
    Kind m_to;
    Run m_run; // kRunCount: the swizzle alone
    Swizzling m_swizzling;
    unsigned m_laneBytes; // of the texels that are swizzled
};

constexpr Pair kPairs[] = {
    {kBytes, kFloats, kRunBytesToFloats, kBefore, 1},
    {kBytes, kHalves, kRunBytesToHalves, kBefore, 1},
    {kBytes, kWords, kRunBytesToWords, kBefore, 1},
    {kBytes, kTens, kRunBytesToTens, kBefore, 1},
    {kBytes, kFiveSixFive, kRunBytesToFiveSixFive, kBefore, 1},
    {kBytes, kSrgb, kRunTableBytes, kBefore, 1},
    {kSrgb, kBytes, kRunTableBytes, kBefore, 1},
    {kSrgb, kHalves, kRunTableHalves, kBefore, 1},
    {kSrgb, kFloats, kRunTableFloats, kBefore, 1},
    {kWords, kBytes, kRunWordsToBytes, kBehind, 1},
    {kHalves, kBytes, kRunHalvesToBytes, kBehind, 1},
    {kHalves, kSrgb, kRunHalvesToSrgb, kBehind, 1},
    {kHalves, kFloats, kRunHalvesToFloats, kBefore, 2},
    {kHalves, kHalves, kRunCount, kBefore, 2},
    {kFloats, kBytes, kRunFloatsToBytes, kBehind, 1},
    {kFloats, kSrgb, kRunFloatsToSrgb, kBehind, 1},
    {kFloats, kHalves, kRunFloatsToHalves, kBehind, 2},
    {kTens, kBytes, kRunTensToBytes, kBehind, 1},
    {kFiveSixFive, kBytes, kRunFiveSixFiveToBytes, kBehind, 1},
};

const Pair* findPair(Vex::DataFormat from, Vex::DataFormat to) {
    const auto isIt = [&](const Pair& pair) {
        return pair.m_from == from.getLayoutAndType() && pair.m_to == to.getLayoutAndType();
    };
    const Pair* const found = std::find_if(std::begin(kPairs), std::end(kPairs), isIt);
    return found == std::end(kPairs) ? nullptr : found;
}

// Formats of fewer channels, all as those of a format of four.
struct FewChannels {
    Vex::SurfaceFormat m_format;
    Vex::SurfaceFormat m_four;
    unsigned m_channels;
};

constexpr FewChannels kFewChannels[] = {
    {Vex::kSurfaceFormat8, Vex::kSurfaceFormat8_8_8_8, 1},
    {Vex::kSurfaceFormat8_8, Vex::kSurfaceFormat8_8_8_8, 2},
    {Vex::kSurfaceFormat16, Vex::kSurfaceFormat16_16_16_16, 1},
    {Vex::kSurfaceFormat16_16, Vex::kSurfaceFormat16_16_16_16, 2},
    {Vex::kSurfaceFormat32, Vex::kSurfaceFormat32_32_32_32, 1},
    {Vex::kSurfaceFormat32_32, Vex::kSurfaceFormat32_32_32_32, 2},
};

const FewChannels* findFewChannels(Vex::DataFormat format) {
    const auto isIt = [&](const FewChannels& few) { return few.m_format == format.getSurfaceFormat(); };
    const FewChannels* const found = std::find_if(std::begin(kFewChannels), std::end(kFewChannels), isIt);
    return found == std::end(kFewChannels) ? nullptr : found;
}

bool copiesInPlace(const LaneSwizzle& swizzle, unsigned lanes) {
    for (unsigned lane = 0; lane < lanes; ++lane) {
        if (!swizzle.copies(lane) || swizzle.sourceOf(lane) != lane) {
            return false;
        }
    }
    return true;
}

void setSwizzle(RunSettings* settings, const LaneSwizzle& swizzle, unsigned laneBytes) {
    settings->m_moves = swizzle.moves(laneBytes, laneBytes == 1 ? 0xFF : 0x3C00);
    settings->m_swizzleIndex = swizzle.index();
}

// Null where the machine or the build has none.
WideRunKernels wideKernels() {
    return Simd::mayUseAvx2() ? getRunKernelsAvx2() : WideRunKernels{nullptr, nullptr};
}

const void* tableOf(const ByteTable& table, Run run) {
    switch (run) {
    case kRunTableBytes:
        return table.m_bytes;
    case kRunTableHalves:
        return table.m_halves;
    default:
        return table.m_floats;
    }
}

} // namespace

DirectConversion::DirectConversion(const TileConversion& steps) {
    const Vex::DataFormat from = formatOf(&steps.decoder()), to = formatOf(&steps.encoder());
    if (!steps.decoder().m_transform.isNop() || !steps.encoder().m_transform.isNop()) {
        return;
    }
    m_sourceBytes = infoOf(from).bytesPerElement;
    m_destinationBytes = infoOf(to).bytesPerElement;
    chooseForFour(from, to);
    chooseForFew(from, to);
}

void DirectConversion::chooseForFour(Vex::DataFormat from, Vex::DataFormat to) {
    const Pair* const pair = findPair(from, to);
    const LaneSwizzle swizzle(from, to);
    if (pair == nullptr || !chooseSettings(swizzle, pair->m_run, pair->m_from == kSrgb)) {
        return;
    }
    setSwizzle(&m_settings, swizzle, pair->m_laneBytes);
    const bool isDone =
        swizzle.isIdentity() || (swizzlesItself(pair->m_run) && wideKernels().m_cached != nullptr);
    const auto addSwizzle = [&](Swizzling where) {
        if (where == pair->m_swizzling && !isDone) {
            addStep(pair->m_laneBytes == 1 ? kRunSwizzle4 : kRunSwizzle8, std::size_t{4} * pair->m_laneBytes);
        }
    };
    addSwizzle(kBefore);
    if (pair->m_run != kRunCount) {
        // Right with a swizzle behind it, too, which does not change the size of the texels.
        addStep(pair->m_run, m_destinationBytes);
    }
    addSwizzle(kBehind);
}

// Channels that stay where they are need not be texels of four. sRGB has kernels for texels alone.
void DirectConversion::chooseForFew(Vex::DataFormat from, Vex::DataFormat to) {
    const FewChannels *const source = findFewChannels(from), *const destination = findFewChannels(to);
    if (source == nullptr || destination == nullptr || source->m_channels != destination->m_channels ||
        !copiesInPlace(LaneSwizzle(from, to), source->m_channels)) {
        return;
    }
    const Pair* const pair =
        findPair(from.withSurfaceFormat(source->m_four), to.withSurfaceFormat(destination->m_four));
    if (pair != nullptr && pair->m_run != kRunCount && pair->m_from != kSrgb && pair->m_to != kSrgb) {
        m_texelsPerGroup = kTexelsPerGroup * 4 / source->m_channels;
        addStep(pair->m_run, m_destinationBytes);
    }
}

DirectConversion::DirectConversion(Vex::DataFormat from, Vex::DataFormat to)
    : m_sourceBytes(4), m_destinationBytes(4) {
    setSwizzle(&m_settings, LaneSwizzle(from, to), 1);
    addStep(kRunSwizzle4, 4);
}

void DirectConversion::addStep(Run run, std::size_t bytes) {
    const WideRunKernels wide = wideKernels();
    const bool hasWide = wide.m_cached != nullptr && wide.m_cached[run] != nullptr;
    m_steps[m_count++] = {hasWide ? wide.m_cached[run] : g_baseRunKernels[run],
                          hasWide ? wide.m_streaming[run] : nullptr, bytes};
}

// False if no kernel, together with this swizzle, gives what the steps of a tile give.
bool DirectConversion::chooseSettings(const LaneSwizzle& swizzle, Run run, bool fromSrgb) {
    if (run == kRunFloatsToSrgb || run == kRunHalvesToSrgb) {
        return chooseLinearLanes(swizzle);
    }
    for (unsigned lane = 0; lane < 4; ++lane) {
        const bool isCurved = fromSrgb ? swizzle.copies(lane) && swizzle.sourceOf(lane) != 3 : lane != 3;
        m_settings.m_tables[lane] = tableOf(g_linearBytes, run);
        if (isCurved) {
            m_settings.m_tables[lane] = fromSrgb ? tableOf(g_srgbBytes, run) : g_srgbOfLinearBytes.m_bytes;
        }
    }
    return true;
}

// Floats and halves are swizzled after they are encoded. Which of their lanes are colours, and so take the
// sRGB curve, is told by where the swizzle moves them. False if a lane goes to a colour and to alpha as well.
bool DirectConversion::chooseLinearLanes(const LaneSwizzle& swizzle) {
    bool isColour[4] = {};
    for (unsigned lane = 0; lane < 4; ++lane) {
        if (swizzle.copies(lane) && lane != 3) {
            isColour[swizzle.sourceOf(lane)] = true;
        }
    }
    if (!swizzle.copies(3)) {
        return true;
    }
    m_settings.m_linearLanes[swizzle.sourceOf(3)] = 0xFFFFFFFF;
    return !isColour[swizzle.sourceOf(3)];
}

// Streaming stores need aligned addresses: the elements before the first one, the head, are stored normally.
void DirectConversion::convert(void* destination, const void* source, std::size_t count,
                               RowStores stores) const {
    const Step& last = m_steps[m_count - 1];
    const std::size_t offset = reinterpret_cast<std::uintptr_t>(destination) % kStreamAlignment;
    const bool streams =
        stores == RowStores::kStreaming && last.m_streaming != nullptr && offset % m_destinationBytes == 0;
    const std::size_t toAlignment =
        streams && offset != 0 ? (kStreamAlignment - offset) / m_destinationBytes : 0;
    const std::size_t head = std::min(toAlignment, count), groups = (count - head) / m_texelsPerGroup;
    const std::size_t done = head + groups * m_texelsPerGroup;
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    convertPart(to, from, head);
    convertGroups(to + head * m_destinationBytes, from + head * m_sourceBytes, groups,
                  streams ? last.m_streaming : last.m_cached);
    convertPart(to + done * m_destinationBytes, from + done * m_sourceBytes, count - done);
    if (streams) {
        finishStreaming();
    }
}

void DirectConversion::convertGroups(void* destination, const void* source, std::size_t groups,
                                     RunKernel last) const {
    if (m_count == 1) {
        last(destination, source, groups, m_settings);
        return;
    }
    alignas(64) std::uint8_t between[kBytesBetween];
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    const std::size_t most = kBytesBetween / (m_steps[0].m_bytes * kTexelsPerGroup);
    for (std::size_t done = 0; done < groups; done += most) {
        const std::size_t piece = std::min(most, groups - done), texels = done * kTexelsPerGroup;
        m_steps[0].m_cached(between, from + texels * m_sourceBytes, piece, m_settings);
        last(to + texels * m_destinationBytes, between, piece, m_settings);
    }
}

// Fewer texels than a group: through a group of zeros that holds them.
void DirectConversion::convertPart(void* destination, const void* source, std::size_t count) const {
    if (count == 0) {
        return;
    }
    std::uint8_t texels[kTexelsPerGroup * kMostTexelBytes] = {};
    std::uint8_t converted[kTexelsPerGroup * kMostTexelBytes];
    std::memcpy(texels, source, count * m_sourceBytes);
    convertGroups(converted, texels, 1, m_steps[m_count - 1].m_cached);
    std::memcpy(destination, converted, count * m_destinationBytes);
}

} // namespace qor::Texsmith::Raw
