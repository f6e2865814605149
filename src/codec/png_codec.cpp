// PNG by libpng.
//
// libpng leaves a step that fails by a jump. So each step is a function of its own on a plain structure:
// between the jump's place and its target nothing has a destructor.
#include "codec/codecs.h"
#include "codec/frame_reader.h"
#include "codec/pixel_rows.h"
#include "codec/png_data.h"
#include "codec/png_rows.h"
#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/tools_assert.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "codec\\png_codec";
constexpr FileKind kKind = {"PNG", kSourcePath};

constexpr std::uint64_t kMostGain = 1032; // of deflate

ReadingProgress& progressOf(png_structp png) {
    return *static_cast<ReadingProgress*>(png_get_error_ptr(png));
}

[[noreturn]] void onError(png_structp png, png_const_charp text) {
    keepFirstText(progressOf(png).m_error, text);
    png_longjmp(png, 1);
}

void onWarning(png_structp png, png_const_charp text) { keepFirstText(progressOf(png).m_warning, text); }

// False when the step failed.
template <typename State> bool runStep(State& state, void (*step)(State&)) {
    if (setjmp(png_jmpbuf(state.m_png)) != 0) {
        return false;
    }
    step(state);
    return true;
}

// ---- Reading

struct Reading {
    png_structp m_png;
    png_infop m_info;
    const MemoryRegion* m_part; // of the file, the one that is being read
    const MemoryRegion* m_lastPart;
    std::size_t m_partDone; // bytes of it
    bool m_isChecked;       // the sums of the picture data are known to be right
    ChannelLayout m_layout;
    bool m_expandsGrey;
    std::uint8_t* m_rows; // of the image
    std::size_t m_pitch;
    ReadingProgress m_progress;
};

void readBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto& state = *static_cast<Reading*>(png_get_io_ptr(png));
    while (count != 0) {
        const std::size_t left = static_cast<std::size_t>(state.m_part->length()) - state.m_partDone;
        const std::size_t taken = std::min(left, count);
        if (taken != 0) {
            std::memcpy(bytes, state.m_part->begin + state.m_partDone, taken);
        }
        bytes += taken;
        count -= taken;
        state.m_partDone += taken;
        if (count != 0 && state.m_part == state.m_lastPart) {
            png_error(png, "the file ends early");
        }
        if (count != 0) {
            ++state.m_part;
            state.m_partDone = 0;
        }
    }
}

// Only chunks that pixels depend on are looked at: the others could unpack to any size.
void readHeader(Reading& state) {
    png_set_keep_unknown_chunks(state.m_png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_read_fn(state.m_png, &state, &readBytes);
    png_read_info(state.m_png, state.m_info);
    if (state.m_isChecked) {
        png_set_crc_action(state.m_png, PNG_CRC_QUIET_USE, PNG_CRC_NO_CHANGE);
        png_set_option(state.m_png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
    }
}

ChannelLayout layoutInFile(const Reading& state) {
    const unsigned colorType = png_get_color_type(state.m_png, state.m_info);
    const bool hasKey = png_get_valid(state.m_png, state.m_info, PNG_INFO_tRNS) != 0;
    return {(colorType & PNG_COLOR_MASK_COLOR) == 0, hasKey || (colorType & PNG_COLOR_MASK_ALPHA) != 0,
            png_get_bit_depth(state.m_png, state.m_info) == 16 ? ChannelDepth::k16 : ChannelDepth::k8};
}

void chooseTransforms(Reading& state) {
    png_set_expand(state.m_png);
    if (state.m_layout.m_depth == ChannelDepth::k16 && std::endian::native == std::endian::little) {
        png_set_swap(state.m_png);
    }
    if (state.m_expandsGrey) {
        png_set_gray_to_rgb(state.m_png);
    }
    if (!state.m_layout.m_isGrey && !state.m_layout.m_hasAlpha) {
        png_set_filler(state.m_png, 0, PNG_FILLER_AFTER);
    }
}

// An interlaced picture comes in seven passes, each of which fills in some pixels of every row.
void readRows(Reading& state) {
    chooseTransforms(state);
    const std::uint64_t height = png_get_image_height(state.m_png, state.m_info);
    const int passes = png_set_interlace_handling(state.m_png);
    state.m_progress.m_rowsInAll = std::uint64_t(passes) * height;
    png_read_update_info(state.m_png, state.m_info);
    if (png_get_rowbytes(state.m_png, state.m_info) != state.m_pitch) {
        png_error(state.m_png, "its rows have an unexpected length");
    }
    for (std::uint64_t& done = state.m_progress.m_rowsDone; done < state.m_progress.m_rowsInAll; ++done) {
        png_read_row(state.m_png, state.m_rows + done % height * state.m_pitch, nullptr);
    }
    png_read_end(state.m_png, nullptr);
}

class Reader {
public:
    explicit Reader(const MemoryRegion& file) : m_file(file) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&m_state.m_png, &m_state.m_info, nullptr); }

    unsigned countFrames() const { return 1; }
    bool readHeader(unsigned) { return restart(&m_file, 1); }
    ImageClaim claim() const { return {width(), height(), packedBytes(), m_file.length(), kMostGain}; }
    Vex::DataFormat chooseFormat(Vex::TextureChannelType channelType);
    bool readRows(std::uint8_t* rows, std::size_t pitch);
    const ReadingProgress& progress() const { return m_state.m_progress; }

private:
    unsigned width() const { return png_get_image_width(m_state.m_png, m_state.m_info); }
    unsigned height() const { return png_get_image_height(m_state.m_png, m_state.m_info); }
    std::uint64_t packedBytes() const {
        return checkedSize(png_get_rowbytes(m_state.m_png, m_state.m_info), height());
    }
    bool restart(const MemoryRegion* parts, std::size_t count);

    MemoryRegion m_file;
    StoredPng m_stored;
    Reading m_state{};
};

