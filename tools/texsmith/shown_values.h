// How the values of texels become the colours of a picture.
#pragma once

#include "qor/texsmith/raw/image.h"

#include <optional>
#include <string>

namespace Tool {

// Values of floats, which are linear light of any strength. Formats of sRGB are not among these.
bool isLight(qor::Vex::DataFormat format);
// Values of -1 to 1.
bool isSigned(qor::Vex::DataFormat format);
// Values that are whole numbers, which have no range of their own.
bool isInteger(qor::Vex::DataFormat format);

// What the user asked for; what is left open is chosen by the format.
struct ValueOptions {
    std::string m_channels; // "rgb", one of r, g, b and a, or "rgba"; empty: by the format
    double m_exposure = 0;  // stops
    bool m_cutsOff = false; // instead of the tone curve
    std::optional<double> m_low, m_high;
    bool m_isNormal = false;
    unsigned m_checkWide = 8; // of the checkerboard behind transparent texels
};

class ShownValues {
public:
    // Where values of integers have no range, that of the image is measured, and a hint tells it.
    ShownValues(const qor::Texsmith::Raw::MemoryMappedImage& image, const ValueOptions& options,
                const std::string& name);

    // Whether the results are light, which a picture keeps by the curve of sRGB; else they are shown as they
    // are.
    bool areLight() const { return m_isLight; }
    // Turns texels, of four floats each, which stand in row `y` from the left edge on, into what is shown:
    // red, green and blue within 0..1, and an alpha of 1.
    void show(float* texels, unsigned count, unsigned y) const;

private:
    float rangedValue(float value) const { return (value - m_low) * m_scale; }
    float bent(float lit) const;
    void showLight(float* texel) const;
    void showRange(float* texel) const;
    void showNormal(float* texel) const;
    void setRange(const qor::Texsmith::Raw::MemoryMappedImage& image, const ValueOptions& options,
                  const std::string& name);

    int m_grey = -1; // the channel that is shown as grey, or all three colours
    bool m_showsAlpha = false;
    bool m_isNormal = false;
    bool m_makesZ = false;
    bool m_isLight = false;
    bool m_cutsOff = false;
    float m_gain = 1;
    float m_low = 0;
    float m_scale = 1;
    unsigned m_checkWide = 8;
};

} // namespace Tool
