#include "image_pair.h"

#include "band_walk.h"
#include "colour.h"
#include "failure.h"
#include "heat_map.h"

#include <algorithm>
#include <cmath>

namespace Tool {

using namespace qor;
using namespace qor::Texsmith;

namespace {

constexpr unsigned kSquare = 8; // of texels, of which the worst one is told

// Blocks of BC6 hold floats, whatever their type is called.
std::optional<double> squaredPeak(Vex::DataFormat format) {
    if (format.getSurfaceFormat() == Vex::kSurfaceFormatBc6) {
        return {};
    }
    switch (format.getTextureChannelType()) {
    case Vex::kTextureChannelTypeUNorm:
    case Vex::kTextureChannelTypeSrgb:
    case Vex::kTextureChannelTypeUBNorm:
    case Vex::kTextureChannelTypeUBNormNoZero:
        return 1.0;
    case Vex::kTextureChannelTypeSNorm:
    case Vex::kTextureChannelTypeSNormNoZero:
        return 4.0;
    default:
        return {};
    }
}

bool hasSrgbType(const ComparedFile& file) { return isSrgb(file.m_image->getDataFormat()); }

bool mayHoldSrgb(const ComparedFile& file) {
    const Vex::DataFormat format = file.m_image->getDataFormat();
    return isSrgb(format) ||
           (mayBeSrgb(format) && !isFloat(format) && file.m_transfer != Raw::kFileTransferLinear);
}

// What one callback has found.
struct Findings {
    std::vector<Errors> m_mips;
    Difference m_largest;
    std::optional<Similarity> m_similarity;
};

struct RowErrors {
    double m_squares[4] = {}, m_largest[4] = {};
};

// As long as all differences are numbers.
RowErrors errorsOfNumbers(const float* a, const float* b, unsigned wide) {
    RowErrors errors;
    for (unsigned x = 0; x < wide; ++x, a += 4, b += 4) {
        for (unsigned channel = 0; channel < 4; ++channel) {
            const double difference = static_cast<double>(a[channel]) - static_cast<double>(b[channel]);
            const double size = std::fabs(difference);
            errors.m_squares[channel] += difference * difference;
            errors.m_largest[channel] = size > errors.m_largest[channel] ? size : errors.m_largest[channel];
        }
    }
    return errors;
}

RowErrors errorsOfRow(const float* a, const float* b, unsigned wide) {
    RowErrors errors = errorsOfNumbers(a, b, wide);
    if (std::none_of(errors.m_squares, errors.m_squares + 4, [](double sum) { return std::isnan(sum); })) {
        return errors;
    }
    errors = {};
    for (unsigned i = 0; i < wide * 4; ++i) {
        const double difference = differenceOf(a[i], b[i]);
        errors.m_squares[i % 4] += difference * difference;
        errors.m_largest[i % 4] = std::max(errors.m_largest[i % 4], difference);
    }
    return errors;
}

unsigned placeOf(double difference, const float* a, const float* b, unsigned channel) {
    unsigned x = 0;
    while (differenceOf(a[x * 4 + channel], b[x * 4 + channel]) != difference) {
        ++x;
    }
    return x;
}

void addRow(Findings* findings, const Selection& selection, const Band& band, unsigned y, const float* a,
            const float* b) {
    const unsigned wide = band.m_region.m_right - band.m_region.m_left;
    const RowErrors row = errorsOfRow(a, b, wide);
    Errors& errors = findings->m_mips[band.m_index.mip];
    errors.m_texels += wide;
    for (unsigned channel = 0; channel < 4; ++channel) {
        errors.m_squares[channel] += row.m_squares[channel];
        if (selection.m_channels[channel] && row.m_largest[channel] > findings->m_largest.m_value) {
            const unsigned x = placeOf(row.m_largest[channel], a, b, channel);
            findings->m_largest = {row.m_largest[channel], band.m_index, band.m_region.m_left + x, y,
                                   channel};
        }
    }
}

void addSimilarity(Findings* findings, const Band& band, const BandRows& rows, bool continues) {
    constexpr unsigned kStep = Similarity::kStep;
    Similarity& similarity = *findings->m_similarity;
    const bool hasAbove = band.m_top != band.m_region.m_top;
    if (!continues) {
        similarity.restart();
    }
    const unsigned first = band.m_top - (!continues && hasAbove ? kStep : 0);
    for (unsigned y = first; y + kStep <= band.m_bottom; y += kStep) {
        const float *a[kStep], *b[kStep];
        for (unsigned i = 0; i < kStep; ++i) {
            a[i] = rows.a(band, y + i);
            b[i] = rows.b(band, y + i);
        }
        similarity.addRows(&findings->m_mips[band.m_index.mip].m_similarity, a, b,
                           band.m_region.m_right - band.m_region.m_left);
    }
}

// On this thread, so that what is wrong is told in the name of the file.
void checkCanRead(const Raw::MemoryMappedImage& image, SrgbValues srgb, const std::string& name) {
    try {
        FloatRows(image, srgb).read({}, 0, std::min(kBandStep, image.getPixelsTall(0)));
    } catch (const Failure& failure) {
        throwFileFailure(name, failure);
    }
}

Comparison merge(const std::vector<Findings>& all, unsigned mips) {
    Comparison comparison;
    comparison.m_mips.resize(mips);
    for (const Findings& findings : all) {
        for (unsigned mip = 0; mip < mips; ++mip) {
            comparison.m_mips[mip].add(findings.m_mips[mip]);
        }
        if (findings.m_largest.m_value > comparison.m_largest.m_value) {
            comparison.m_largest = findings.m_largest;
        }
    }
    return comparison;
}

// Of equal ones, those that came first stand first.
void insertWorst(std::vector<Difference>* worst, const Difference& difference, unsigned count) {
    const auto place = std::upper_bound(
        worst->begin(), worst->end(), difference,
        [](const Difference& one, const Difference& other) { return one.m_value > other.m_value; });
    if (difference.m_value > 0 && static_cast<unsigned>(place - worst->begin()) < count) {
        worst->insert(place, difference);
        worst->resize(std::min<std::size_t>(worst->size(), count));
    }
}

Difference largestInSquare(const Band& band, const BandRows& rows, unsigned left, unsigned top) {
    const unsigned right = std::min(left + kSquare, band.m_region.m_right);
    Difference largest;
    for (unsigned y = top; y < std::min(top + kSquare, band.m_bottom); ++y) {
        const float *a = rows.a(band, y), *b = rows.b(band, y);
        for (unsigned i = left * 4; i < right * 4; ++i) {
            const double difference = differenceOf(a[i], b[i]);
            if (difference > largest.m_value) {
                largest = {difference, band.m_index, i / 4, y, i % 4};
            }
        }
    }
    return largest;
}

} // namespace

double psnrOf(double meanSquaredError, double peak) { return 10.0 * std::log10(peak / meanSquaredError); }

double differenceOf(float a, float b) {
    if (a == b || (std::isnan(a) && std::isnan(b))) {
        return 0;
    }
    return std::isnan(a) || std::isnan(b) ? INFINITY
                                          : std::fabs(static_cast<double>(a) - static_cast<double>(b));
}

void Errors::add(const Errors& other) {
    for (unsigned channel = 0; channel < 4; ++channel) {
        m_squares[channel] += other.m_squares[channel];
        m_similarity.m_similarity[channel] += other.m_similarity.m_similarity[channel];
    }
    m_texels += other.m_texels;
    m_similarity.m_windows += other.m_similarity.m_windows;
}

double Errors::meanSquare(unsigned channel) const {
    return m_squares[channel] / static_cast<double>(std::max<std::uint64_t>(m_texels, 1));
}

double Errors::similarity(unsigned channel) const {
    const std::uint64_t windows = m_similarity.m_windows;
    return windows != 0 ? m_similarity.m_similarity[channel] / static_cast<double>(windows) : NAN;
}

Errors Comparison::whole() const {
    Errors errors;
    for (const Errors& mip : m_mips) {
        errors.add(mip);
    }
    return errors;
}

ImagePair::ImagePair(const ComparedFile& a, const ComparedFile& b) : m_a(a.m_image), m_b(b.m_image) {
    const Vex::Texture &textureA = *m_a->getVexTexture(), &textureB = *m_b->getVexTexture();
    if (!Raw::dimensionsAreIdenticalExceptMips(textureA, textureB)) {
        throw Failure(b.m_name + ": the size or the type of texture is not that of " + a.m_name);
    }
    m_mips = std::min(m_a->getSurfaceCount().mips, m_b->getSurfaceCount().mips);
    m_hasMoreMips = m_a->getSurfaceCount().mips != m_b->getSurfaceCount().mips;
    m_peak = squaredPeak(textureA.getDataFormat());
    const bool areSrgb = (hasSrgbType(a) || hasSrgbType(b)) && mayHoldSrgb(a) && mayHoldSrgb(b);
    m_srgb = areSrgb ? SrgbValues::kAsStored : SrgbValues::kAsLight;
    for (const ComparedFile* file : {&a, &b}) {
        if (areSrgb && !hasSrgbType(*file) && file->m_transfer == Raw::kFileTransferUnstated) {
            m_assumedSrgb = file->m_name;
        }
        checkCanRead(*file->m_image, m_srgb, file->m_name);
    }
}

Region ImagePair::regionOf(const Selection& selection, unsigned mip) const {
    return selection.m_region.value_or(Region{0, 0, m_a->getPixelsWide(mip), m_a->getPixelsTall(mip)});
}

void ImagePair::check(const Selection& selection) const {
    const unsigned mip = selection.m_mip.value_or(0);
    if (mip >= m_mips) {
        throw UsageFailure("--mip: both files have mips 0 to " + std::to_string(m_mips - 1));
    }
    const Region region = regionOf(selection, mip);
    if (region.m_left >= region.m_right || region.m_top >= region.m_bottom ||
        region.m_right > m_a->getPixelsWide(mip) || region.m_bottom > m_a->getPixelsTall(mip)) {
        throw UsageFailure("--region does not lie in the " + std::to_string(m_a->getPixelsWide(mip)) + " x " +
                           std::to_string(m_a->getPixelsTall(mip)) + " texels of mip " + std::to_string(mip));
    }
}

// Each callback has findings of its own, which are merged in order.
Comparison ImagePair::compare(const Selection& selection) const {
    check(selection);
    Findings none;
    none.m_mips.resize(m_mips);
    if (m_peak) {
        none.m_similarity.emplace(*m_peak);
    }
    std::vector<Findings> all(Raw::Job::kMaxCallbacks, none);
    walkBands(*this, bandsOf(*this, selection, 2 * Similarity::kStep), Similarity::kStep,
              [&](unsigned callback, const Band& band, const BandRows& rows, bool continues) {
                  for (unsigned y = band.m_top; y < band.m_bottom; ++y) {
                      addRow(&all[callback], selection, band, y, rows.a(band, y), rows.b(band, y));
                  }
                  if (m_peak) {
                      addSimilarity(&all[callback], band, rows, continues);
                  }
              });
    return merge(all, m_mips);
}

std::vector<Difference> ImagePair::worst(unsigned count) const {
    std::vector<Difference> all[Raw::Job::kMaxCallbacks], worst;
    walkBands(*this, bandsOf(*this, {}, kSquare), 0,
              [&](unsigned callback, const Band& band, const BandRows& rows, bool) {
                  for (unsigned y = band.m_top; y < band.m_bottom; y += kSquare) {
                      for (unsigned x = 0; x < band.m_region.m_right; x += kSquare) {
                          insertWorst(&all[callback], largestInSquare(band, rows, x, y), count);
                      }
                  }
              });
    for (const std::vector<Difference>& some : all) {
        for (const Difference& difference : some) {
            insertWorst(&worst, difference, count);
        }
    }
    return worst;
}

Picture ImagePair::heatMap(const Selection& selection, const Difference& largest) const {
    check(selection);
    return drawHeatMap(*this, selection, largest);
}

} // namespace Tool
