#include "raw/dds_layout/formats.h"

#include "qor/texsmith/raw/dds.h"
#include "qor/texsmith/raw/format.h"
#include "qor/texsmith/raw/reading_options.h"
#include "raw/dds_layout/tables.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

namespace qor::Texsmith::Raw {
namespace {

using namespace DdsTables;

// Numbers without a row, which only a descriptor can have, count as the format of no texels.
const SurfaceFormatInfo& rowOf(Vex::DataFormat format) {
    const unsigned number = format.getSurfaceFormat();
    return g_surfaceFormatInfo[number < Vex::kSurfaceFormatCount ? number : 0];
}

template <typename Rows, typename Fits> auto findRow(const Rows& rows, Fits fits) {
    const auto* row = std::find_if(std::begin(rows), std::end(rows), fits);
    return row != std::end(rows) ? row : nullptr;
}

DdsFormat formatFromFourCc(std::uint32_t fourCcWord, Vex::TextureChannelType channelType) {
    const FourCcRow* row = findRow(kFormatOfFourCc, [fourCcWord](const FourCcRow& candidate) {
        return candidate.m_fourCc == fourCcWord;
    });
    if (row == nullptr || row->m_word == kNone) {
        return {{0}, 0};
    }
    Vex::DataFormat format{row->m_word};
    if (format.getTextureChannelType() == kUNorm) {
        format = format.withTextureChannelType(channelType);
    }
    return {format, row->m_bytesInFile != 0 ? row->m_bytesInFile : rowOf(format).bytesPerElement};
}

// The fields of an element, by their lowest bits.
class MaskedFields {
public:
    explicit MaskedFields(const std::uint32_t* masks) {
        for (unsigned i = 0; i < 4; ++i) {
            m_position[i] = static_cast<unsigned>(std::countr_zero(masks[i]));
            m_width[m_position[i]] = static_cast<unsigned>(std::popcount(masks[i]));
        }
        m_count = static_cast<unsigned>(
            std::count_if(std::begin(m_width), std::end(m_width), [](unsigned width) { return width != 0; }));
    }

    unsigned count() const { return m_count; }

    // True when each field is a channel of the format; says which.
    bool matches(const SurfaceFormatInfo& info) {
        unsigned matching = 0;
        for (unsigned channel = 0; channel < info.channels; ++channel) {
            const unsigned shift = info.channelShift[channel];
            if (shift < kPositions && m_width[shift] == info.bitsPerChannel[channel]) {
                m_select[shift] = channel + Vex::kTextureChannelX;
                ++matching;
            }
        }
        return matching == m_count;
    }

    // The channel under one of the masks; 0 under an empty one.
    std::uint32_t select(unsigned mask) const { return m_select[m_position[mask]]; }
    void clearSelects() { std::fill(std::begin(m_select), std::end(m_select), 0u); }

private:
    static constexpr unsigned kPositions = 33; // the last is that of empty masks

