// How far two textures are apart.
#pragma once

#include "float_image.h"
#include "picture.h"
#include "similarity.h"

#include "qor/texsmith/raw/image.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tool {

// Of two values in one channel. No difference where m_value is 0; a number and none are infinitely far apart.
struct Difference {
    double m_value = 0;
    qor::Texsmith::Raw::SurfaceIndex m_index;
    unsigned m_x = 0, m_y = 0, m_channel = 0;
};

// Part of each surface that is compared, in texels; right and bottom are one past the last.
struct Region {
    unsigned m_left, m_top, m_right, m_bottom;
};

// What of two textures is compared.
struct Selection {
    bool m_channels[4] = {true, true, true, true};
    std::optional<unsigned> m_mip; // none: all
    std::optional<Region>
        m_region; // of the mip that is chosen, or of the largest, which is the only one then
};

// Sums over texels, channel by channel.
struct Errors {
    double m_squares[4] = {}; // of differences
    std::uint64_t m_texels = 0;
    Similarity::Sums m_similarity; // no windows in surfaces of fewer than 8 x 8 texels, or without a peak

    void add(const Errors& other);
    double meanSquare(unsigned channel) const;
    // Not a number without windows.
    double similarity(unsigned channel) const;
};

// The result of a comparison.
struct Comparison {
    std::vector<Errors> m_mips; // those that were not chosen have no texels
    Difference m_largest;       // of the channels that were chosen; of equal ones the first

    Errors whole() const;
};

// Infinite where nothing differs. `peak` is the square of the range of values.
double psnrOf(double meanSquaredError, double peak);

// 0 for equal values and for two that are no numbers; infinite where one is no number.
double differenceOf(float a, float b);

struct ComparedFile {
    const qor::Texsmith::Raw::MemoryMappedImage* m_image;
    std::string m_name;
    qor::Texsmith::Raw::FileTransfer m_transfer; // what it says of its numbers
};

// Two textures of the same shape, whose texels are compared as floats: two of sRGB as they are stored, others
// as light. Beside one of sRGB, a picture whose file does not say that its numbers are linear is one as well.
// Of the mips, those that both have. Both are read a band of rows at a time.
class ImagePair {
public:
    // The images must outlive it. Throws Failure, in the names of the files, for textures that differ in
    // shape.
    ImagePair(const ComparedFile& a, const ComparedFile& b);
    // The name of the file that says nothing and was taken for sRGB, or none.
    const std::string& assumedSrgb() const { return m_assumedSrgb; }

    // On all threads, with the same bits on any number of them. Throws UsageFailure for a selection that the
    // textures do not have, and Failure for formats that cannot be read.
    Comparison compare(const Selection& selection) const;
    // Of each square of 8 x 8 texels the largest one, at most `count` of them, the largest first, and of
    // equal ones the first.
    std::vector<Difference> worst(unsigned count) const;
    // All surfaces that were compared; `largest` is marked, and is the scale's end.
    Picture heatMap(const Selection& selection, const Difference& largest) const;

    // The square of the range of values, for types that have a range of about one.
    std::optional<double> peak() const { return m_peak; }
    bool isAsStored() const { return m_srgb == SrgbValues::kAsStored; }
    bool hasMoreMips() const { return m_hasMoreMips; }
    unsigned mips() const { return m_mips; }
    const qor::Texsmith::Raw::MemoryMappedImage& a() const { return *m_a; }
    const qor::Texsmith::Raw::MemoryMappedImage& b() const { return *m_b; }
    SrgbValues srgb() const { return m_srgb; }
    bool isChosen(const Selection& selection, unsigned mip) const {
        return mip < m_mips && mip == selection.m_mip.value_or(selection.m_region ? 0 : mip);
    }
    Region regionOf(const Selection& selection, unsigned mip) const;

private:
    void check(const Selection& selection) const;

    const qor::Texsmith::Raw::MemoryMappedImage *m_a, *m_b;
    std::optional<double> m_peak;
    SrgbValues m_srgb;
    std::string m_assumedSrgb;
    unsigned m_mips;
    bool m_hasMoreMips;
};

} // namespace Tool
