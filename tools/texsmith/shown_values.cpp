#include "shown_values.h"

#include "console.h"
#include "measures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>

namespace Tool {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr float kDarkCheck = 0.4f, kBrightCheck = 0.6f; // as they are shown
constexpr float kDarkLight = 0.133f, kBrightLight = 0.319f;
constexpr float kStraight = 0.75f; // where the tone curve leaves the straight line

// The different channels that red, green and blue come from.
std::set<unsigned> colourSources(Vex::DataFormat format) {
    std::set<unsigned> sources;
    for (unsigned channel = 0; channel < 3; ++channel) {
        if (const unsigned source = format.getChannel(channel); source >= Vex::kTextureChannelX) {
            sources.insert(source);
        }
    }
    return sources;
}

// A format of one colour is grey, and one of alpha alone shows that.
int greyByFormat(Vex::DataFormat format) {
    const auto isStored = [&](unsigned channel) {
        return format.getChannel(channel) >= Vex::kTextureChannelX;
    };
    if (colourSources(format).size() > 1) {
        return -1;
    }
    for (int channel = 0; channel < 4; ++channel) {
        if (isStored(static_cast<unsigned>(channel))) {
            return channel;
        }
    }
    return -1;
}

int greyNamed(const std::string& channels) {
    return channels.size() == 1 ? static_cast<int>(std::string("rgba").find(channels)) : -1;
}

// Not a number is black.
float clamped(float value) { return value > 0 ? std::min(value, 1.0f) : 0.0f; }

} // namespace

bool isLight(Vex::DataFormat format) {
    return format.getTextureChannelType() == Vex::kTextureChannelTypeFloat ||
           format.getSurfaceFormat() == Vex::kSurfaceFormatBc6 ||
           format.getSurfaceFormat() == Vex::kSurfaceFormat5_9_9_9;
}

bool isSigned(Vex::DataFormat format) {
    const Vex::TextureChannelType type = format.getTextureChannelType();
    return type == Vex::kTextureChannelTypeSNorm || type == Vex::kTextureChannelTypeSNormNoZero ||
           type == Vex::kTextureChannelTypeUBNorm || type == Vex::kTextureChannelTypeUBNormNoZero;
}

bool isInteger(Vex::DataFormat format) {
    switch (format.getTextureChannelType()) {
    case Vex::kTextureChannelTypeUScaled:
    case Vex::kTextureChannelTypeSScaled:
    case Vex::kTextureChannelTypeUInt:
    case Vex::kTextureChannelTypeSInt:
    case Vex::kTextureChannelTypeUBInt:
    case Vex::kTextureChannelTypeUBScaled:
        return true;
    default:
        return false;
    }
}

ShownValues::ShownValues(const Raw::MemoryMappedImage& image, const ValueOptions& options,
                         const std::string& name)
    : m_showsAlpha(options.m_channels == "rgba"), m_isNormal(options.m_isNormal),
      m_cutsOff(options.m_cutsOff), m_gain(static_cast<float>(std::exp2(options.m_exposure))),
      m_checkWide(options.m_checkWide) {
    const Vex::DataFormat format = image.getDataFormat();
    m_grey = options.m_channels.empty() ? greyByFormat(format) : greyNamed(options.m_channels);
    m_makesZ = colourSources(format).size() == 2;
    m_isLight = isLight(format) && !options.m_low && !m_isNormal && m_grey != 3;
    setRange(image, options, name);
}

void ShownValues::setRange(const Raw::MemoryMappedImage& image, const ValueOptions& options,
                           const std::string& name) {
    const Vex::DataFormat format = image.getDataFormat();
    double low = 0, high = 1;
    if (options.m_low) {
        low = *options.m_low;
        high = *options.m_high;
    } else if (m_isNormal) {
        low = isSigned(format) || isLight(format) ? 0 : 0.5; // as components of -1 to 1
    } else if (isSigned(format) && !isLight(format)) {
        low = -1;
    } else if (isInteger(format)) {
        Measures measures;
        measureTexture(&measures, image, name);
        const unsigned first = m_grey >= 0 ? static_cast<unsigned>(m_grey) : 0;
        high = static_cast<double>(measures.m_range.max[first]);
        for (unsigned channel = first; channel < (m_grey >= 0 ? first + 1 : 3u); ++channel) {
            low = std::min(low, static_cast<double>(measures.m_range.min[channel]));
            high = std::max(high, static_cast<double>(measures.m_range.max[channel]));
        }
        high = high > low ? high : low + 1;
        char text[96];
        std::snprintf(text, sizeof text,
                      "integers from %g to %g are shown as black to white; --range sets both", low, high);
        hint(text);
    }
    m_low = static_cast<float>(low);
    m_scale = static_cast<float>(1 / (high - low));
}

// Straight up to three quarters, then ever flatter towards 1.
float ShownValues::bent(float lit) const {
    if (m_cutsOff || !(lit > kStraight)) {
        return lit;
    }
    const float beyond = (lit - kStraight) / (1 - kStraight);
    return std::isinf(beyond) ? 1.0f : kStraight + (1 - kStraight) * (beyond / (1 + beyond));
}

// The brightest colour goes by the curve, and the others keep their share of it, so that a blue sky stays
// blue.
void ShownValues::showLight(float* texel) const {
    const bool isGrey = m_grey >= 0;
    const float brightest = isGrey ? texel[m_grey] : std::max({texel[0], texel[1], texel[2]});
    const float lit = brightest * m_gain;
    const float share = lit > kStraight && !std::isinf(lit) ? bent(lit) / lit : 1;
    for (unsigned i = 0; i < 3; ++i) {
        const float own = isGrey ? lit : texel[i] * m_gain;
        texel[i] = clamped(std::isinf(lit) && !std::isinf(own) ? 0.0f : own * share);
    }
}

// Components of -1 to 1 as 0 to 1, the third one made up where there are only two.
void ShownValues::showNormal(float* texel) const {
    const float x = rangedValue(texel[0]), y = rangedValue(texel[1]);
    const float z = m_makesZ ? std::sqrt(std::max(0.0f, 1 - x * x - y * y)) : rangedValue(texel[2]);
    const float components[] = {x, y, z};
    for (unsigned i = 0; i < 3; ++i) {
        texel[i] = clamped(components[i] * 0.5f + 0.5f);
    }
}

void ShownValues::showRange(float* texel) const {
    const float grey = m_grey >= 0 ? clamped(rangedValue(texel[m_grey])) : 0;
    for (unsigned i = 0; i < 3; ++i) {
        texel[i] = m_grey >= 0 ? grey : clamped(rangedValue(texel[i]));
    }
}

void ShownValues::show(float* texels, unsigned count, unsigned y) const {
    const float dark = m_isLight ? kDarkLight : kDarkCheck, bright = m_isLight ? kBrightLight : kBrightCheck;
    for (unsigned x = 0; x < count; ++x) {
        float* const texel = texels + std::size_t{x} * 4;
        const float alpha = clamped(texel[3]);
        if (m_isNormal) {
            showNormal(texel);
        } else if (m_isLight) {
            showLight(texel);
        } else {
            showRange(texel);
        }
        if (m_showsAlpha) {
            const float behind = (x / m_checkWide + y / m_checkWide) % 2 == 0 ? bright : dark;
            for (unsigned i = 0; i < 3; ++i) {
                texel[i] = texel[i] * alpha + behind * (1 - alpha);
            }
        }
        texel[3] = 1;
    }
}

} // namespace Tool
