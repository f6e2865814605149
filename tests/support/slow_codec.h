// The texel codecs a second time, by value instead of by bits: doubles, whole numbers and the C library, with
// a rounding to float after each step where the library computes in floats. The layouts come from the
// formats' names.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

namespace TestSupport {

// Null where there is no row, and for the two that have a name only.
// clang-format off
inline constexpr const char* kSurfaceFormatNames[59] = {
    "Invalid", "8", "16", "8_8", "32", "16_16", "10_11_11", "11_11_10", "10_10_10_2", "2_10_10_10", "8_8_8_8",
    "32_32", "16_16_16_16", "32_32_32", "32_32_32_32", nullptr, "5_6_5", "1_5_5_5", "5_5_5_1", "4_4_4_4", "8_24",
    "24_8", "X24_8_32", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    nullptr, "5_9_9_9", "Bc1", "Bc2", "Bc3", "Bc4", "Bc5", "Bc6", "Bc7", nullptr, nullptr, "Fmask8_S2_F1",
    "Fmask8_S4_F1", "Fmask8_S8_F1", "Fmask8_S2_F2", "Fmask8_S4_F2", "Fmask8_S4_F4", "Fmask16_S16_F1",
    "Fmask16_S8_F2", "Fmask32_S16_F2", "Fmask32_S8_F4", "Fmask32_S8_F8", "Fmask64_S16_F4", "Fmask64_S16_F8",
    "4_4", "6_5_5"};
// clang-format on

// Widths from the least significant channel on: a name reads the other way.
inline std::vector<unsigned> widthsFromName(const std::string& name) {
    if (name.starts_with("Fmask")) {
        const auto bits = static_cast<unsigned>(std::stoul(name.substr(5)));
        return bits == 64 ? std::vector<unsigned>{32, 32} : std::vector<unsigned>{bits};
    }
    std::vector<unsigned> widths;
    if (name.starts_with("Bc") || name == "Invalid") {
        return widths;
    }
    for (std::size_t at = name[0] == 'X' ? 1 : 0; at < name.size();) {
        std::size_t length = 0;
        widths.insert(widths.begin(), static_cast<unsigned>(std::stoul(name.substr(at), &length)));
        at += length + 1;
    }
    return widths;
}

class SlowCodec {
public:
    explicit SlowCodec(unsigned surfaceFormat) {
        const std::vector<unsigned> widths = widthsFromName(kSurfaceFormatNames[surfaceFormat]);
        for (unsigned channel = 0; channel < 4; ++channel) {
            m_widths[channel] = channel < widths.size() ? widths[channel] : 0;
            m_offsets[channel + 1] = m_offsets[channel] + m_widths[channel];
        }
    }
    unsigned bytes() const { return m_offsets[4] / 8; }
    unsigned width(unsigned channel) const { return m_widths[channel]; }
    std::uint32_t mask(unsigned channel) const {
        return static_cast<std::uint32_t>(range(m_widths[channel]) - 1);
    }

    // One bit after the other.
    std::uint32_t extract(const std::uint8_t* element, unsigned channel) const {
        std::uint32_t raw = 0;
        for (unsigned bit = 0; bit < m_widths[channel]; ++bit) {
            const unsigned at = m_offsets[channel] + bit;
            raw |= (element[at / 8] >> at % 8 & 1u) << bit;
        }
        return raw;
    }
    void insert(std::uint8_t* element, unsigned channel, std::uint32_t raw) const {
        for (unsigned bit = 0; bit < m_widths[channel]; ++bit) {
            const unsigned at = m_offsets[channel] + bit;
            const unsigned kept = element[at / 8] & ~(1u << at % 8);
            element[at / 8] = static_cast<std::uint8_t>(kept | (raw >> bit & 1u) << at % 8);
        }
    }

