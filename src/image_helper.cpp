// Resampling of classic pictures: a table of weights for each direction, and one pass for each.
//
// Passes work on planes of contiguous floats, eight sums at a time, each over its samples in order.
#include "qor/texsmith/image_helper.h"

#include "qor/texsmith/raw/job_manager.h"
#include "raw/frame/check.h"
#include "raw/frame/out_of_memory.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace qor::Texsmith {
namespace {

constexpr char kSourcePath[] = "image_helper";
constexpr unsigned kLanes = 8;

// The samples of one position of the destination, and their weights.
struct Contribution {
    const float* m_weights;
    int m_first;
    int m_last;
};

// For every position of a destination, in one block of memory.
class WeightTable {
public:
    WeightTable(unsigned sourceSize, unsigned destinationSize, const Filters::IFilter& filter)
        : m_entries(std::make_unique<Contribution[]>(destinationSize)) {
        const float scale = static_cast<float>(destinationSize) / static_cast<float>(sourceSize);
        const bool enlarges = scale > 1.0f;
        const float half = extentWithin(enlarges ? filter.getWidth() : filter.getWidth() / scale, sourceSize);
        const float factor = enlarges ? 1.0f : scale;
        const int slots = static_cast<int>(std::ceil(half)) * 2 + 1;
        m_weights = std::make_unique<float[]>(std::size_t{destinationSize} * static_cast<unsigned>(slots));
        for (unsigned i = 0; i < destinationSize; ++i) {
            const float center = static_cast<float>(i) / scale;
            Contribution& entry = m_entries[i];
            placeWindow(&entry, center, half, static_cast<int>(sourceSize), slots);
            float* weights = m_weights.get() + std::size_t{i} * static_cast<unsigned>(slots);
            entry.m_weights = weights;
            // The kernel is deliberately centred elsewhere than the window of samples.
            fillWeights(weights, entry, center, 0.5f / scale - 0.5f, factor, filter);
        }
    }

    const Contribution& operator[](std::size_t position) const { return m_entries[position]; }

private:
    // A client's filter may claim any width. Beyond the source there are no samples.
    static float extentWithin(float half, unsigned sourceSize) {
        return half > 0.0f ? std::min(half, static_cast<float>(sourceSize)) : 0.0f;
    }

    static void placeWindow(Contribution* entry, float center, float half, int sourceSize, int slots) {
        int first = static_cast<int>(std::max(std::floor(center - half), 0.0f));
        int last = static_cast<int>(std::min(std::ceil(center + half), static_cast<float>(sourceSize - 1)));
        first = std::min(first, sourceSize - 1);
        if (last - first + 1 > slots) {
            ++first;
        }
        last = std::min(std::max(last, first), first + slots - 1); // at least one, and within the block
        *entry = {nullptr, first, last};
    }

