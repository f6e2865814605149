#include "raw/planes/plane_plan.h"

#include "raw/planes/plane_srgb.h"
#include "raw/texels/channels.h"
#include "raw/texels/codec.h"
#include "raw/texels/generic_codec.h"
#include "raw/texels/lanes.h"
#include "raw/texels/table_functions.h"
#include "raw/texels/texture_format.h"
#include "simd/dispatch.h"
#include "simd/float4.h"

#include <algorithm>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kUsesNoKind = ~0u; // the channel reads and stores as 0
constexpr std::uint32_t kOne = 0x3F800000;

// A kernel that the wide table lacks comes from the base line's.
template <typename Kernel> Kernel pick(Kernel wide, Kernel base) { return wide != nullptr ? wide : base; }

const PlaneKernels& bestKernels() {
    const PlaneKernels* wide = Simd::mayUseAvx2() ? getPlaneKernelsAvx2() : nullptr;
    return wide != nullptr ? *wide : g_planeKernels;
}

bool isShared(const SurfaceFormatInfo& info) { return info.decodeTexels == &sharedExponentDecodeTexels; }

bool isWholeNumber(Vex::TextureChannelType type) { return !isFloatingChannelType(type); }

bool hasPlanes(Vex::DataFormat format) {
    const SurfaceFormatInfo& info = infoOf(format);
    const Vex::TextureChannelType type = format.getTextureChannelType();
    if (isShared(info)) {
        return true;
    }
    const unsigned widest = *std::max_element(info.bitsPerChannel, info.bitsPerChannel + 4);
    const bool keepsWords = isWholeNumber(type) || type == Vex::kTextureChannelTypeFloat;
    return info.decodeTexels == &packedDecodeTexels && (widest <= 24 || keepsWords) && type != 8 &&
           type <= Vex::kTextureChannelTypeUBScaled;
}

bool hasNoPower(const Transform& transform) {
    const VectorFloat& power = transform.m_power;
    return power[0] == 1.0f && power[1] == 1.0f && power[2] == 1.0f && power[3] == 1.0f;
}

unsigned floatKindOf(unsigned bits) {
    const bool isKnown = smallFloatOfWidth(bits).m_exponentBits != 0;
    return !isKnown ? kUsesNoKind : bits == 16 ? kPlaneSignedFloat : unsigned{Vex::kTextureChannelTypeFloat};
}

unsigned kindOf(Vex::DataFormat format, unsigned channel) {
    const SurfaceFormatInfo& info = infoOf(format);
    const Vex::TextureChannelType type = format.getTextureChannelType();
    const unsigned bits = info.bitsPerChannel[channel];
    if (isShared(info)) {
        return channel < 3 ? unsigned{kPlaneSharedExponent} : kUsesNoKind;
    }
    if (bits == 0 || (bits == 32 && type != Vex::kTextureChannelTypeUBInt)) {
        return bits == 0 ? kUsesNoKind : unsigned{kPlaneIdentity};
    }
    if (type == Vex::kTextureChannelTypeFloat) {
        return floatKindOf(bits);
    }
    return type == Vex::kTextureChannelTypeSrgb ? unsigned{Vex::kTextureChannelTypeUNorm} : unsigned{type};
}

bool isUNorm(Vex::DataFormat format) {
    const Vex::TextureChannelType type = format.getTextureChannelType();
    return !isShared(infoOf(format)) &&
           (type == Vex::kTextureChannelTypeUNorm || type == Vex::kTextureChannelTypeSrgb);
}

// Whether all values that are encoded come from numbers in 0..1.
bool staysInRange(const TileConversion& steps) {
    const Vex::DataFormat from = formatOf(&steps.decoder()), to = formatOf(&steps.encoder());
    const std::uint8_t* bits = infoOf(to).bitsPerChannel;
    return isUNorm(from) && isUNorm(to) && *std::max_element(bits, bits + 4) <= 16 &&
           steps.decoder().m_transform.isNop() && steps.encoder().m_transform.isNop();
}

PlaneChannel channelOf(const SurfaceFormatInfo& info, unsigned channel) {
    const Lane lane(info, channel);
    PlaneChannel result = {};
    result.m_shift = info.channelShift[channel] % 32;
    result.m_most = lane.m_most;
    result.m_half = lane.m_half;
    result.m_unormScale = lane.m_unormScale;
    result.m_snormScale = lane.m_snormScale;
    result.m_mostAsFloat = lane.mostAsFloat();
    result.m_halfAsFloat = lane.halfAsFloat();
    result.m_signedAsFloat = lane.mostSignedAsFloat();
    result.m_floatShift = 23 - lane.m_smallFloat.m_mantissaBits;
    return result;
}

// Where a lane of all texels stands: in a plane, or nowhere when it is alike in all of them.
struct LanePlace {
    bool m_isConstant;
    std::uint32_t m_bits;
    unsigned m_plane;
};

