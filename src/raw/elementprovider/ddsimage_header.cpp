#include "raw/elementprovider/ddsimage_header.h"

#include "raw/frame/check.h"

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "raw\\elementprovider\\ddsimage";

bool checkLength(std::uint64_t length) {
    if (length >= Dds::kBytesBefore) {
        return true;
    }
    toolsAssert(kSourcePath, __LINE__,
                "DDS file must be at least %d bytes - enough for a 32-bit magic cookie and DDS_HEADER "
                "structure - but this one is %d bytes.",
                static_cast<int>(Dds::kBytesBefore), static_cast<int>(length));
    return false;
}

bool checkMagic(std::uint32_t magic) {
    if (magic == Dds::kMagic) {
        return true;
    }
    toolsAssert(kSourcePath, __LINE__,
                "DDS file begins with magic cookie 0x%08x, but this one begins with 0x%08x. Maybe it's not a "
                "DDS file?",
                Dds::kMagic, magic);
    return false;
}

bool checkSizes(const Dds::Header& header) {
    const bool isWhole = header.m_size == sizeof header;
    if (!isWhole) {
        toolsAssert(kSourcePath, __LINE__,
                    "DDS header's dwSize field must be sizeof(DDS_HEADER) or %d, but this one is %d.",
                    static_cast<int>(sizeof header), static_cast<int>(header.m_size));
    }
    const Dds::PixelFormat& pixelFormat = header.m_pixelFormat;
    if (pixelFormat.m_size == sizeof pixelFormat) {
        return isWhole;
    }
    toolsAssert(kSourcePath, __LINE__,
                "DDS header's ddspf.dwSize field must be sizeof(DDS_PIXELFORMAT) or %d, but this one is %d.",
                static_cast<int>(sizeof pixelFormat), static_cast<int>(pixelFormat.m_size));
    return false;
}

bool checkLengthDx10(std::uint64_t length) {
    if (length >= Dds::kBytesBeforeDx10) {
        return true;
    }
    toolsAssert(kSourcePath, __LINE__,
                "DDS file says it is DX10 format, and must be at least %d bytes to hold DX10 header, but "
                "this one is only %d bytes.",
                static_cast<int>(Dds::kBytesBeforeDx10), static_cast<int>(length));
    return false;
}

bool checkFormat(Vex::DataFormat format) {
    if (format.getSurfaceFormat() == Vex::kSurfaceFormatInvalid) {
        reportNoDdsFormat();
        return false;
    }
    return checkDdsSurfaceFormat(format);
}

void addShape(DdsFileHeader* file, const ElementProvider& image) {
    Dds::Header& header = file->m_header;
    if (image.getSurfaceCount().mips > 1) {
        header.m_flags |= Dds::kFlagMipMapCount;
        header.m_caps |= Dds::kCapsMipMap | Dds::kCapsComplex;
    }
    if (image.getSurfaceCount().faces > 1) {
        header.m_caps |= Dds::kCapsComplex;
        header.m_caps2 |= Dds::kCaps2CubeAllFaces;
        file->m_dx10.m_miscFlag |= Dds::kMiscCube;
    }
    if (image.getDepth(0) >= 2) {
        header.m_flags |= Dds::kFlagDepth;
        header.m_caps |= Dds::kCapsComplex;
        header.m_caps2 |= Dds::kCaps2Volume;
        file->m_dx10.m_resourceDimension = Dds::kDimensionTexture3d;
    }
}

} // namespace

bool checkDdsSurfaceFormat(Vex::DataFormat format) {
    const unsigned surfaceFormat = format.getSurfaceFormat();
    if (surfaceFormat < Vex::kSurfaceFormatCount) {
        return true;
    }
    toolsAssert(kSourcePath, __LINE__, "surfaceFormat is %d, but must be between 0 and %d",
                static_cast<int>(surfaceFormat), static_cast<int>(Vex::kSurfaceFormatCount - 1));
    return false;
}

void reportNoDdsFormat() {
    toolsAssert(kSourcePath, __LINE__,
                "DDS header's pixel format can't be converted to a valid Vectrix®4 DataFormat.");
}

bool checkDdsHeader(const DdsFileHeader& header, Vex::DataFormat format, std::uint64_t length) {
    bool good = checkLength(length);
    good &= checkMagic(header.m_magic);
    good &= checkSizes(header.m_header);
    if (header.isDx10()) {
        good &= checkLengthDx10(length);
    }
    good &= checkFormat(format);
    return good;
}

DdsFileHeader makeDdsHeader(const ElementProvider& image, bool isDx10) {
    DdsFileHeader file;
    file.m_magic = Dds::kMagic;
    Dds::Header& header = file.m_header;
    header.m_size = sizeof header;
    header.m_flags = Dds::kFlagsAlways;
    header.m_width = image.getPixelsWide(0);
    header.m_height = image.getPixelsTall(0);
    if (image.getDataFormat().isBlockCompressedFormat()) {
        header.m_flags |= Dds::kFlagLinearSize;
        header.m_pitchOrLinearSize = image.getBytes(0);
    } else {
        header.m_flags |= Dds::kFlagPitch;
        header.m_pitchOrLinearSize = image.getElementsWide(0) * image.getBytesPerElement();
    }
    header.m_depth = image.getDepth(0);
    header.m_mipMapCount = image.getSurfaceCount().mips;
    header.m_pixelFormat = pixelFormatOf(image.getDataFormat(), isDx10);
    header.m_caps = Dds::kCapsTexture;
    file.m_dx10.m_dxgiFormat = dxgiFromFormat(image.getDataFormat());
    file.m_dx10.m_resourceDimension = Dds::kDimensionTexture2d;
    file.m_dx10.m_arraySize = image.getSurfaceCount().arrayEntries;
    addShape(&file, image);
    return file;
}

} // namespace qor::Texsmith::Raw