    unsigned m_position[4];
    unsigned m_width[kPositions] = {};
    std::uint32_t m_select[kPositions] = {};
    unsigned m_count;
};

// The first surface format that has the size and the fields, or null.
const SurfaceFormatInfo* findLayout(MaskedFields* fields, unsigned bytesPerElement) {
    return findRow(g_surfaceFormatInfo, [=](const SurfaceFormatInfo& info) {
        fields->clearSelects();
        return info.bytesPerElement == bytesPerElement && info.channels >= fields->count() &&
               fields->matches(info);
    });
}

std::uint32_t selectsOf(const MaskedFields& fields, const SurfaceFormatInfo& info, bool isLuminance,
                        std::uint32_t readingOptions) {
    std::uint32_t lane[4];
    for (unsigned i = 0; i < 4; ++i) {
        lane[i] = fields.select(i);
    }
    // Writers of this format have long had these two masks the wrong way round. Our own have not, so that
    // what we write with masks comes back with red and blue changed.
    if (info.surfaceFormat == Vex::kSurfaceFormat2_10_10_10 &&
        (readingOptions & kReadDdsMasksAsTheyAre) == 0) {
        std::swap(lane[0], lane[2]);
    }
    for (unsigned i = 1; i < 3; ++i) {
        lane[i] = isLuminance && lane[i] == 0 ? lane[0] : lane[i];
    }
    lane[3] = lane[3] == 0 ? std::uint32_t(Vex::kTextureChannel1) : lane[3];
    return lane[0] | lane[1] << 3 | lane[2] << 6 | lane[3] << 9;
}

// Elements of three bytes are meant for formats of four.
DdsFormat formatFromMasks(const Dds::PixelFormat& pixelFormat, Vex::TextureChannelType channelType,
                          std::uint32_t readingOptions) {
    const unsigned bytesInFile = pixelFormat.m_rgbBitCount / 8;
    MaskedFields fields(pixelFormat.m_masks);
    const SurfaceFormatInfo* info =
        fields.count() != 0 ? findLayout(&fields, std::bit_ceil(bytesInFile)) : nullptr;
    if (info == nullptr) {
        return {{0}, 0};
    }
    const bool isLuminance = (pixelFormat.m_flags & Dds::kPixelLuminance) != 0;
    const std::uint32_t selectBits = selectsOf(fields, *info, isLuminance, readingOptions);
    const Vex::DataFormat format{info->surfaceFormat | selectBits << 12};
    return {format.withTextureChannelType(channelType), bytesInFile};
}

enum Pass { kExactly, kBySurfaceFormat };

// Types that only share another type's column find it by the surface format alone.
struct Column {
    bool m_waitsForSecondPass;
    int m_column; // negative: none
};

Column columnOf(Vex::TextureChannelType type) {
    switch (type) {
    case Vex::kTextureChannelTypeUNorm:
        return {false, kColumnUNorm};
    case Vex::kTextureChannelTypeSrgb:
        return {false, kColumnSrgb};
    case Vex::kTextureChannelTypeSNorm:
        return {false, kColumnSNorm};
    case Vex::kTextureChannelTypeUInt:
        return {false, kColumnUInt};
    case Vex::kTextureChannelTypeSInt:
        return {false, kColumnSInt};
    case Vex::kTextureChannelTypeFloat:
        return {false, kColumnFloat};
    case Vex::kTextureChannelTypeUScaled:
        return {true, kColumnUInt};
    case Vex::kTextureChannelTypeSScaled:
        return {true, kColumnSInt};
    case Vex::kTextureChannelTypeUBNorm:
        return {true, kColumnUNorm};
    default:
        return {false, -1};
    }
}

const DxgiOfFormatRow* findDxgiRow(Vex::DataFormat format, Pass pass) {
    return findRow(kDxgiOfFormat, [=](const DxgiOfFormatRow& row) {
        return row.m_surfaceFormat == format.getSurfaceFormat() &&
               (pass == kBySurfaceFormat || row.m_selects == format.getChannels());
    });
}

// By the whole word, then by layout and type, then by layout alone: integers then come back as what the word
// of their layout stands for.
std::uint32_t fourCcFromFormat(Vex::DataFormat format) {
    for (const std::uint32_t mask : {0xFFFFFFu, 0xFFFu, 0xFFu}) {
        const FourCcOfFormatRow* row = findRow(kFourCcOfFormat, [=](const FourCcOfFormatRow& candidate) {
            return ((candidate.m_word ^ format.m_word) & mask) == 0;
        });
        if (row != nullptr) {
            return row->m_fourCc;
        }
    }
    return 0;
}

// Masks have 32 bits. A channel that several lanes read gives each of them its mask.
void setMasks(Dds::PixelFormat* pixelFormat, Vex::DataFormat format, const SurfaceFormatInfo& info) {
    pixelFormat->m_rgbBitCount = info.bytesPerElement * 8u;
    for (unsigned lane = 0; lane < 4; ++lane) {
        const unsigned channel = format.getChannel(lane) - Vex::kTextureChannelX;
        if (channel < info.channels) {
            const std::uint64_t ones = (std::uint64_t{1} << info.bitsPerChannel[channel]) - 1;
            pixelFormat->m_masks[lane] = static_cast<std::uint32_t>(ones << info.channelShift[channel]);
        }
    }
    if (pixelFormat->m_masks[0] != 0) {
        pixelFormat->m_flags |= pixelFormat->m_masks[1] != 0 ? Dds::kPixelRgb : Dds::kPixelLuminance;
    }
    if (pixelFormat->m_masks[3] != 0) {
        pixelFormat->m_flags |= Dds::kPixelAlpha;
    }
}

} // namespace

Vex::DataFormat formatFromDxgi(std::uint32_t dxgi, Vex::TextureChannelType channelType) {
    if (dxgi >= kDxgiValues) {
        return {0};
    }
    const DxgiRow& row = kFormatOfDxgi[dxgi];
    const Vex::DataFormat format{row.m_word};
    return row.m_typing == kCallersType ? format.withTextureChannelType(channelType) : format;
}

std::uint32_t dxgiFromFormat(Vex::DataFormat format) {
    const Column column = columnOf(format.getTextureChannelType());
    for (const Pass pass : {kExactly, kBySurfaceFormat}) {
        const DxgiOfFormatRow* row = findDxgiRow(format, pass);
        if (row == nullptr || (pass == kExactly && column.m_waitsForSecondPass)) {
            continue;
        }
        return column.m_column >= 0 ? row->m_dxgi[column.m_column] : 0;
    }
    return 0;
}

DdsFormat formatFromPixelFormat(const Dds::PixelFormat& pixelFormat, Vex::TextureChannelType channelType,
                                std::uint32_t readingOptions) {
    return (pixelFormat.m_flags & Dds::kPixelFourCc) != 0
               ? formatFromFourCc(pixelFormat.m_fourCc, channelType)
               : formatFromMasks(pixelFormat, channelType, readingOptions);
}

// The masks stay in the file beside a FourCC.
Dds::PixelFormat pixelFormatOf(Vex::DataFormat format, bool isDx10) {
    Dds::PixelFormat pixelFormat = {};
    pixelFormat.m_size = sizeof pixelFormat;
    const SurfaceFormatInfo& info = rowOf(format);
    if (info.bytesPerElement <= sizeof(std::uint32_t)) {
        setMasks(&pixelFormat, format, info);
    }
    const std::uint32_t word = isDx10 ? Dds::kFourCcDx10 : fourCcFromFormat(format);
    if (word != 0) {
        pixelFormat.m_flags = Dds::kPixelFourCc;
        pixelFormat.m_fourCc = word;
    }
    return pixelFormat;
}

bool needsDx10Header(Vex::DataFormat format, unsigned version) {
    const Vex::SurfaceFormat surfaceFormat = format.getSurfaceFormat();
    return version == kDdsVersionDx10 || surfaceFormat == Vex::kSurfaceFormatBc6 ||
           surfaceFormat == Vex::kSurfaceFormatBc7;
}

Vex::DataFormat getFormatInDds(Vex::DataFormat format, unsigned version,
                               Vex::TextureChannelType channelType) {
    if (needsDx10Header(format, version)) {
        return formatFromDxgi(dxgiFromFormat(format), channelType);
    }
    return formatFromPixelFormat(pixelFormatOf(format, false), channelType, kReadLiterally).m_format;
}

} // namespace qor::Texsmith::Raw