    std::uint32_t decode(std::uint32_t raw, unsigned channel, unsigned type) const {
        const unsigned n = m_widths[channel];
        const std::int64_t half = range(n) / 2;
        const std::int64_t whole = n == 0 ? static_cast<std::int32_t>(raw) : std::int64_t{raw};
        const std::int64_t extended = n != 0 && whole >= half ? whole - range(n) : whole;
        const std::int64_t biased = whole - half;
        if (type == 4 || type == 5 || type == 12 || type == 7) {
            return type == 7 ? decodeFloat(raw, n)
                             : static_cast<std::uint32_t>(type == 4   ? raw
                                                          : type == 5 ? extended
                                                                      : biased);
        }
        const float toUnit = n == 0 ? 1.0f : round(1.0 / static_cast<double>(range(n) - 1));
        const float toSigned = n <= 1 ? 1.0f : round(1.0 / static_cast<double>(half - 1));
        const float unit = product(real(raw), toUnit);
        const float lifted = product(real(static_cast<std::uint32_t>(extended + half)), toUnit);
        const float wrapped = product(real(static_cast<std::int32_t>(raw)), toUnit);
        // clang-format off
        const float values[16] = {
            unit, std::fmax(-1.0f, product(real(extended), toSigned)), real(raw), real(extended), 0, 0,
            sum(product(clamp(lifted, 0.0f, 1.0f), 2.0f), -1.0f), 0, 0,
            type == 9 && channel < 3 ? fromSrgb(unit) : unit, std::fmax(-1.0f, product(real(biased), toSigned)),
            sum(product(wrapped, 2.0f), -1.0f), 0, real(biased)};
        // clang-format on
        return bits(values[type]);
    }

    std::uint32_t encode(std::uint32_t value, unsigned channel, unsigned type) const {
        const unsigned n = m_widths[channel];
        return static_cast<std::uint32_t>(encodeWhole(value, channel, type) & (range(n) - 1));
    }

    static float fromSrgb(float encoded) {
        const float x = clamp(encoded, 0.0f, 1.0f);
        return x <= 0.040448237f ? quotient(x, 12.92f)
                                 : round(std::pow(double{quotient(sum(x, 0.055f), 1.055f)}, double{2.4f}));
    }
    static float toSrgb(float linear) {
        const float x = clamp(linear, 0.0f, 1.0f);
        const float power = round(std::pow(double{x}, double{0.41666666f}));
        return x <= 0.0031306685f ? product(x, 12.92f) : sum(product(power, 1.055f), -0.055f);
    }

private:
    static std::int64_t range(unsigned bits) { return bits == 0 ? 1 : std::int64_t{1} << bits; }
    static std::uint32_t bits(float value) { return std::bit_cast<std::uint32_t>(value); }
    template <typename Whole> static float real(Whole whole) { return static_cast<float>(whole); }
    static float round(double value) { return static_cast<float>(value); }
    static float product(float a, float b) { return round(double{a} * double{b}); }
    static float quotient(float a, float b) { return round(double{a} / double{b}); }
    static float sum(float a, float b) { return round(double{a} + double{b}); }
    static float clamp(float value, float low, float high) {
        return std::isnan(value) ? low : std::fmin(std::fmax(value, low), high);
    }
    static std::int64_t limit(double whole, double low, double high) {
        return static_cast<std::int64_t>(std::fmin(std::fmax(whole, low), high));
    }
    static std::int64_t nearestUnsigned(float value) {
        return limit(std::floor(sum(value, 0.5f)), 0.0, 4294967295.0);
    }
    static std::int64_t nearestSigned(float value) {
        const double away = value >= 0 ? std::floor(sum(value, 0.5f)) : std::ceil(sum(value, -0.5f));
        return limit(away, -2147483648.0, 2147483647.0);
    }

