// Pictures by the Windows Imaging Component. Pixels are taken as their file has them wherever the component
// lets us, and brought to the image's format here, so that lossless files look as they do on other systems.
//
// Wine's component reads a PNG or TIFF file as a whole when it is opened, where the system's own goes on with
// each row. It reads no TIFF files of separate planes, floats or grey with alpha, and writes none of 16-bit
// grey. In the PNG files that it writes it drops what is said about sRGB, and leaves samples of 16 bits with
// their low byte first, which no other reader expects; in GIF files it drops transparency, and in JPEG files
// it halves the colours.
#include "codec/wic_codec_windows.h"

#include "codec/few_colors.h"
#include "codec/frame_reader.h"
#include "codec/wic_formats_windows.h"
#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/raw/wic.h"
#include "qor/texsmith/tools_assert.h"
#include "raw/files/describe.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstring>

#include <wincodec.h>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "codec\\wic_codec_windows";

// A type that the component has a codec for, or may have.
struct WicType {
    FileType m_type;
    WicGuid m_container;
    FileKind m_kind;
    std::uint64_t m_mostGain; // image bytes that one of the file becomes at most

    GUID container() const { return std::bit_cast<GUID>(m_container); }
    bool isJpeg() const { return m_container == g_wicGuidJpg; }
    bool isPng() const { return m_container == g_wicGuidPng; }
    bool isGif() const { return m_container == g_wicGuidGif; }
};

std::atomic<unsigned> s_leakedReferences{0};

// Of kErrorNone, or `error` once the warning is out.
Error check(HRESULT result, Error error, const char* format) {
    if (SUCCEEDED(result)) {
        return kErrorNone;
    }
    toolsWarning(kSourcePath, __LINE__, format, static_cast<unsigned>(result));
    return error;
}

// A component without that codec has the error of a build without one.
Error checkCodec(const WicType& type, HRESULT result, Error error, const char* format) {
    const bool isMissing = result == WINCODEC_ERR_COMPONENTNOTFOUND;
    return isMissing ? refuseWithoutCodec(type.m_type) : check(result, error, format);
}

// A file in memory of the system, which the component keeps references to while its objects live.
class FileStream {
public:
    ~FileStream() { s_leakedReferences += m_stream.release(); }

    IStream* get() const { return m_stream.get(); }
    Error make() {
        return check(CreateStreamOnHGlobal(nullptr, TRUE, m_stream.place()), kErrorStreamWrite,
                     "CreateStreamOnHGlobal returned HRESULT 0x%08x.");
    }
    Error fill(const MemoryRegion& file) {
        Error error = make();
        ULONG written = 0;
        const auto length = static_cast<ULONG>(std::min<std::uint64_t>(file.length(), 0xFFFFFFFF));
        if (error == kErrorNone) {
            const HRESULT result = length != 0 ? m_stream->Write(file.begin, length, &written) : S_OK;
            const bool isWhole = written == file.length();
            error = check(FAILED(result) || isWhole ? result : STG_E_MEDIUMFULL, kErrorStreamWrite,
                          "IStream::Write returned HRESULT 0x%08x.");
        }
        if (error == kErrorNone) {
            error = check(m_stream->Seek({}, STREAM_SEEK_SET, nullptr), kErrorStreamSeek,
                          "IStream::Seek returned HRESULT 0x%08x.");
        }
        return error;
    }
    HRESULT copyTo(std::vector<std::uint8_t>* file) const {
        STATSTG stat{};
        ULONG taken = 0;
        HRESULT result = m_stream->Stat(&stat, STATFLAG_NONAME);
        if (SUCCEEDED(result)) {
            result = m_stream->Seek({}, STREAM_SEEK_SET, nullptr);
        }
        if (SUCCEEDED(result)) {
            file->resize(static_cast<std::size_t>(stat.cbSize.QuadPart));
            result = m_stream->Read(file->data(), static_cast<ULONG>(file->size()), &taken);
        }
        return FAILED(result) || taken == file->size() ? result : STG_E_READFAULT;
    }

private:
    ComPointer<IStream> m_stream;
};

