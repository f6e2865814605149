// The texels of an image as floats, a band of rows at a time.
#pragma once

#include "float_image.h"

#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/job_manager.h"

namespace Tool {

// Rows of blocks are not parted: a band begins at a row that is a multiple of this.
inline constexpr unsigned kBandStep = 4;

// Works on the calling thread. One object serves one thread.
class FloatRows {
public:
    // The image must outlive it.
    FloatRows(const qor::Texsmith::Raw::MemoryMappedImage& image, SrgbValues srgb);
    FloatRows(const FloatRows&) = delete;
    FloatRows& operator=(const FloatRows&) = delete;

    // Rows `top` to `bottom` - 1 of a surface, four floats a texel, valid until the next call. `top` is a
    // multiple of kBandStep. Throws Failure for a format that cannot be read.
    qor::Texsmith::Raw::ElementRows read(const qor::Texsmith::Raw::SurfaceIndex& index, unsigned top,
                                         unsigned bottom);

private:
    void convert(const qor::Texsmith::Raw::ElementProvider& from, unsigned wide, unsigned tall);

    const qor::Texsmith::Raw::MemoryMappedImage* m_image;
    qor::Texsmith::Raw::SerialJobManager m_onThisThread;
    qor::Texsmith::Raw::Configuration m_configuration;
    qor::Texsmith::Raw::MemoryMappedImage m_floats;
    unsigned m_wide = 0, m_tall = 0; // of these
};

} // namespace Tool
