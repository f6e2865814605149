// Reconstruction filters: kernels of one dimension, by which classic pictures are resampled.
#pragma once

#include "qor/texsmith/export.h"

namespace qor::Texsmith::Filters {

// A kernel is symmetric about 0, where it is highest, and 0 from its width on. Objects hold no mutable state.
class QOR_TEXSMITH_API IFilter {
public:
    virtual float evaluate(float x) const = 0;
    virtual float getWidth() const = 0; // half the extent, in pixels of the coarser grid
    virtual ~IFilter() = default;
};

// 1 from -0.5 to before 0.5: the mean of the pixels there.
class QOR_TEXSMITH_API BoxFilter : public IFilter {
public:
    float evaluate(float x) const override;
    float getWidth() const override { return 0.5f; }
};

// 1 - |x|, down to 0: linear interpolation.
class QOR_TEXSMITH_API TriangleFilter : public IFilter {
public:
    float evaluate(float x) const override;
    float getWidth() const override { return 1.0f; }
};

// Cubic convolution (Keys, "Cubic Convolution Interpolation for Digital Image Processing", 1981). `a` is the
// slope at 1: -0.5 reproduces quadratic signals, -0.75 and -1 look sharper, 0 leaves the outer lobe out.
class QOR_TEXSMITH_API CubicFilter : public IFilter {
public:
    explicit CubicFilter(float a) : m_a(a) {}
    float evaluate(float x) const override;
    float getWidth() const override { return 2.0f; }

private:
    float m_a;
};

// The windowed sinc of three lobes (Duchon, "Lanczos Filtering in One and Two Dimensions", 1979). Its value
// is the same on every system: it does not go through the C library's sine.
class QOR_TEXSMITH_API LanczosFilter : public IFilter {
public:
    float evaluate(float x) const override;
    float getWidth() const override { return 3.0f; }

private:
    static float Sinc(float x);
};

} // namespace qor::Texsmith::Filters
