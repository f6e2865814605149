// Resampling of classic pictures: a table of weights for each direction, and one pass for each.
//
// Sums are made eight and more at a time, each over its samples in order.
#include "qor/texsmith/image_helper.h"

#include "qor/texsmith/raw/job_manager.h"
#include "raw/frame/check.h"
#include "raw/frame/out_of_memory.h"
#include "simd/float4.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "image_helper";
constexpr unsigned kLanes = 8;
constexpr unsigned kBandRows = 32; // of the destination

// The samples of one position of the destination, at least one, and their weights.
struct Contribution {
    const float* m_weights;
    unsigned m_first;
    unsigned m_count;
};

// For every position of a destination, in one block of memory.
class WeightTable {
public:
    WeightTable(unsigned sourceSize, unsigned destinationSize, const Filters::IFilter& filter)
        : m_entries(std::make_unique_for_overwrite<Contribution[]>(destinationSize)) {
        const float scale = static_cast<float>(destinationSize) / static_cast<float>(sourceSize);
        const bool enlarges = scale > 1.0f;
        const float half = extentWithin(enlarges ? filter.getWidth() : filter.getWidth() / scale, sourceSize);
        const float factor = enlarges ? 1.0f : scale;
        const std::uint64_t slots = static_cast<std::uint64_t>(std::ceil(half)) * 2 + 1;
        const std::size_t stride = static_cast<std::size_t>(std::min<std::uint64_t>(slots, sourceSize));
        m_weights = std::make_unique_for_overwrite<float[]>(destinationSize * stride);
        for (unsigned i = 0; i < destinationSize; ++i) {
            const float center = static_cast<float>(i) / scale;
            float* weights = m_weights.get() + i * stride;
            m_entries[i] = windowAt(center, half, sourceSize, slots);
            m_entries[i].m_weights = weights;
            // The kernel is deliberately centred elsewhere than the window of samples.
            fillWeights(weights, m_entries[i], center, 0.5f / scale - 0.5f, factor, filter);
        }
    }

    const Contribution& operator[](std::size_t position) const { return m_entries[position]; }

private:
    // A client's filter may claim any width. Beyond the source there are no samples.
    static float extentWithin(float half, unsigned sourceSize) {
        return half > 0.0f ? std::min(half, static_cast<float>(sourceSize)) : 0.0f;
    }

    // Cut to the source as integers: not every position beyond 2^24 is a float.
    static Contribution windowAt(float center, float half, unsigned sourceSize, std::uint64_t slots) {
        const std::int64_t end = sourceSize;
        std::int64_t first =
            std::clamp<std::int64_t>(static_cast<std::int64_t>(std::floor(center - half)), 0, end - 1);
        const std::int64_t last =
            std::clamp<std::int64_t>(static_cast<std::int64_t>(std::ceil(center + half)), first, end - 1);
        if (static_cast<std::uint64_t>(last - first + 1) > slots) {
            ++first;
        }
        const std::uint64_t count = std::min(static_cast<std::uint64_t>(last - first + 1), slots);
        return {nullptr, static_cast<unsigned>(first), static_cast<unsigned>(count)};
    }

    static void fillWeights(float* weights, const Contribution& entry, float center, float shift,
                            float factor, const Filters::IFilter& filter) {
        float sum = 0.0f;
        for (unsigned n = 0; n < entry.m_count; ++n) {
            const float sample = static_cast<float>(entry.m_first + n);
            weights[n] = filter.evaluate((center - sample + shift) * factor) * factor;
            sum += weights[n];
        }
        if (sum > 0.0f && sum != 1.0f) {
            for (unsigned n = 0; n < entry.m_count; ++n) {
                weights[n] /= sum;
            }
        }
    }

    std::unique_ptr<Contribution[]> m_entries;
    std::unique_ptr<float[]> m_weights;
};