Error makeFactory(ComPointer<IWICImagingFactory>* factory) {
    return check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                  IID_IWICImagingFactory, factory->untypedPlace()),
                 kErrorWicFactory, "CoCreateInstance CLSID_WICImagingFactory returned HRESULT 0x%08x.");
}

// ---- Reading

// The colour of a PNG file that stands for transparency, where the component has not taken it for alpha
// already.
struct ColorKey {
    bool m_isThere = false;
    std::uint16_t m_samples[3] = {};

    explicit ColorKey(const MemoryRegion& png) {
        constexpr std::size_t kFirstChunk = 8, kColorType = 25, kPalette = 3, kColor = 2;
        const auto word = [&png](std::size_t at) {
            return std::uint32_t{png.begin[at]} << 24 | std::uint32_t{png.begin[at + 1]} << 16 |
                   std::uint32_t{png.begin[at + 2]} << 8 | png.begin[at + 3];
        };
        const std::uint64_t length = png.length();
        for (std::uint64_t at = kFirstChunk; at + 12 <= length && length > kColorType;) {
            const std::uint64_t bytes = word(at);
            if (std::memcmp(png.begin + at + 4, "IDAT", 4) == 0 || bytes > length - at - 12) {
                return;
            }
            const unsigned samples = (png.begin[kColorType] & kColor) != 0 ? 3 : 1;
            if (std::memcmp(png.begin + at + 4, "tRNS", 4) == 0 && bytes == 2 * samples && !m_isThere) {
                m_isThere = png.begin[kColorType] != kPalette;
                for (unsigned i = 0; i < 3; ++i) {
                    const std::uint8_t* sample = png.begin + at + 8 + 2 * (samples == 3 ? i : 0);
                    m_samples[i] = static_cast<std::uint16_t>(sample[0] << 8 | sample[1]);
                }
            }
            at += 12 + bytes;
        }
    }
};

// The way from the component's pixels to an image whose channels the component would not have: grey from
// colour, alpha from a colour that stands for it.
template <typename Word>
void adaptRow(std::uint8_t* to, const std::uint8_t* from, std::size_t pixels, const ChannelLayout& image,
              const ChannelLayout& given, const ColorKey& key) {
    const unsigned fromStep = given.m_isGrey ? (given.m_hasAlpha ? 2 : 1) : 4;
    const unsigned toStep = image.m_isGrey ? (image.m_hasAlpha ? 2 : 1) : 4;
    for (std::size_t x = 0; x < pixels; ++x, from += fromStep * sizeof(Word), to += toStep * sizeof(Word)) {
        Word in[4] = {}, out[4] = {};
        std::memcpy(in, from, fromStep * sizeof(Word));
        const Word colors[3] = {in[0], in[given.m_isGrey ? 0 : 1], in[given.m_isGrey ? 0 : 2]};
        const bool isKey = key.m_isThere && std::equal(colors, colors + 3, key.m_samples);
        const Word alpha = given.m_hasAlpha ? in[fromStep - 1]
                           : isKey          ? Word{0}
                                            : static_cast<Word>(~Word{0});
        std::copy_n(colors, image.m_isGrey ? 1 : 3, out);
        out[toStep - 1] = image.m_hasAlpha ? alpha : image.m_isGrey ? out[0] : Word{0};
        std::memcpy(to, out, toStep * sizeof(Word));
    }
}

class Decoding {
public:
    Decoding(const WicType& type, const MemoryRegion& file) : m_type(type), m_file(file) {}

    Error open(int index, const Configuration& configuration);
    Error chooseFormat(const Configuration& configuration);
    Error makeImage(ReallocatableImage* image);
    Error copyRows();

private:
    Error checkHeader(const Configuration& configuration);
    Error openFrame(int index);
    Error convert();
    Error readPalette();
    Error refuse(const char* reason, Error error) {
        refuseFile(m_type.m_kind, reason);
        return error;
    }

    const WicType& m_type;
    MemoryRegion m_file;
    ComPointer<IWICImagingFactory> m_factory;
    FileStream m_stream;
    ComPointer<IWICBitmapDecoder> m_decoder;
    ComPointer<IWICBitmapFrameDecode> m_frame;
    ComPointer<IWICFormatConverter> m_converter;
    IWICBitmapSource* m_source = nullptr; // the frame or the converter
    UINT m_width = 0, m_height = 0;
    const WicPixelFormat* m_pixelFormat = nullptr;
    PixelLayout m_pixels{};
    Palette m_palette;
    ChannelLayout m_given{}; // channels of the component's pixels
    ChannelLayout m_layout{};
    Vex::DataFormat m_format{};
    std::uint8_t* m_rows = nullptr;
};