class Planner {
public:
    Planner(PlanePlan* plan, const TileConversion& steps)
        : m_plan(*plan), m_steps(steps), m_from(formatOf(&steps.decoder())), m_to(formatOf(&steps.encoder())),
          m_fromInfo(infoOf(m_from)), m_toInfo(infoOf(m_to)), m_kernels(bestKernels()) {}

    void makePlan() {
        m_plan = {};
        m_plan.m_transform = pick(m_kernels.m_transform, g_planeKernels.m_transform);
        placeChannels();
        swizzle(m_from);
        transform(m_steps.decoder().m_transform, kPlaneOfDecodeTransform, &m_plan.m_decodeTransform);
        convertLanes();
        transform(m_steps.encoder().m_transform, kPlaneOfEncodeTransform, &m_plan.m_encodeTransform);
        swizzle(m_to);
        encode();
        convertPlanes();
        decode();
    }

private:
    static LanePlace constant(std::uint32_t bits) { return {true, bits, 0}; }

    // The generic codec says what an absent channel reads as.
    void placeChannels() {
        const std::uint8_t element[16] = {};
        VectorFloat absent = {};
        if (!isShared(m_fromInfo)) {
            genericDecode(&absent, element, m_fromInfo, m_from.getTextureChannelType(), 1);
        }
        for (unsigned channel = 0; channel < 4; ++channel) {
            const bool isThere = kindOf(m_from, channel) != kUsesNoKind;
            m_lanes[channel] = {!isThere, laneBits(absent[channel]), channel};
        }
    }

    void swizzle(Vex::DataFormat format) {
        const LanePlace old[4] = {m_lanes[0], m_lanes[1], m_lanes[2], m_lanes[3]};
        for (unsigned lane = 0; lane < 4; ++lane) {
            const unsigned select = format.getChannel(lane);
            m_lanes[lane] = select >= Vex::kTextureChannelX
                                ? old[select & 3]
                                : constant(select == Vex::kTextureChannel1 ? kOne : 0);
        }
    }

    // The plane to read the lane from; a constant lane gets one that is filled once.
    unsigned planeOf(const LanePlace& lane) {
        if (!lane.m_isConstant) {
            m_isRead[lane.m_plane] = true;
            return lane.m_plane;
        }
        for (const PlaneFill& fill : m_plan.m_fills) {
            if (fill.m_bits == lane.m_bits) {
                return fill.m_plane;
            }
        }
        const unsigned plane = kPlaneOfConstants + m_plan.m_fills.m_count;
        m_plan.m_fills.add({plane, lane.m_bits});
        return plane;
    }

    void transform(const Transform& transform, unsigned to, FixedList<PlaneTransform, 1>* steps) {
        if (transform.isNop()) {
            return;
        }
        PlaneTransform step = {};
        step.m_to = to;
        for (unsigned lane = 0; lane < 4; ++lane) {
            step.m_from[lane] = planeOf(m_lanes[lane]);
            step.m_add[lane] = transform.m_add[lane];
            std::copy_n(transform.m_multiply[lane].m_lanes, 4, step.m_multiply[lane]);
        }
        for (unsigned lane = 0; lane < 4; ++lane) {
            m_lanes[lane] = {false, 0, to + lane};
        }
        steps->add(step);
    }

    void convertLanes() {
        const bool fromFloats = isFloatingChannelType(m_from.getTextureChannelType());
        if (fromFloats == isFloatingChannelType(m_to.getTextureChannelType())) {
            return;
        }
        m_plan.m_convert = fromFloats ? pick(m_kernels.m_toInts, g_planeKernels.m_toInts)
                                      : pick(m_kernels.m_toFloats, g_planeKernels.m_toFloats);
        for (LanePlace& lane : m_lanes) {
            std::uint32_t lanes[4] = {lane.m_bits};
            if (fromFloats) {
                Simd::store(lanes, Simd::roundToInts(Simd::loadFloats(lanes)));
            } else {
                Simd::store(lanes, Simd::toFloats(Simd::loadInts(lanes)));
            }
            lane.m_bits = lanes[0];
            m_isConverted[lane.m_plane] = m_isConverted[lane.m_plane] || !lane.m_isConstant;
        }
    }

    // Planes are converted in place, so each only once, however many lanes it stands for.
    void convertPlanes() {
        for (unsigned plane = 0; plane < kPlaneOfEncodeTransform; ++plane) {
            if (m_isConverted[plane] && m_isRead[plane]) {
                m_plan.m_converted.add(plane);
            }
        }
    }