// Work on a range of things, on a manager or on this thread.
template <typename Body> class RangeJob : public Raw::ConstantWorkItemsJob {
public:
    RangeJob(unsigned things, const Body& body) : ConstantWorkItemsJob(things), m_body(body) {}

private:
    Raw::Error doWorkItemsCallback(Raw::WorkItems items) const override {
        return Raw::failWithoutMemory(kSourcePath, [&] {
            m_body(items.m_begin, items.m_end);
            return Raw::Error(Raw::kErrorNone);
        });
    }

    const Body& m_body;
};

template <typename Body> Raw::Error forRange(unsigned things, JobManager* jobManager, const Body& body) {
    const RangeJob<Body> job(things, body);
    Raw::SerialJobManager onThisThread;
    return (jobManager != nullptr ? jobManager : &onThisThread)->submitAndStall(&job);
}

void addProducts(float* sums, const float* samples, float weight, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] += samples[i] * weight;
    }
}

using Floats = std::unique_ptr<float[]>;

Floats makeFloats(std::size_t rows, std::size_t width) {
    return std::make_unique_for_overwrite<float[]>(rows * width);
}

// Eight rows of samples side by side: sample j of row l at j * 8 + l. Rows that are neighbours in memory, as
// the planes of interleaved pixels are, are taken four at a time.
void gatherLanes(float* lanes, const float* const (&rows)[kLanes], const std::size_t (&strides)[kLanes],
                 unsigned samples) {
    for (unsigned l = 0; l < kLanes; l += 4) {
        const bool together = rows[l + 1] == rows[l] + 1 && rows[l + 2] == rows[l] + 2 &&
                              rows[l + 3] == rows[l] + 3 && strides[l] >= 4 && strides[l] == strides[l + 3];
        for (std::size_t j = 0; j < samples && together; ++j) {
            std::memcpy(lanes + j * kLanes + l, rows[l] + j * strides[l], 4 * sizeof(float));
        }
        for (unsigned lane = l; lane < l + 4 && !together; ++lane) {
            for (std::size_t j = 0; j < samples; ++j) {
                lanes[j * kLanes + lane] = rows[lane][j * strides[lane]];
            }
        }
    }
}

void sumLanes(float (&sums)[kLanes], const float* lanes, const Contribution& entry) {
    Simd::Float4 low = Simd::splat(0.0f), high = low;
    const float* samples = lanes + std::size_t{entry.m_first} * kLanes;
    for (unsigned n = 0; n < entry.m_count; ++n, samples += kLanes) {
        const Simd::Float4 weight = Simd::splat(entry.m_weights[n]);
        low = low + Simd::loadFloats(samples) * weight;
        high = high + Simd::loadFloats(samples + 4) * weight;
    }
    Simd::store(sums, low);
    Simd::store(sums + 4, high);
}

// Across: rows `begin` to before `end` of all planes, eight (row, plane) pairs at a time, into rows of
// `width` at `result`, the planes of a row one after another. `lanes` has room for eight rows of samples.
void resampleAcross(float* result, std::size_t width, float* lanes, const Image& source, unsigned begin,
                    unsigned end, unsigned planes, const WeightTable& table) {
    const std::size_t lines = std::size_t{end - begin} * planes;
    for (std::size_t first = 0; first < lines; first += kLanes) {
        const float* rows[kLanes];
        std::size_t strides[kLanes];
        float* results[kLanes];
        for (unsigned l = 0; l < kLanes; ++l) {
            const std::size_t line = std::min(first + l, lines - 1); // too few lines repeat the last
            const Image::PlanePixels pixels = source.getPlanePixels(static_cast<unsigned>(line % planes));
            const std::size_t row = begin + line / planes;
            rows[l] = pixels.m_first + row * source.getWidth() * pixels.m_stride;
            strides[l] = pixels.m_stride;
            results[l] = result + line * width;
        }
        gatherLanes(lanes, rows, strides, source.getWidth());
        for (std::size_t x = 0; x < width; ++x) {
            float sums[kLanes];
            sumLanes(sums, lanes, table[x]);
            for (unsigned l = 0; l < kLanes; ++l) {
                results[l][x] = sums[l];
            }
        }
    }
}