Error Decoding::open(int index, const Configuration& configuration) {
    Error error = m_type.isPng() || m_type.isJpeg() ? checkHeader(configuration) : kErrorNone;
    if (error == kErrorNone) {
        error = makeFactory(&m_factory);
    }
    if (error == kErrorNone) {
        error = m_stream.fill(m_file);
    }
    if (error == kErrorNone) {
        error =
            checkCodec(m_type, m_factory->CreateDecoder(m_type.container(), nullptr, m_decoder.place()),
                       kErrorWicDecoderCreate, "IWICImagingFactory::CreateDecoder returned HRESULT 0x%08x.");
    }
    if (error == kErrorNone) {
        error =
            checkCodec(m_type, m_decoder->Initialize(m_stream.get(), WICDecodeMetadataCacheOnDemand),
                       kErrorWicDecoderInitialize, "IWICBitmapDecoder::Initialize returned HRESULT 0x%08x.");
    }
    return error == kErrorNone ? openFrame(index) : error;
}

Error Decoding::openFrame(int index) {
    UINT frames = 1;
    m_decoder->GetFrameCount(&frames);
    if (!checkFrame(m_type.m_kind, index, frames)) {
        return kErrorWicGetFrame;
    }
    Error error = check(m_decoder->GetFrame(static_cast<UINT>(index), m_frame.place()), kErrorWicGetFrame,
                        "IWICBitmapDecoder::GetFrame returned returned HRESULT 0x%08x.");
    if (error == kErrorNone) {
        m_source = m_frame.get();
        error = check(m_frame->GetSize(&m_width, &m_height), kErrorWicGetSize,
                      "IWICBitmapFrameDecode::GetSize returned HRESULT 0x%08x.");
    }
    GUID format{};
    if (error == kErrorNone) {
        error = check(m_frame->GetPixelFormat(&format), kErrorWicGetPixelFormat,
                      "IWICBitmapFrameDecode::GetPixelFormat returned HRESULT 0x%08x.");
    }
    if (error == kErrorNone) {
        m_pixelFormat = findWicPixelFormat(format);
        return m_pixelFormat != nullptr
                   ? kErrorNone
                   : refuse("its pixel format is not supported", kErrorWicPixelFormatUnknown);
    }
    return error;
}

// Looked at first, because the component may take memory for pixels when it opens a file, and Wine's reads
// beyond JPEG files whose segments are wrong. What a PNG file has is known from its header, as the component
// does not have all of its kinds.
Error Decoding::checkHeader(const Configuration& configuration) {
    FileDescription description{};
    const DescribedFile file{m_file, &configuration, 0};
    if (!(m_type.isPng() ? describePng(&description, file) : describeJpeg(&description, file))) {
        return refuse("its header is cut or wrong", kErrorFailed);
    }
    m_format = description.m_format;
    const std::uint64_t pixels = checkedSize(description.m_width, description.m_height);
    const ImageClaim claim{description.m_width, description.m_height, pixels / (m_type.isPng() ? 8 : 1),
                           m_file.length(), m_type.m_mostGain};
    return imageSizeFits(m_type.m_kind, claim.m_width, claim.m_height) && isClaimJust(m_type.m_kind, claim)
               ? kErrorNone
               : kErrorFailed;
}

Error Decoding::convert() {
    if (IsEqualGUID(m_pixelFormat->m_format, m_pixelFormat->m_convertedTo)) {
        return kErrorNone;
    }
    const HRESULT result = m_factory->CreateFormatConverter(m_converter.place());
    if (FAILED(result)) {
        toolsWarning(kSourcePath, __LINE__,
                     "IWICImagingFactory::CreateFormatConverter returned HRESULT 0x%08x (%s).",
                     static_cast<unsigned>(result), m_type.m_kind.m_name);
        return kErrorWicFormatConverterCreate;
    }
    m_source = m_converter.get();
    return check(m_converter->Initialize(m_frame.get(), m_pixelFormat->m_convertedTo, WICBitmapDitherTypeNone,
                                         nullptr, 0, WICBitmapPaletteTypeCustom),
                 kErrorWicFormatConverterInitialize,
                 "IWICFormatConverter::Initialize returned HRESULT 0x%08x.");
}

