// Pictures that the tool draws.
#pragma once

#include "qor/texsmith/raw/image.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Tool {

struct Colour {
    std::uint8_t red, green, blue;
};

// From dark to bright for 0 to 1: black, purple, red, orange, pale yellow.
Colour heatColour(double value);

// Writes a picture of bytes beside `name`, and in its place once it is whole. Throws Failure.
void savePicture(const qor::Texsmith::Raw::Image& image, const std::string& name);

class Picture {
public:
    static constexpr unsigned kDigitWide = 8, kTextTall = 10; // of the text, with its gaps

    Picture(unsigned wide, unsigned tall, Colour background);

    unsigned wide() const { return m_wide; }
    unsigned tall() const { return m_tall; }
    // What lies beyond the edges is left out.
    void fill(unsigned x, unsigned y, unsigned wide, unsigned tall, Colour colour);
    // A number as %.4g writes it.
    void number(unsigned x, unsigned y, double value, Colour colour);
    static unsigned numberWide(double value);

    // Throws Failure; .bmp, .jpg, .png and .tga are written.
    void save(const std::string& name) const;
    // Throws UsageFailure for a name that save would turn down, and for one of the files that are read,
    // whatever name that has there.
    static void checkName(const std::string& name, std::span<const std::string> inputs = {});

private:
    unsigned m_wide, m_tall;
    std::vector<std::uint8_t> m_pixels; // blue, green, red, alpha
};

} // namespace Tool