    static void fillWeights(float* weights, const Contribution& entry, float center, float shift,
                            float factor, const Filters::IFilter& filter) {
        float sum = 0.0f;
        const int count = entry.m_last - entry.m_first + 1;
        for (int n = 0; n < count; ++n) {
            const float sample = static_cast<float>(entry.m_first + n);
            weights[n] = filter.evaluate((center - sample + shift) * factor) * factor;
            sum += weights[n];
        }
        if (sum > 0.0f && sum != 1.0f) {
            for (int n = 0; n < count; ++n) {
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

// Rows of planes, contiguous: row r of plane p begins at float (p * rows + r) * width.
struct PlaneRows {
    std::unique_ptr<float[]> m_floats;
    std::size_t m_width = 0;
    std::size_t m_rows = 0;
    float* row(std::size_t plane, std::size_t y) const {
        return m_floats.get() + (plane * m_rows + y) * m_width;
    }
};

PlaneRows makeRows(std::size_t width, std::size_t rows, std::size_t planes) {
    return {std::make_unique_for_overwrite<float[]>(width * rows * planes), width, rows};
}

// Eight rows of samples side by side: sample j of row l at j * 8 + l. Rows that are neighbours in memory, as
// the planes of interleaved pixels are, are taken four at a time.
void gatherLanes(float* lanes, const float* const (&rows)[kLanes], const std::size_t (&strides)[kLanes],
                 unsigned samples) {
    for (unsigned l = 0; l < kLanes; l += 4) {
        const bool together = rows[l + 1] == rows[l] + 1 && rows[l + 2] == rows[l] + 2 &&
                              rows[l + 3] == rows[l] + 3 && strides[l] >= 4 && strides[l] == strides[l + 3];
        for (unsigned j = 0; j < samples && together; ++j) {
            std::memcpy(lanes + j * kLanes + l, rows[l] + j * strides[l], 4 * sizeof(float));
        }
        for (unsigned lane = l; lane < l + 4 && !together; ++lane) {
            for (unsigned j = 0; j < samples; ++j) {
                lanes[j * kLanes + lane] = rows[lane][j * strides[lane]];
            }
        }
    }
}

// One direction of rows: `planes` planes of `rows` rows, taken in bands of eight (row, plane) pairs.
void resampleAcross(const PlaneRows& result, const Image& source, unsigned planes, const WeightTable& table,
                    JobManager* jobManager, Raw::Error* error) {
    const unsigned width = source.getWidth(), lines = source.getHeight() * planes;
    const unsigned bands = lines / kLanes + (lines % kLanes != 0 ? 1 : 0);
    *error = forRange(bands, jobManager, [&](unsigned begin, unsigned end) {
        const auto lanes = std::make_unique_for_overwrite<float[]>(std::size_t{width} * kLanes);
        for (unsigned band = begin; band < end; ++band) {
            const float* rows[kLanes];
            std::size_t strides[kLanes];
            float* results[kLanes];
            for (unsigned l = 0; l < kLanes; ++l) {
                const unsigned line = std::min(band * kLanes + l, lines - 1); // a short band repeats its last
                const Image::PlanePixels pixels = source.getPlanePixels(line % planes);
                rows[l] = pixels.m_first + std::size_t{line / planes} * width * pixels.m_stride;
                strides[l] = pixels.m_stride;
                results[l] = result.row(line % planes, line / planes);
            }
            gatherLanes(lanes.get(), rows, strides, width);
            for (std::size_t x = 0; x < result.m_width; ++x) {
                const Contribution& entry = table[x];
                float sums[kLanes] = {};
                for (int j = entry.m_first; j <= entry.m_last; ++j) {
                    addProducts(sums, lanes.get() + static_cast<unsigned>(j) * kLanes,
                                entry.m_weights[j - entry.m_first], kLanes);
                }
                for (unsigned l = 0; l < kLanes; ++l) {
                    results[l][x] = sums[l];
                }
            }
        }
    });
}

void storeRow(Image* destination, unsigned plane, unsigned y, const float* row) {
    float* pixels = destination->getWritablePixels(plane);
    if (pixels != nullptr) {
        const std::size_t stride = destination->getPixelStride(), width = destination->getWidth();
        float* first = pixels + std::size_t{y} * width * stride;
        for (std::size_t x = 0; x < width; ++x) {
            first[x * stride] = row[x];
        }
    }
}

// The other directions: a row of the result is a sum of whole rows. `rowOf(plane, j)` is sample row j.
template <typename RowOf>
void sumRows(float* row, std::size_t width, const Contribution& entry, const RowOf& rowOf) {
    std::fill_n(row, width, 0.0f);
    for (int j = entry.m_first; j <= entry.m_last; ++j) {
        addProducts(row, rowOf(static_cast<unsigned>(j)), entry.m_weights[j - entry.m_first], width);
    }
}

struct Extent {
    unsigned m_width, m_height, m_planes;
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
    return {picture.getWidth(), picture.getHeight(), picture.getNumPlanes()};
}

// Across and down, into planes of the destination's size.
Raw::Error resample(PlaneRows* result, const Image& source, const Extent& to, unsigned planes,
                    const WeightTable& across, const WeightTable& down, JobManager* jobManager) {
    const PlaneRows between = makeRows(to.m_width, source.getHeight(), planes);
    *result = makeRows(to.m_width, to.m_height, planes);
    Raw::Error error = Raw::kErrorNone;
    resampleAcross(between, source, planes, across, jobManager, &error);
    if (error != Raw::kErrorNone) {
        return error;
    }
    return forRange(to.m_height, jobManager, [&](unsigned begin, unsigned end) {
        for (unsigned y = begin; y < end; ++y) {
            for (unsigned plane = 0; plane < planes; ++plane) {
                sumRows(result->row(plane, y), to.m_width, down[y],
                        [&](unsigned j) { return between.row(plane, j); });
            }
        }
    });
}

void storePlanes(Image* destination, const PlaneRows& rows, unsigned planes) {
    for (unsigned y = 0; y < destination->getHeight(); ++y) {
        for (unsigned plane = 0; plane < planes; ++plane) {
            storeRow(destination, plane, y, rows.row(plane, y));
        }
    }
    destination->deleteRawData();
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
    if (planes == 0 || extentOf(source).isEmpty() || extentOf(*destination).isEmpty()) {
        return;
    }
    Raw::failWithoutMemory(kSourcePath, [&] {
        const Extent to = extentOf(*destination);
        const WeightTable across(source.getWidth(), to.m_width, filter);
        const WeightTable down(source.getHeight(), to.m_height, filter);
        PlaneRows rows;
        const Raw::Error error = resample(&rows, source, to, planes, across, down, jobManager);
        if (error == Raw::kErrorNone) {
            storePlanes(destination, rows, planes);
        }
        return error;
    });
}

void ImageHelper::resizeImage(const VolumeImage& source, VolumeImage* destination,
                              const Filters::IFilter& filter, JobManager* jobManager) {
    const unsigned planes = checkPictures(source, destination);
    if (planes == 0 || extentOf(source).isEmpty() || extentOf(*destination).isEmpty() ||
        source.getDepth() == 0 || destination->getDepth() == 0 || !slicesAreWhole(source) ||
        !slicesAreWhole(*destination)) {
        return;
    }
    Raw::failWithoutMemory(kSourcePath, [&] {
        const Extent to = extentOf(*destination);
        const WeightTable across(source.getWidth(), to.m_width, filter);
        const WeightTable down(source.getHeight(), to.m_height, filter);
        const WeightTable inDepth(source.getDepth(), destination->getDepth(), filter);
        std::vector<PlaneRows> slices(source.getDepth());
        for (unsigned z = 0; z < source.getDepth(); ++z) {
            const Raw::Error error =
                resample(&slices[z], *source.getSlice(z), to, planes, across, down, jobManager);
            if (error != Raw::kErrorNone) {
                return error;
            }
        }
        const PlaneRows rows = makeRows(to.m_width, to.m_height, planes);
        for (unsigned z = 0; z < destination->getDepth(); ++z) {
            for (unsigned line = 0; line < to.m_height * planes; ++line) {
                const unsigned y = line / planes, plane = line % planes;
                sumRows(rows.row(plane, y), to.m_width, inDepth[z],
                        [&](unsigned j) { return slices[j].row(plane, y); });
            }
            storePlanes(destination->getSlice(z), rows, planes);
        }
        return Raw::Error(Raw::kErrorNone);
    });
}

} // namespace qor::Texsmith