// The component's colours are words of A8R8G8B8.
Error Decoding::readPalette() {
    ComPointer<IWICPalette> palette;
    WICColor colors[256] = {};
    UINT count = 0;
    BOOL hasAlpha = FALSE;
    if (FAILED(m_factory->CreatePalette(palette.place())) || FAILED(m_frame->CopyPalette(palette.get())) ||
        FAILED(palette->GetColors(256, colors, &count)) || FAILED(palette->HasAlpha(&hasAlpha))) {
        return refuse("it has no palette", kErrorFailed);
    }
    for (UINT i = 0; i < std::min<UINT>(count, 256); ++i) {
        m_palette.set(i, static_cast<std::uint8_t>(colors[i] >> 16 & 255),
                      static_cast<std::uint8_t>(colors[i] >> 8 & 255),
                      static_cast<std::uint8_t>(colors[i] & 255));
        m_palette.setAlpha(i, static_cast<std::uint8_t>(colors[i] >> 24));
    }
    m_pixels.m_hasAlpha = hasAlpha != FALSE;
    return kErrorNone;
}

Error Decoding::chooseFormat(const Configuration& configuration) {
    m_pixels = m_pixelFormat->m_pixels;
    Error error = convert();
    const bool isPalette = m_pixels.m_kind == PixelLayout::Kind::kPalette;
    if (error == kErrorNone && isPalette) {
        error = readPalette();
    }
    if (error != kErrorNone) {
        return error;
    }
    m_given = layoutOf(m_pixels);
    if (!m_type.isPng()) {
        m_layout = layoutToRead(m_given, configuration.m_textureChannelType);
        m_format = formatOf(m_layout, configuration.m_textureChannelType);
        return kErrorNone;
    }
    m_layout = {m_format.getChannel(0) == m_format.getChannel(1),
                m_format.getChannel(3) >= Vex::kTextureChannelX, m_given.m_depth};
    if (isPalette) {
        m_given.m_hasAlpha = m_pixels.m_hasAlpha = m_layout.m_hasAlpha; // also where all entries are opaque
    }
    return formatOf(m_layout, configuration.m_textureChannelType) == m_format
               ? kErrorNone
               : refuse("its pixel format is not supported", kErrorWicPixelFormatUnknown);
}

Error Decoding::makeImage(ReallocatableImage* image) {
    const ImageClaim claim{m_width, m_height, checkedSize(m_pixels.rowBytes(m_width), m_height),
                           m_file.length(), m_type.m_mostGain};
    if (!imageSizeFits(m_type.m_kind, m_width, m_height) || !isClaimJust(m_type.m_kind, claim)) {
        return kErrorFailed;
    }
    m_rows = makeRows(m_type.m_kind, image, m_width, m_height, m_format);
    return m_rows != nullptr ? kErrorNone : kErrorFailed;
}