    void decode() {
        m_plan.m_sourceBytes = m_fromInfo.bytesPerElement;
        m_plan.m_gather =
            pick(m_kernels.m_gather[m_plan.m_sourceBytes], g_planeKernels.m_gather[m_plan.m_sourceBytes]);
        for (unsigned channel = 0; channel < 4; ++channel) {
            const unsigned kind = kindOf(m_from, channel);
            if (!m_isRead[channel] || kind == kUsesNoKind) {
                continue;
            }
            PlaneDecodeStep step = {};
            step.m_run = pick(m_kernels.m_decode[kind], g_planeKernels.m_decode[kind]);
            step.m_channel = channelOf(m_fromInfo, channel);
            step.m_word = m_fromInfo.channelShift[channel] / 32u;
            step.m_plane = channel;
            if (m_from.getTextureChannelType() == Vex::kTextureChannelTypeSrgb && !isShared(m_fromInfo) &&
                channel < 3) {
                chooseSrgbDecoder(&step.m_run, &step.m_channel, m_fromInfo.bitsPerChannel[channel]);
            }
            m_plan.m_decode.add(step);
        }
    }

    // What the constant channels store, at the bits of the words where they belong.
    void storeConstants(std::uint32_t (&words)[4]) const {
        VectorFloat texel = {};
        for (unsigned channel = 0; channel < 4; ++channel) {
            texel[channel] = laneFloat(m_lanes[channel].m_bits);
        }
        std::uint8_t element[16] = {};
        RawTexel raw = {};
        genericEncode(element, &texel, m_toInfo, m_to.getTextureChannelType(), 1);
        unpackTexel(&raw, element, m_toInfo);
        for (unsigned channel = 0; channel < m_toInfo.channels; ++channel) {
            const unsigned shift = m_toInfo.channelShift[channel];
            words[shift / 32] |= m_lanes[channel].m_isConstant ? raw.m_lanes[channel] << shift % 32 : 0;
        }
    }

    void encode() {
        m_plan.m_destinationBytes = m_toInfo.bytesPerElement;
        m_plan.m_scatter = pick(m_kernels.m_scatter[m_plan.m_destinationBytes],
                                g_planeKernels.m_scatter[m_plan.m_destinationBytes]);
        if (isShared(m_toInfo)) {
            encodeShared();
            return;
        }
        std::uint32_t constants[4] = {};
        storeConstants(constants);
        for (unsigned word = 0; word < (m_plan.m_destinationBytes + 3u) / 4u; ++word) {
            encodeWord(word, constants[word]);
        }
    }

    void encodeWord(unsigned word, std::uint32_t constantBits) {
        PlaneEncodeStep step = {};
        step.m_word.m_constant = constantBits;
        unsigned count = 0, kindOfWord = kPlaneIdentity;
        for (unsigned channel = 0; channel < m_toInfo.channels; ++channel) {
            const unsigned kind = kindOf(m_to, channel);
            if (m_toInfo.channelShift[channel] / 32u != word || m_lanes[channel].m_isConstant ||
                kind == kUsesNoKind) {
                continue;
            }
            kindOfWord = kind;
            step.m_word.m_channels[count] = channelOf(m_toInfo, channel);
            step.m_word.m_channels[count++].m_plane = planeToEncode(channel);
        }
        if (count != 0 && staysInRange(m_steps)) {
            kindOfWord = kPlaneUNormInRange;
        }
        step.m_run = pick(m_kernels.m_encode[kindOfWord][count], g_planeKernels.m_encode[kindOfWord][count]);
        m_plan.m_encode.add(step);
    }

    unsigned planeToEncode(unsigned channel) {
        const unsigned plane = planeOf(m_lanes[channel]);
        if (m_to.getTextureChannelType() != Vex::kTextureChannelTypeSrgb || channel == 3) {
            return plane;
        }
        m_plan.m_curves.add({plane, kPlaneOfSrgb + channel});
        return kPlaneOfSrgb + channel;
    }

    void encodeShared() {
        PlaneEncodeStep step = {};
        for (unsigned channel = 0; channel < 3; ++channel) {
            step.m_word.m_channels[channel].m_plane = planeOf(m_lanes[channel]);
        }
        step.m_run = pick(m_kernels.m_encode[kPlaneSharedExponent][3],
                          g_planeKernels.m_encode[kPlaneSharedExponent][3]);
        m_plan.m_encode.add(step);
    }

    PlanePlan& m_plan;
    const TileConversion& m_steps;
    Vex::DataFormat m_from, m_to;
    const SurfaceFormatInfo& m_fromInfo;
    const SurfaceFormatInfo& m_toInfo;
    const PlaneKernels& m_kernels;
    LanePlace m_lanes[4] = {};
    bool m_isRead[kPlaneCount] = {};
    bool m_isConverted[kPlaneCount] = {};
};

} // namespace

bool makePlanePlan(PlanePlan* plan, const TileConversion& steps) {
    if (!hasPlanes(formatOf(&steps.decoder())) || !hasPlanes(formatOf(&steps.encoder())) ||
        !hasNoPower(steps.decoder().m_transform) || !hasNoPower(steps.encoder().m_transform)) {
        return false;
    }
    Planner(plan, steps).makePlan();
    return true;
}

} // namespace qor::Texsmith::Raw