    std::int64_t encodeWhole(std::uint32_t value, unsigned channel, unsigned type) const {
        const std::int64_t half = range(m_widths[channel]) / 2;
        const float x = std::bit_cast<float>(value), h = real(half),
                    most = real(range(m_widths[channel]) - 1);
        const std::int64_t snorm = nearestSigned(product(real(half - 1), clamp(x, -1.0f, 1.0f)));
        const std::int64_t sscaled = nearestSigned(clamp(x, -h, real(half - 1)));
        const std::int64_t sint = std::clamp<std::int64_t>(static_cast<std::int32_t>(value), -half, half - 1);
        const float raised = clamp(sum(product(x, 0.5f), 0.5f), 0.0f, 1.0f);
        const float middle = sum(product(clamp(x, -1.0f, 1.0f), 0.5f), 0.5f);
        const float linear = type == 9 && channel < 3 ? toSrgb(x) : clamp(x, 0.0f, 1.0f);
        // clang-format off
        const std::int64_t values[16] = {
            nearestUnsigned(product(most, linear)), snorm, nearestUnsigned(clamp(x, 0.0f, most)), sscaled,
            std::min(value, mask(channel)), sint, nearestUnsigned(product(most, raised)) - half,
            encodeFloat(value, m_widths[channel]), 0, nearestUnsigned(product(most, linear)), snorm + half,
            nearestSigned(sum(product(middle, most), -h)) + half, sint + half, sscaled + half};
        // clang-format on
        return values[type];
    }

    // Bits of mantissa, exponent and sign; 0 for a width that holds no floats.
    struct Parts {
        int mantissa, exponent, sign;
        explicit Parts(unsigned n)
            : mantissa(n == 32              ? 23
                       : n == 10 || n == 11 ? static_cast<int>(n) - 5
                       : n == 16            ? 10
                                            : 0),
              exponent(n == 32 ? 8 : 5), sign(n == 32 || n == 16) {}
        int bias() const { return (1 << (exponent - 1)) - 1; }
        int endless() const { return (1 << exponent) - 1; }
    };

    static std::uint32_t decodeFloat(std::uint32_t raw, unsigned n) {
        const Parts parts(n);
        if (parts.mantissa == 0) {
            return 0;
        }
        const int mantissa = static_cast<int>(raw % (1u << parts.mantissa));
        const int exponent = static_cast<int>(raw >> parts.mantissa) & parts.endless();
        const std::uint32_t sign = parts.sign != 0 && raw >> (n - 1) != 0 ? 0x80000000 : 0;
        if (exponent == parts.endless()) {
            return sign + 0x7F800000 + static_cast<std::uint32_t>(mantissa << (23 - parts.mantissa));
        }
        // The smallest exponent keeps the mantissa's bits, so it counts in units of the float's.
        const double magnitude = exponent == 0 ? std::ldexp(mantissa, -126 - parts.mantissa)
                                               : std::ldexp((1 << parts.mantissa) + mantissa,
                                                            exponent - parts.bias() - parts.mantissa);
        return sign + bits(static_cast<float>(magnitude));
    }

    static std::int64_t encodeFloat(std::uint32_t value, unsigned n) {
        const Parts parts(n);
        const float x = std::bit_cast<float>(value);
        if (parts.mantissa == 0 || (parts.sign == 0 && !(x > 0))) {
            return 0;
        }
        const std::int64_t sign = std::signbit(x) ? std::int64_t{parts.sign} << (n - 1) : 0;
        int exponent = 0;
        const double fraction = std::frexp(std::fabs(double{x}), &exponent); // 0.5 to 1
        const int biased = exponent - 1 + parts.bias();
        std::int64_t whole = 0;
        if (std::isnan(x) || std::isinf(x)) {
            const unsigned mantissa = (value % (1u << 23)) >> (23 - parts.mantissa);
            whole = (std::int64_t{parts.endless()} << parts.mantissa) + mantissa;
        } else if (std::fabs(x) < 0x1p-126f) {
            whole = static_cast<std::int64_t>(std::ldexp(std::fabs(double{x}), 126 + parts.mantissa));
        } else if (biased < 1) {
            whole = std::int64_t{1} << parts.mantissa;
        } else if (biased >= parts.endless()) {
            whole = (std::int64_t{parts.endless()} << parts.mantissa) - 1;
        } else {
            whole = static_cast<std::int64_t>(std::ldexp(fraction, parts.mantissa + 1)) +
                    (std::int64_t{biased - 1} << parts.mantissa);
        }
        return sign + whole;
    }

    unsigned m_widths[4];
    unsigned m_offsets[5] = {};
};

} // namespace TestSupport