// In bands, as the component gives any rectangle.
Error Decoding::copyRows() {
    constexpr std::size_t kBandBytes = 1 << 20;
    const std::size_t pitch = std::size_t{m_format.getBytesPerElement()} * m_width;
    const auto stride = static_cast<UINT>((m_pixels.rowBytes(m_width) + 3) & ~std::uint64_t{3});
    const UINT rowsInBand = static_cast<UINT>(std::clamp<std::size_t>(kBandBytes / stride, 1, m_height));
    const bool isAdapted =
        m_given.m_hasAlpha != m_layout.m_hasAlpha || (m_layout.m_isGrey && !m_given.m_isGrey);
    const UnpackRow unpackRow = findUnpackRow(m_pixels, isAdapted ? m_given : m_layout);
    ColorKey key(m_type.isPng() ? m_file : MemoryRegion());
    for (std::uint16_t& sample : key.m_samples) { // of which the bits beyond the pixels' do not count
        const unsigned most = (1u << std::min(m_pixels.m_bits, 16u)) - 1;
        sample = static_cast<std::uint16_t>((sample & most) * (m_pixels.m_bits < 8 ? 255 / most : 1));
    }
    const auto adapt =
        m_given.m_depth == ChannelDepth::k8 ? &adaptRow<std::uint8_t> : &adaptRow<std::uint16_t>;
    std::vector<std::uint8_t> band(std::size_t{stride} * rowsInBand),
        given(isAdapted ? std::size_t{m_width} * 8 : 0);
    for (UINT top = 0; top < m_height; top += rowsInBand) {
        const UINT rows = std::min(rowsInBand, m_height - top);
        const WICRect area{0, static_cast<INT>(top), static_cast<INT>(m_width), static_cast<INT>(rows)};
        const HRESULT result = m_source->CopyPixels(&area, stride, stride * rows, band.data());
        if (FAILED(result)) {
            return check(result, kErrorWicCopyPixels,
                         "IWICBitmapSource::CopyPixels returned HRESULT 0x%08x.");
        }
        for (UINT y = 0; y < rows; ++y) {
            std::uint8_t* to = m_rows + (top + y) * pitch;
            unpackRow(isAdapted ? given.data() : to, band.data() + std::size_t{y} * stride, m_width, m_pixels,
                      m_palette);
            if (isAdapted) {
                adapt(to, given.data(), m_width, m_layout, m_given, key);
            }
        }
    }
    return kErrorNone;
}

Error readByWic(const WicType& type, const MemoryRegion& file, ReallocatableImage* destination,
                const Configuration& configuration, int index) {
    const ComApartment apartment;
    Decoding decoding(type, file);
    Error error = decoding.open(index, configuration);
    if (error == kErrorNone) {
        error = decoding.chooseFormat(configuration);
    }
    if (error == kErrorNone) {
        error = decoding.makeImage(destination);
    }
    return error == kErrorNone ? decoding.copyRows() : error;
}

// ---- Writing

void setOption(IPropertyBag2* options, const wchar_t* name, const VARIANT& value) {
    PROPBAG2 property{};
    property.pstrName = const_cast<wchar_t*>(name);
    VARIANT copy = value;
    options->Write(1, &property, &copy); // an encoder that lacks it does without
}

// No channel of a JPEG file is halved: textures are rarely photographs. JPEG XR loses nothing.
void setOptions(const WicType& type, IPropertyBag2* options) {
    VARIANT value{};
    if (type.isJpeg()) {
        value.vt = VT_R4;
        value.fltVal = 0.95f;
        setOption(options, L"ImageQuality", value);
        value.vt = VT_UI1;
        value.bVal = WICJpegYCrCbSubsampling444;
        setOption(options, L"JpegYCrCbSubsampling", value);
    } else if (type.m_container == g_wicGuidTif) {
        value.vt = VT_UI1;
        value.bVal = WICTiffCompressionLZW;
        setOption(options, L"TiffCompressionMethod", value);
    } else if (type.m_container == g_wicGuidWdp) {
        value.vt = VT_BOOL;
        value.boolVal = VARIANT_TRUE;
        setOption(options, L"Lossless", value);
    }
}

class Encoding {
public:
    Encoding(const WicType& type, const ImageRows& rows) : m_type(type), m_rows(rows) {}

    Error open();
    HRESULT write();
    HRESULT copyTo(std::vector<std::uint8_t>* file) const { return m_stream.copyTo(file); }

private:
    HRESULT setPalette(const FewColors& picture);
    void state(const wchar_t* name, VARTYPE type, std::uint8_t value);
    HRESULT writeRows();

    const WicType& m_type;
    const ImageRows& m_rows;
    ComPointer<IWICImagingFactory> m_factory;
    FileStream m_stream;
    ComPointer<IWICBitmapEncoder> m_encoder;
    ComPointer<IWICBitmapFrameEncode> m_frame;
};

Error Encoding::open() {
    Error error = makeFactory(&m_factory);
    if (error == kErrorNone) {
        error = m_stream.make();
    }
    constexpr char kReport[] = "IWICImagingFactory::CreateEncoder returned HRESULT 0x%08x.";
    return error == kErrorNone
               ? checkCodec(m_type, m_factory->CreateEncoder(m_type.container(), nullptr, m_encoder.place()),
                            kErrorFailed, kReport)
               : error;
}

