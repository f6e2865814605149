#include "raw/planes/plane_conversion.h"

#include "raw/texels/srgb_run.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kMostBytes = 16; // of an element

// All planes of a run; only those that the plan names are touched.
struct alignas(64) PlaneBuffer {
    std::uint32_t m_planes[kPlaneCount * kPlaneTexels];
    std::uint32_t m_words[4 * kPlaneTexels];
    float m_curve[kPlaneTexels];
    std::uint8_t m_source[kPlaneStep * kMostBytes];
    std::uint8_t m_destination[kPlaneStep * kMostBytes];

    std::uint32_t* plane(unsigned plane) { return m_planes + plane * kPlaneTexels; }
};

void decode(const PlanePlan& plan, PlaneBuffer& buffer, const void* source, std::size_t count) {
    const void* words = source;
    if (plan.m_gather != nullptr) {
        plan.m_gather(buffer.m_words, source, count);
        words = buffer.m_words;
    }
    for (const PlaneDecodeStep& step : plan.m_decode) {
        const void* from = plan.m_gather != nullptr ? buffer.m_words + step.m_word * kPlaneTexels : words;
        step.m_run(buffer.plane(step.m_plane), from, step.m_channel, count);
    }
}

void change(const PlanePlan& plan, PlaneBuffer& buffer, std::size_t count) {
    for (const PlaneTransform& step : plan.m_decodeTransform) {
        plan.m_transform(buffer.m_planes, step, count);
    }
    for (const unsigned plane : plan.m_converted) {
        plan.m_convert(buffer.plane(plane), count);
    }
    for (const PlaneTransform& step : plan.m_encodeTransform) {
        plan.m_transform(buffer.m_planes, step, count);
    }
    for (const PlaneCurve& step : plan.m_curves) {
        std::memcpy(buffer.m_curve, buffer.plane(step.m_from), count * sizeof(float));
        srgbEncodeRun(buffer.m_curve, buffer.m_curve, count);
        std::memcpy(buffer.plane(step.m_to), buffer.m_curve, count * sizeof(float));
    }
}

void encode(const PlanePlan& plan, PlaneBuffer& buffer, void* destination, std::size_t count) {
    std::uint32_t* words = buffer.m_words;
    for (const PlaneEncodeStep& step : plan.m_encode) {
        step.m_run(plan.m_scatter != nullptr ? words : destination, buffer.m_planes, step.m_word, count);
        words += kPlaneTexels;
    }
    if (plan.m_scatter != nullptr) {
        plan.m_scatter(destination, buffer.m_words, count);
    }
}

void convertRun(const PlanePlan& plan, PlaneBuffer& buffer, void* destination, const void* source,
                std::size_t count) {
    decode(plan, buffer, source, count);
    change(plan, buffer, count);
    encode(plan, buffer, destination, count);
}

} // namespace

PlaneConversion::PlaneConversion(const TileConversion& steps) : m_isUsable(makePlanePlan(&m_plan, steps)) {}

void PlaneConversion::convert(void* destination, const void* source, std::size_t count) const {
    PlaneBuffer buffer;
    auto* to = static_cast<std::uint8_t*>(destination);
    const auto* from = static_cast<const std::uint8_t*>(source);
    const unsigned fromBytes = m_plan.m_sourceBytes, toBytes = m_plan.m_destinationBytes;
    for (const PlaneFill& fill : m_plan.m_fills) {
        std::fill_n(buffer.plane(fill.m_plane), std::min(count + kPlaneStep, kPlaneTexels), fill.m_bits);
    }
    for (; count >= kPlaneStep;) {
        const std::size_t run = std::min(count, kPlaneTexels) / kPlaneStep * kPlaneStep;
        convertRun(m_plan, buffer, to, from, run);
        to += run * toBytes;
        from += run * fromBytes;
        count -= run;
    }
    if (count != 0) {
        std::memset(buffer.m_source, 0, sizeof buffer.m_source);
        std::memcpy(buffer.m_source, from, count * fromBytes);
        convertRun(m_plan, buffer, buffer.m_destination, buffer.m_source, kPlaneStep);
        std::memcpy(to, buffer.m_destination, count * toBytes);
    }
}

} // namespace qor::Texsmith::Raw
