// The pass that counts bytes in bins of 16 bits, and those bins.
#include "qor/texsmith/raw/statistics.h"
#include "raw/analysis/byte_row.h"
#include "raw/analysis/round_to_bytes_lanes.h"
#include "raw/analysis/tile_kernels.h"
#include "raw/frame/check.h"
#include "simd/dispatch.h"
#include "simd/lanes4x2.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\pertile\\fasthistogrampertexel";
constexpr float kLargest = std::numeric_limits<float>::max();
constexpr std::uint32_t kMostInBin = std::numeric_limits<std::uint16_t>::max();

RoundToBytes chooseKernel() {
    const TileKernels* wide = Simd::mayUseAvx2() ? getTileKernelsAvx2() : nullptr;
    return wide != nullptr ? wide->m_roundToBytes : &roundToBytes<Simd::Lanes4x2>;
}

using Bins = std::uint16_t[4][FastHistogram::kBins];

// Adds bin by bin. The bins stop at their most; true where one did.
bool addBins(std::uint16_t (&bins)[FastHistogram::kBins], const std::uint16_t (&more)[FastHistogram::kBins]) {
    std::uint16_t stopped = 0;
    for (unsigned bin = 0; bin < FastHistogram::kBins; ++bin) { // in a form that compilers make vectors of
        const auto sum = static_cast<std::uint16_t>(bins[bin] + more[bin]);
        const auto wrapped = static_cast<std::uint16_t>(sum < more[bin] ? 0xFFFF : 0);
        bins[bin] = sum | wrapped;
        stopped |= wrapped;
    }
    return stopped != 0;
}

void addBins(FastHistogram& histogram, const Bins& more) {
    for (unsigned channel = 0; channel < 4; ++channel) {
        if (addBins(histogram.m_bins[channel], more[channel])) {
            histogram.flags |= FastHistogram::kFlagSaturated;
        }
    }
}

// Bins of a run of tiles that is too short to fill one (1024 tiles would). Neighbours in the run, whose
// values are often equal, count apart: an increment would have to wait for the one before it.
class RunBins {
public:
    void count(const std::uint8_t* bytes, unsigned texels) {
        for (unsigned i = 0; i < texels; i += 2, bytes += 8) {
            countOne(m_even, bytes);
            countOne(m_odd, bytes + 4);
        }
    }
    void addTo(FastHistogram& histogram) const {
        addBins(histogram, m_even);
        addBins(histogram, m_odd);
    }

private:
    static void countOne(Bins& bins, const std::uint8_t* bytes) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            ++bins[channel][bytes[channel]];
        }
    }

    Bins m_even = {}, m_odd = {};
};

// The bytes of `count` texels, a multiple of 8. Of the histogram it changes all but the counts.
void roundInto(FastHistogram& histogram, std::uint8_t* bytes, const VectorFloat* texels, unsigned count,
               RoundToBytes round) {
    ByteRange range = {};
    std::copy_n(histogram.min.m_lanes, 4, range.m_min);
    std::copy_n(histogram.max.m_lanes, 4, range.m_max);
    round(range, bytes, texels->m_lanes, count);
    std::copy_n(range.m_min, 4, histogram.min.m_lanes);
    std::copy_n(range.m_max, 4, histogram.max.m_lanes);
    histogram.flags |= (range.m_isOutside ? FastHistogram::kFlagOutside : 0) |
                       (range.m_isNoByte ? FastHistogram::kFlagNotBytes : 0);
}

void addToBin(FastHistogram& histogram, unsigned channel, unsigned byte, std::uint32_t count) {
    std::uint16_t& bin = histogram.m_bins[channel][byte];
    histogram.flags |= count > kMostInBin - bin ? FastHistogram::kFlagSaturated : 0;
    bin = static_cast<std::uint16_t>(std::min(bin + count, kMostInBin));
}

// One texel, repeated to make up a run.
void roundTexel(FastHistogram& histogram, std::uint8_t (&bytes)[4], const VectorFloat& texel) {
    VectorFloat texels[8];
    std::fill(std::begin(texels), std::end(texels), texel);
    std::uint8_t all[8 * 4];
    roundInto(histogram, all, texels, 8, &roundToBytes<Simd::Lanes4x2>);
    std::copy_n(all, 4, bytes);
}