HRESULT Encoding::setPalette(const FewColors& picture) {
    ComPointer<IWICPalette> palette;
    std::vector<WICColor> colors;
    for (std::size_t i = 0; i < picture.m_colors.size(); ++i) {
        const std::uint32_t color = picture.m_colors[i];
        const std::uint32_t alpha = static_cast<int>(i) == picture.m_transparent ? 0u : 0xFF000000u;
        colors.push_back(alpha | (color & 255) << 16 | (color & 0xFF00) | (color >> 16 & 255));
    }
    HRESULT result = m_factory->CreatePalette(palette.place());
    if (SUCCEEDED(result)) {
        result = palette->InitializeCustom(colors.data(), static_cast<UINT>(colors.size()));
    }
    return SUCCEEDED(result) ? m_frame->SetPalette(palette.get()) : result;
}

// The first step that fails ends it.
HRESULT Encoding::write() {
    ComPointer<IPropertyBag2> options;
    HRESULT result = m_encoder->Initialize(m_stream.get(), WICBitmapEncoderNoCache);
    if (SUCCEEDED(result)) {
        result = m_encoder->CreateNewFrame(m_frame.place(), options.place());
    }
    if (SUCCEEDED(result)) {
        if (options.get() != nullptr) {
            setOptions(m_type, options.get());
        }
        result = m_frame->Initialize(options.get());
    }
    if (SUCCEEDED(result)) {
        result = m_frame->SetSize(m_rows.m_width, m_rows.m_height);
    }
    if (SUCCEEDED(result)) {
        if (m_type.isPng() && m_rows.m_isSrgb) {
            state(L"/sRGB/RenderingIntent", VT_UI1, 0); // perceptual
        }
        result = writeRows();
    }
    if (SUCCEEDED(result)) {
        result = m_frame->Commit();
    }
    return SUCCEEDED(result) ? m_encoder->Commit() : result;
}

// An encoder that has no such statement does without.
void Encoding::state(const wchar_t* name, VARTYPE type, std::uint8_t value) {
    ComPointer<IWICMetadataQueryWriter> metadata;
    if (SUCCEEDED(m_frame->GetMetadataQueryWriter(metadata.place())) && metadata.get() != nullptr) {
        PROPVARIANT variant{};
        variant.vt = type;
        if (type == VT_BOOL) {
            variant.boolVal = value != 0 ? VARIANT_TRUE : VARIANT_FALSE;
        } else {
            variant.bVal = value;
        }
        metadata->SetMetadataByName(name, &variant);
    }
}

HRESULT Encoding::writeRows() {
    const FewColors picture = m_type.isGif() ? reduceColors(m_rows) : FewColors{};
    const GUID wanted = m_type.isGif() ? GUID_WICPixelFormat8bppIndexed : wicPixelFormatOf(m_rows.m_layout);
    GUID given = wanted;
    HRESULT result = m_frame->SetPixelFormat(&given);
    if (SUCCEEDED(result) && !IsEqualGUID(given, wanted)) {
        result = WINCODEC_ERR_UNSUPPORTEDPIXELFORMAT;
    }
    if (SUCCEEDED(result) && m_type.isGif()) {
        result = setPalette(picture);
        if (picture.m_transparent >= 0) {
            state(L"/grctlext/TransparencyFlag", VT_BOOL, 1);
            state(L"/grctlext/TransparentColorIndex", VT_UI1,
                  static_cast<std::uint8_t>(picture.m_transparent & 255));
        }
    }
    const std::size_t pixelBytes = m_type.isGif() ? 1 : packedPixelBytes(m_rows.m_layout);
    const bool isBgr =
        !m_type.isGif() && !m_rows.m_layout.m_isGrey && m_rows.m_layout.m_depth == ChannelDepth::k8;
    std::vector<std::uint8_t> row(pixelBytes * m_rows.m_width);
    for (unsigned y = 0; SUCCEEDED(result) && y < m_rows.m_height; ++y) {
        if (m_type.isGif()) {
            std::copy_n(picture.m_indices.data() + std::size_t{y} * m_rows.m_width, row.size(), row.data());
        } else {
            packRow(row.data(), m_rows.row(y), m_rows.m_width, m_rows.m_layout);
        }
        for (std::size_t i = 0; isBgr && i < row.size(); i += pixelBytes) {
            std::swap(row[i], row[i + 2]);
        }
        result =
            m_frame->WritePixels(1, static_cast<UINT>(row.size()), static_cast<UINT>(row.size()), row.data());
    }
    return result;
}

