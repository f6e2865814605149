#include "float_rows.h"

#include "failure.h"

#include "qor/texsmith/raw/reformat.h"
#include "qor/texsmith/raw/view.h"
#include "qor/vex/data_formats.h"

namespace Tool {

using namespace qor;
using namespace qor::Texsmith;

namespace {

// Memory of somebody else's.
class Borrowed : public Raw::ResizableMemoryRegion {
public:
    explicit Borrowed(MemoryRegion region) {
        begin = region.begin;
        end = region.end;
    }

private:
    void doResize(unsigned long long) override {}
};

Vex::Texture flatTexture(Vex::DataFormat format, unsigned wide, unsigned tall) {
    Vex::Texture texture;
    texture.initAs2dArray(wide, tall, 1, 0, 1, format, Vex::kTileModeDisplay_LinearAligned,
                          Vex::kNumFragments1, false);
    return texture;
}

Raw::ElementRows rowsOf(const Raw::MemoryMappedImage& image, unsigned top) {
    const Raw::SurfaceIndex first;
    Raw::ElementRows rows = image.getElementRows(&first);
    rows.m_memory = rows.row(top);
    rows.m_tall -= top;
    return rows;
}

} // namespace

FloatRows::FloatRows(const Raw::MemoryMappedImage& image, SrgbValues srgb) : m_image(&image) {
    m_configuration.m_jobManager = &m_onThisThread;
    m_configuration.m_decoderConfiguration.m_srgbAsLinear = srgb == SrgbValues::kAsStored;
}

Raw::ElementRows FloatRows::read(const Raw::SurfaceIndex& index, unsigned top, unsigned bottom) {
    const Raw::ElementRows stored = m_image->getElementRows(&index);
    const unsigned wide = m_image->getPixelsWide(index.mip), tall = m_image->getPixelsTall(index.mip);
    const bool isOfBlocks = stored.m_tall == (tall + kBandStep - 1) / kBandStep && stored.m_tall != tall;
    if (stored.m_memory == nullptr || (stored.m_tall != tall && !isOfBlocks)) {
        const Raw::AsSurfaceElementProvider surface(m_image, &index);
        convert(surface, wide, tall);
        return rowsOf(m_floats, top);
    }
    const unsigned first = isOfBlocks ? top / kBandStep : top;
    const unsigned end = isOfBlocks ? (bottom + kBandStep - 1) / kBandStep : bottom;
    MemoryRegion region;
    region.begin = stored.row(first);
    region.end = stored.row(end);
    Borrowed memory(region);
    Raw::ReallocatableImage band(&memory);
    const Vex::Texture texture = flatTexture(m_image->getDataFormat(), wide, bottom - top);
    band.reallocate(&texture);
    band.setModifiers(m_image->getModifiers());
    convert(band, wide, bottom - top);
    return rowsOf(m_floats, 0);
}

void FloatRows::convert(const Raw::ElementProvider& from, unsigned wide, unsigned tall) {
    if (m_wide != wide || m_tall != tall) {
        m_wide = wide;
        m_tall = tall;
        const Vex::Texture texture = flatTexture(Vex::kDataFormatR32G32B32A32Float, wide, tall);
        m_floats.reallocate(&texture);
    }
    if (Raw::reformat(&from, &m_floats, &m_configuration) != Raw::kErrorNone) {
        throw Failure("its format cannot be read");
    }
}

} // namespace Tool