void addTexel(FastHistogram& histogram, const VectorFloat& texel) {
    std::uint8_t bytes[4];
    roundTexel(histogram, bytes, texel);
    for (unsigned channel = 0; channel < 4; ++channel) {
        addToBin(histogram, channel, bytes[channel], 1);
    }
    ++histogram.count;
}

// What rounding makes of the value of each byte: its bin and the flags.
struct BytesRounded {
    std::uint8_t m_bin[256];
    std::uint32_t m_flags[256];

    BytesRounded() {
        for (unsigned byte = 0; byte < 256; ++byte) {
            const float value = valueOf(byte);
            FastHistogram histogram;
            histogram.Clear();
            std::uint8_t bytes[4];
            roundTexel(histogram, bytes, {{value, value, value, value}});
            m_bin[byte] = bytes[0];
            m_flags[byte] = histogram.flags;
        }
    }
    static float valueOf(unsigned byte) { return static_cast<float>(byte) * static_cast<float>(1.0 / 255); }
};

void addRow(FastHistogram& histogram, const ByteRow& row) {
    static const BytesRounded s_rounded;
    row.forEach([&histogram](unsigned lane, unsigned byte, std::uint32_t count) {
        const float value = BytesRounded::valueOf(byte);
        histogram.min[lane] = std::min(histogram.min[lane], value);
        histogram.max[lane] = std::max(histogram.max[lane], value);
        histogram.flags |= s_rounded.m_flags[byte];
        addToBin(histogram, lane, s_rounded.m_bin[byte], count);
    });
    histogram.count += row.texels();
}

} // namespace

void FastHistogram::Clear() {
    *this = {};
    min = {{kLargest, kLargest, kLargest, kLargest}};
    max = {{-kLargest, -kLargest, -kLargest, -kLargest}};
}

void FastHistogram::Add(const FastHistogram& other) {
    for (unsigned lane = 0; lane < 4; ++lane) {
        min[lane] = std::min(min[lane], other.min[lane]);
        max[lane] = std::max(max[lane], other.max[lane]);
    }
    addBins(*this, other.m_bins);
    flags |= other.flags;
    count += other.count;
}

FastHistogramPerTexel::FastHistogramPerTexel(const ElementProvider* source, Configuration* configuration)
    : PerTexel(source, configuration) {}

Error FastHistogramPerTexel::doPrologue(unsigned) const {
    std::for_each(std::begin(m_slots), std::end(m_slots), [](FastHistogram& slot) { slot.Clear(); });
    return kErrorNone;
}

void FastHistogramPerTexel::doTexels(unsigned callbackId, const VectorFloat* texels, unsigned count) const {
    for (unsigned i = 0; i < count; ++i) {
        addTexel(m_slots[callbackId], texels[i]);
    }
}

void FastHistogramPerTexel::doTiles(unsigned callbackId, const Tile* tiles, unsigned count) const {
    const RoundToBytes round = chooseKernel();
    RunBins bins;
    for (unsigned i = 0; i < count; ++i) {
        std::uint8_t bytes[64 * 4];
        roundInto(m_slots[callbackId], bytes, tiles[i].m_texels, 64, round);
        bins.count(bytes, 64);
    }
    bins.addTo(m_slots[callbackId]);
    m_slots[callbackId].count += 64 * count;
}

unsigned FastHistogramPerTexel::doLeadingTiles(unsigned callbackId, const SurfaceIndex* surfaceIndex,
                                               const OpenSurface& surface, unsigned y) const {
    const ByteRow row(getDecoderConfiguration(), getElementProvider(), surface, surfaceIndex->mip, y);
    if (row.tiles() == 0) {
        return PerTexel::doLeadingTiles(callbackId, surfaceIndex, surface, y);
    }
    addRow(m_slots[callbackId], row);
    return row.tiles();
}

void FastHistogramPerTexel::getHistogram(FastHistogram* destination, unsigned workers) const {
    if (checkNotNull(destination, kSourcePath, "destination must not be NULL.")) {
        destination->Clear();
        std::for_each_n(m_slots, std::min<unsigned>(workers, Job::kMaxCallbacks),
                        [destination](const FastHistogram& slot) { destination->Add(slot); });
    }
}

} // namespace qor::Texsmith::Raw