// Reads the header of a file in parts.
bool Reader::restart(const MemoryRegion* parts, std::size_t count) {
    png_destroy_read_struct(&m_state.m_png, &m_state.m_info, nullptr);
    m_state.m_part = parts;
    m_state.m_lastPart = parts + count - 1;
    m_state.m_partDone = 0;
    m_state.m_png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_state.m_progress, &onError, &onWarning);
    m_state.m_info = m_state.m_png != nullptr ? png_create_info_struct(m_state.m_png) : nullptr;
    return m_state.m_info != nullptr && runStep(m_state, &Raw::readHeader);
}

Vex::DataFormat Reader::chooseFormat(Vex::TextureChannelType channelType) {
    const ChannelLayout inFile = layoutInFile(m_state);
    m_state.m_layout = layoutToRead(inFile, channelType);
    m_state.m_expandsGrey = inFile.m_isGrey && !m_state.m_layout.m_isGrey;
    return formatOf(m_state.m_layout, channelType);
}

// Whole files are unpacked at once before; all others as far as they go. Each row of data begins with a byte
// for its filter.
bool Reader::readRows(std::uint8_t* rows, std::size_t pitch) {
    m_state.m_rows = rows;
    m_state.m_pitch = pitch;
    const bool isInterlaced = png_get_interlace_type(m_state.m_png, m_state.m_info) != PNG_INTERLACE_NONE;
    if (!isInterlaced && m_stored.unpack(m_file, packedBytes() + height())) {
        m_state.m_isChecked = true;
        m_state.m_progress = {};
        if (!restart(m_stored.parts().data(), m_stored.parts().size())) {
            return false;
        }
    }
    return runStep(m_state, &Raw::readRows);
}

Error readPng(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
              int index) {
    return readFrame<Reader>(kKind, source, destination, configuration, index);
}

// ---- Writing

struct Writing {
    png_structp m_png;
    png_infop m_info;
    const ImageRows* m_rows;
    std::vector<std::uint8_t>* m_file;
    const std::uint8_t* m_data; // compressed already; null for rows that the library compresses
    std::size_t m_dataBytes;
    std::uint8_t* m_packed; // a row as the library takes it
    ReadingProgress m_messages;
};

void writeBytes(png_structp png, png_bytep bytes, std::size_t count) {
    if (!appendBytes(static_cast<Writing*>(png_get_io_ptr(png))->m_file, bytes, count)) {
        png_error(png, "there is not enough memory");
    }
}

void flush(png_structp) {}

int colorTypeOf(const ChannelLayout& layout) {
    return (layout.m_isGrey ? 0 : PNG_COLOR_MASK_COLOR) | (layout.m_hasAlpha ? PNG_COLOR_MASK_ALPHA : 0);
}