// Row y of every plane, which stand one after another at `rows`.
void storeRows(Image* destination, unsigned y, const float* rows, unsigned planes) {
    const std::size_t width = destination->getWidth(), stride = destination->getPixelStride();
    float* targets[Image::kMaxPlanes];
    const float* sources[Image::kMaxPlanes];
    unsigned count = 0;
    for (unsigned plane = 0; plane < planes; ++plane) {
        if (float* pixels = destination->getWritablePixels(plane); pixels != nullptr) {
            targets[count] = pixels + y * width * stride;
            sources[count++] = rows + plane * width;
        }
    }
    for (std::size_t x = 0; x < width; ++x) {
        for (unsigned p = 0; p < count; ++p) {
            targets[p][x * stride] = sources[p][x];
        }
    }
}

// The other directions: a row of the result is a sum of whole rows, of which `rowOf(j)` is sample j.
template <typename RowOf>
void sumRows(float* row, std::size_t width, const Contribution& entry, const RowOf& rowOf) {
    std::fill_n(row, width, 0.0f);
    for (unsigned n = 0; n < entry.m_count; ++n) {
        addProducts(row, rowOf(entry.m_first + n), entry.m_weights[n], width);
    }
}

struct Extent {
    unsigned m_width, m_height;
    bool isEmpty() const { return m_width == 0 || m_height == 0; }
};

// A client may have changed a slice behind its volume's back.
bool slicesAreWhole(const VolumeImage& volume) {
    for (unsigned z = 0; z < volume.getDepth(); ++z) {
        const Image& slice = *volume.getSlice(z);
        if (slice.getWidth() != volume.getWidth() || slice.getHeight() != volume.getHeight()) {
            return Raw::check(false, kSourcePath, "slicesAreWhole");
        }
    }
    return true;
}

template <typename Picture> Extent extentOf(const Picture& picture) {
    return {picture.getWidth(), picture.getHeight()};
}

// Across and down, band by band, so that what lies between the two stays in the caches. Calls
// `store(y, rows)` for each row of the result, with its planes one after another.
template <typename Store>
Raw::Error resample(const Image& source, const Extent& to, unsigned planes, const WeightTable& across,
                    const WeightTable& down, JobManager* jobManager, const Store& store) {
    const unsigned bands = to.m_height / kBandRows + (to.m_height % kBandRows != 0 ? 1 : 0);
    return forRange(bands, jobManager, [&](unsigned firstBand, unsigned endBand) {
        const Floats lanes = makeFloats(kLanes, source.getWidth()), result = makeFloats(planes, to.m_width);
        Floats between;
        std::size_t room = 0;
        for (unsigned band = firstBand; band < endBand; ++band) {
            const unsigned begin = band * kBandRows, end = begin + std::min(kBandRows, to.m_height - begin);
            unsigned first = source.getHeight(), behind = 0; // rows of the source
            for (unsigned y = begin; y < end; ++y) {
                first = std::min(first, down[y].m_first);
                behind = std::max(behind, down[y].m_first + down[y].m_count);
            }
            const std::size_t rows = std::size_t{behind - first} * planes;
            if (rows > room) {
                between = makeFloats(rows, to.m_width);
                room = rows;
            }
            resampleAcross(between.get(), to.m_width, lanes.get(), source, first, behind, planes, across);
            for (unsigned y = begin; y < end; ++y) {
                for (unsigned plane = 0; plane < planes; ++plane) {
                    sumRows(result.get() + std::size_t{plane} * to.m_width, to.m_width, down[y],
                            [&](unsigned j) {
                                return between.get() + (std::size_t{j - first} * planes + plane) * to.m_width;
                            });
                }
                store(y, result.get());
            }
        }
    });
}