Error writeByWic(const WicType& type, const ImageRows& rows, std::vector<std::uint8_t>* file) {
    const ComApartment apartment;
    Encoding encoding(type, rows);
    const Error error = encoding.open();
    if (error != kErrorNone) {
        return error;
    }
    HRESULT result = encoding.write();
    if (SUCCEEDED(result)) {
        result = encoding.copyTo(file);
    }
    if (FAILED(result)) {
        toolsWarning(kSourcePath, __LINE__,
                     "The %s file cannot be written: the encoder returned HRESULT 0x%08x.",
                     type.m_kind.m_name, static_cast<unsigned>(result));
        return kErrorFailed;
    }
    return kErrorNone;
}

// ---- The codecs

constexpr std::uint64_t kMostGainOfDeflate = 1032, kMostGainOfJpeg = 512, kMostGainOfLzw = 2731,
                        kUnknownGain = Vex::kMaxTextureSize;

constexpr WicType kGif{makeFileType(".GIF"), g_wicGuidGif, {"GIF", kSourcePath}, kMostGainOfLzw};
constexpr WicType kIco{makeFileType(".ICO"), g_wicGuidIco, {"ICO", kSourcePath}, kMostGainOfDeflate};
constexpr WicType kJpg{makeFileType(".JPG"), g_wicGuidJpg, {"JPEG", kSourcePath}, kMostGainOfJpeg};
constexpr WicType kPng{makeFileType(".PNG"), g_wicGuidPng, {"PNG", kSourcePath}, kMostGainOfDeflate};
constexpr WicType kTif{makeFileType(".TIF"), g_wicGuidTif, {"TIFF", kSourcePath}, kUnknownGain};
constexpr WicType kWdp{makeFileType(".WDP"), g_wicGuidWdp, {"JPEG XR", kSourcePath}, kUnknownGain};

template <const WicType& kType>
Error readFile(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
               int index) {
    return readByWic(kType, *source, destination, *configuration, index);
}

template <const WicType& kType> Error writeRowsOf(const ImageRows& rows, std::vector<std::uint8_t>* file) {
    return writeByWic(kType, rows, file);
}

// The component has no grey with alpha.
template <const WicType& kType>
Error writeFile(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    constexpr bool kHasAlpha = kType.m_type != kJpg.m_type;
    constexpr bool kIsDeep = kHasAlpha && kType.m_type != kGif.m_type;
    ChannelLayout layout = layoutOf(*source);
    layout.m_hasAlpha = layout.m_hasAlpha && kHasAlpha;
    layout.m_isGrey = layout.m_isGrey && !layout.m_hasAlpha;
    layout.m_depth = kIsDeep ? layout.m_depth : ChannelDepth::k8;
    return writeRows(kType.m_kind, *source, layout, destination, configuration, &writeRowsOf<kType>);
}

constexpr char kLibrary[] = "Windows Imaging Component";

constexpr Codec kCodecs[] = {
    {kGif.m_type, kLibrary, &readFile<kGif>, &writeFile<kGif>},
    {kIco.m_type, kLibrary, &readFile<kIco>, nullptr},
    {kJpg.m_type, kLibrary, &readFile<kJpg>, &writeFile<kJpg>},
    {kPng.m_type, kLibrary, &readFile<kPng>, &writeFile<kPng>},
    {kTif.m_type, kLibrary, &readFile<kTif>, &writeFile<kTif>},
    {kWdp.m_type, kLibrary, &readFile<kWdp>, &writeFile<kWdp>},
};

} // namespace

std::span<const Codec> wicCodecs() { return kCodecs; }

unsigned countLeakedWicReferences() { return s_leakedReferences; }

} // namespace qor::Texsmith::Raw