void writeHeader(Writing& state) {
    const ImageRows& rows = *state.m_rows;
    png_set_write_fn(state.m_png, &state, &writeBytes, &flush);
    png_set_IHDR(state.m_png, state.m_info, rows.m_width, rows.m_height,
                 rows.m_layout.m_depth == ChannelDepth::k8 ? 8 : 16, colorTypeOf(rows.m_layout),
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (rows.m_isSrgb) {
        png_set_sRGB(state.m_png, state.m_info, PNG_sRGB_INTENT_PERCEPTUAL);
    }
    png_write_info(state.m_png, state.m_info);
}

// The library's way to write data ends with a mark of the file's end as well.
void writeData(Writing& state) {
    constexpr std::size_t kMostChunkBytes = 0x7FFFFFFF;
    for (std::size_t at = 0; at < state.m_dataBytes; at += kMostChunkBytes) {
        png_write_chunk(state.m_png, reinterpret_cast<png_const_bytep>("IDAT"), state.m_data + at,
                        std::min(kMostChunkBytes, state.m_dataBytes - at));
    }
    png_write_chunk(state.m_png, reinterpret_cast<png_const_bytep>("IEND"), nullptr, 0);
}

void packForFile(std::uint8_t* to, const ImageRows& rows, unsigned y) {
    packRow(to, rows.row(y), rows.m_width, rows.m_layout);
    if (rows.m_layout.m_depth == ChannelDepth::k16) {
        swapBytes(to, rows.m_width * packedPixelBytes(rows.m_layout));
    }
}

bool isThorough(EncoderEffort effort) { return effort == kEncoderEffortHigh || effort == kEncoderEffortBest; }

// Differences to the left and runs of them are quickest, and lose little.
void writeRowsByLibrary(Writing& state) {
    const ImageRows& rows = *state.m_rows;
    if (isThorough(rows.m_effort)) {
        png_set_compression_level(state.m_png, rows.m_effort == kEncoderEffortBest ? 9 : 6);
    } else {
        png_set_compression_level(state.m_png, 1);
        png_set_compression_strategy(state.m_png, 3); // zlib's Z_RLE
        png_set_filter(state.m_png, PNG_FILTER_TYPE_BASE, PNG_FILTER_SUB);
    }
    for (unsigned y = 0; y < rows.m_height; ++y) {
        packForFile(state.m_packed, rows, y);
        png_write_row(state.m_png, state.m_packed);
    }
    png_write_end(state.m_png, nullptr);
}

void writeFile(Writing& state) {
    writeHeader(state);
    state.m_data != nullptr ? writeData(state) : writeRowsByLibrary(state);
}

// Empty without memory for it.
std::vector<std::uint8_t> compressRows(const ImageRows& rows) {
    const std::size_t pixelBytes = packedPixelBytes(rows.m_layout), rowBytes = pixelBytes * rows.m_width;
    const auto filtered = std::make_unique_for_overwrite<std::uint8_t[]>((rowBytes + 1) * rows.m_height);
    std::vector<std::uint8_t> row(rowBytes), above(rowBytes);
    for (unsigned y = 0; y < rows.m_height; ++y) {
        std::uint8_t* to = filtered.get() + (rowBytes + 1) * y;
        packForFile(row.data(), rows, y);
        if (isThorough(rows.m_effort)) {
            filterBySmallestSum(to, row.data(), above.data(), rowBytes, pixelBytes);
        } else {
            filterByLeft(to, row.data(), rowBytes, pixelBytes);
        }
        row.swap(above);
    }
    return compressQuickly(filtered.get(), (rowBytes + 1) * rows.m_height, rows.m_effort);
}

Error writePng(const ImageRows& rows, std::vector<std::uint8_t>* file) {
    const std::vector<std::uint8_t> data =
        canCompressQuickly() ? compressRows(rows) : std::vector<std::uint8_t>();
    std::vector<std::uint8_t> packed(packedPixelBytes(rows.m_layout) * rows.m_width);
    Writing state{};
    state.m_rows = &rows;
    state.m_file = file;
    state.m_data = data.empty() ? nullptr : data.data();
    state.m_dataBytes = data.size();
    state.m_packed = packed.data();
    state.m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state.m_messages, &onError, &onWarning);
    state.m_info = state.m_png != nullptr ? png_create_info_struct(state.m_png) : nullptr;
    const bool isWritten = state.m_info != nullptr && runStep(state, &writeFile);
    png_destroy_write_struct(&state.m_png, &state.m_info);
    if (!isWritten) {
        toolsWarning(kSourcePath, __LINE__, "The PNG file cannot be written: %s.",
                     state.m_messages.m_error[0] != '\0' ? state.m_messages.m_error
                                                         : "there is not enough memory");
    }
    return isWritten ? kErrorNone : kErrorFailed;
}

Error savePng(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeRows(kKind, *source, layoutToKeep(*source, ChannelDepth::k16), destination, configuration,
                     &writePng);
}

} // namespace

constinit const Codec g_pngCodec = {makeFileType(".PNG"), "libpng " PNG_LIBPNG_VER_STRING, &readPng,
                                    &savePng};

} // namespace qor::Texsmith::Raw
