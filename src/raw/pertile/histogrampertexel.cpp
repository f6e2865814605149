// The pass that counts the values of a range in bins, and those bins.
#include "qor/texsmith/raw/statistics.h"
#include "raw/analysis/byte_row.h"
#include "raw/frame/check.h"
#include "simd/float4.h"

#include <algorithm>
#include <iterator>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\histogrampertexel";

// 0 to 1 to a byte, as an encoder does it: a NaN gives 0.
Simd::Int4 toByteLanes(Simd::Float4 value) {
    const Simd::Float4 unit = maximum(minimum(Simd::splat(1.0f), value), Simd::splat(0.0f));
    return truncateToInts(unit * Simd::splat(255.0f) + Simd::splat(0.5f));
}

constexpr float kByteToUnit = static_cast<float>(1.0 / 255);

} // namespace

void Histogram::Clear() { *this = {}; }

void Histogram::Add(const Histogram& other) {
    for (unsigned bin = 0; bin < 4 * 256; ++bin) {
        m_bins[bin / 256][bin % 256] += other.m_bins[bin / 256][bin % 256];
    }
    count += other.count;
}

// The range's transform is diagonal. Its lanes stay apart, so that an infinity in one channel does not reach
// the others.
HistogramPerTexel::HistogramPerTexel(Histogram* destination, const MinMax& range,
                                     const ElementProvider* source, Configuration* configuration)
    : PerTexel(source, configuration), m_destination(destination) {
    if (!checkNotNull(destination, kSourcePath, "destination must not be NULL.")) {
        refuse();
    }
    const Madd toUnit = maddFromRange(range);
    for (unsigned lane = 0; lane < 4; ++lane) {
        m_scale[lane] = toUnit.m_multiply[lane][lane];
        m_offset[lane] = toUnit.m_add[lane];
    }
    for (unsigned byte = 0; byte < 256; ++byte) {
        std::uint32_t bins[4];
        Simd::store(bins, toByteLanes(Simd::splat(static_cast<float>(byte) * kByteToUnit) *
                                          Simd::loadFloats(&m_scale) +
                                      Simd::loadFloats(&m_offset)));
        for (unsigned lane = 0; lane < 4; ++lane) {
            m_binOfByte[lane][byte] = static_cast<std::uint8_t>(bins[lane]);
        }
    }
}

Error HistogramPerTexel::doPrologue(unsigned) const {
    std::for_each(std::begin(m_slots), std::end(m_slots), [](Histogram& slot) { slot.Clear(); });
    return kErrorNone;
}

void HistogramPerTexel::doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const {
    Histogram& slot = m_slots[callbackId];
    const Simd::Float4 scale = Simd::loadFloats(&m_scale), offset = Simd::loadFloats(&m_offset);
    for (unsigned i = 0; i < count; ++i) {
        std::uint32_t bins[4];
        Simd::store(bins, toByteLanes(Simd::loadFloats(&texels[i]) * scale + offset));
        for (unsigned lane = 0; lane < 4; ++lane) {
            ++slot.m_bins[lane][bins[lane]];
        }
    }
    slot.count += count;
}

unsigned HistogramPerTexel::doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                           const OpenSurface& surface, unsigned y) const {
    const ByteRow row(getDecoderConfiguration(), getElementProvider(), surface, surfaceIndex->mip, y);
    if (row.tiles() == 0) {
        return PerTexel::doLeadingTiles(callbackId, surfaceIndex, surface, y);
    }
    Histogram& slot = m_slots[callbackId];
    row.forEach([&](unsigned lane, unsigned byte, std::uint32_t count) {
        slot.m_bins[lane][m_binOfByte[lane][byte]] += count;
    });
    slot.count += row.texels();
    return row.tiles();
}

Error HistogramPerTexel::doEpilogue(unsigned callbacks) const {
    if (m_destination == nullptr) {
        return kErrorFailed;
    }
    m_destination->Clear();
    std::for_each(m_slots, m_slots + callbacks, [this](const Histogram& slot) { m_destination->Add(slot); });
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
