// The kernels of the reconstruction filters.
#include "qor/texsmith/filters.h"

#include <cmath>

namespace qor::Texsmith::Filters {
namespace {

constexpr float kPi = 3.1415925f; // deliberately the float below the nearest one
constexpr double kExactPi = 3.14159265358979323846;

// The sine, by its series about the nearest multiple of pi: far more exact than a float, and the same bits
// wherever doubles are those of IEEE 754.
double sine(double x) {
    const double turns = std::nearbyint(x / kExactPi);
    const double y = x - turns * kExactPi;
    const double square = y * y;
    double sum = 0.0;
    for (int n = 21; n >= 3; n -= 2) {
        sum = (sum + 1.0) * -square / (n * (n - 1));
    }
    const double value = y * (sum + 1.0);
    return std::fmod(turns, 2.0) == 0.0 ? value : -value;
}

} // namespace

float BoxFilter::evaluate(float x) const { return x >= -0.5f && x < 0.5f ? 1.0f : 0.0f; }

float TriangleFilter::evaluate(float x) const {
    if (x >= -1.0f && x < 0.0f) {
        return x + 1.0f;
    }
    return x >= 0.0f && x < 1.0f ? 1.0f - x : 0.0f;
}

float CubicFilter::evaluate(float x) const {
    const float t = std::fabs(x), square = t * t, cube = square * t;
    if (t < 1.0f) {
        return (m_a + 2.0f) * cube - (m_a + 3.0f) * square + 1.0f;
    }
    return t < 2.0f ? m_a * cube - 5.0f * m_a * square + 8.0f * m_a * t - 4.0f * m_a : 0.0f;
}

float LanczosFilter::Sinc(float x) {
    const float y = x * kPi;
    return y == 0.0f ? 1.0f : static_cast<float>(sine(y)) / y;
}

float LanczosFilter::evaluate(float x) const {
    const float t = std::fabs(x);
    return t < getWidth() ? Sinc(t) * Sinc(t / getWidth()) : 0.0f;
}

} // namespace qor::Texsmith::Filters
