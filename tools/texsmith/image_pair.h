// How far two textures are apart.
#pragma once

#include "picture.h"
#include "qor/texsmith/raw/comparison.h"
#include "qor/texsmith/raw/image.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {

// Of two values in one channel. No difference where m_value is 0.
struct Difference {
    double m_value = 0;
    qor::Texsmith::Raw::SurfaceIndex m_index;
    unsigned m_x = 0, m_y = 0, m_channel = 0;
};

// Infinite where nothing differs. `peak` is the square of the range of values.
double psnrOf(double meanSquaredError, double peak);

qor::Texsmith::Raw::VectorFloat meanOfMip(const qor::Texsmith::Raw::ErrorSummary& summary, unsigned mip);

// Two textures of the same shape as surfaces of floats: two of sRGB as they are stored, others as light. Of
// the mips, those that both have.
class ImagePair {
public:
    // Throws Failure, in the names of the files, for textures that differ in shape or cannot be read.
    ImagePair(const qor::Texsmith::Raw::MemoryMappedImage& a, const std::string& nameA,
              const qor::Texsmith::Raw::MemoryMappedImage& b, const std::string& nameB);

    qor::Texsmith::Raw::ErrorSummary errors();
    Difference largest() const;
    // Of each tile of 8 x 8 texels the largest one, at most `count` of them, the largest first.
    std::vector<Difference> worst(unsigned count) const;
    // Of the first surface, scaled to its own largest difference.
    Picture heatMap() const;

    // The square of the range of values, for types that have a range of about one.
    std::optional<double> peak() const { return m_peak; }
    bool isAsStored() const { return m_isAsStored; }
    bool hasMoreMips() const { return m_hasMoreMips; }
    const qor::Texsmith::Raw::MemoryMappedImage& a() const { return m_a; }
    const qor::Texsmith::Raw::MemoryMappedImage& b() const { return m_b; }

private:
    qor::Texsmith::Raw::MemoryMappedImage m_a, m_b;
    std::optional<double> m_peak;
    bool m_isAsStored;
    bool m_hasMoreMips;
};

} // namespace Tool