// Constant planes take nothing, and may have any size.
bool takesPixels(Image* image) {
    for (unsigned plane = 0; plane < image->getNumPlanes(); ++plane) {
        if (image->getWritablePixels(plane) != nullptr) {
            return true;
        }
    }
    return false;
}

bool takesPixels(VolumeImage* volume) {
    for (unsigned z = 0; z < volume->getDepth(); ++z) {
        if (takesPixels(volume->getSlice(z))) {
            return true;
        }
    }
    return false;
}

// The planes that both have; none when there is no destination.
template <typename Picture> unsigned checkPictures(const Picture& source, const Picture* destination) {
    if (!Raw::checkNotNull(destination, kSourcePath, "destination must not be NULL.")) {
        return 0;
    }
    if (source.getNumPlanes() != destination->getNumPlanes()) {
        toolsAssert(kSourcePath, __LINE__, "Both images must have the same number of planes.");
    }
    return std::min(source.getNumPlanes(), destination->getNumPlanes());
}

} // namespace

void ImageHelper::resizeImage(const Image& source, Image* destination, const Filters::IFilter& filter,
                              JobManager* jobManager) {
    const unsigned planes = checkPictures(source, destination);
    if (planes == 0 || extentOf(source).isEmpty() || extentOf(*destination).isEmpty() ||
        !takesPixels(destination)) {
        return;
    }
    Raw::failWithoutMemory(kSourcePath, [&] {
        const Extent to = extentOf(*destination);
        const WeightTable across(source.getWidth(), to.m_width, filter);
        const WeightTable down(source.getHeight(), to.m_height, filter);
        const std::unique_ptr<Image> ownSource(&source == destination ? source.clone() : nullptr);
        if (&source == destination && ownSource == nullptr) {
            throw std::bad_alloc();
        }
        destination->deleteRawData(); // first: a report's handler may end the work half done
        return resample(ownSource != nullptr ? *ownSource : source, to, planes, across, down, jobManager,
                        [&](unsigned y, const float* rows) { storeRows(destination, y, rows, planes); });
    });
}

void ImageHelper::resizeImage(const VolumeImage& source, VolumeImage* destination,
                              const Filters::IFilter& filter, JobManager* jobManager) {
    const unsigned planes = checkPictures(source, destination);
    if (planes == 0 || extentOf(source).isEmpty() || extentOf(*destination).isEmpty() ||
        source.getDepth() == 0 || !takesPixels(destination) || !slicesAreWhole(source) ||
        !slicesAreWhole(*destination)) {
        return;
    }
    Raw::failWithoutMemory(kSourcePath, [&] {
        const Extent to = extentOf(*destination);
        const WeightTable across(source.getWidth(), to.m_width, filter);
        const WeightTable down(source.getHeight(), to.m_height, filter);
        const WeightTable inDepth(source.getDepth(), destination->getDepth(), filter);
        std::vector<Floats> slices(source.getDepth());
        const std::size_t rowFloats = std::size_t{to.m_width} * planes;
        for (unsigned z = 0; z < source.getDepth(); ++z) {
            float* slice = (slices[z] = makeFloats(to.m_height, rowFloats)).get();
            const Raw::Error error = resample(
                *source.getSlice(z), to, planes, across, down, jobManager,
                [&](unsigned y, const float* rows) { std::copy_n(rows, rowFloats, slice + y * rowFloats); });
            if (error != Raw::kErrorNone) {
                return error;
            }
        }
        const Floats result = makeFloats(1, rowFloats);
        for (unsigned z = 0; z < destination->getDepth(); ++z) {
            for (unsigned y = 0; y < to.m_height; ++y) {
                sumRows(result.get(), rowFloats, inDepth[z],
                        [&](unsigned j) { return slices[j].get() + y * rowFloats; });
                storeRows(destination->getSlice(z), y, result.get(), planes);
            }
            destination->getSlice(z)->deleteRawData();
        }
        return Raw::Error(Raw::kErrorNone);
    });
}

} // namespace qor::Texsmith
