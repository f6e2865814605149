// PNG by libpng.
//
// libpng leaves a step that fails by a jump. So each step is a function of its own on a plain structure:
// between the jump's place and its target nothing has a destructor. Reports, whose handlers may throw, are
// made after the step.
#include "codec/channel_layout.h"
#include "codec/codecs.h"
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

// With an sRGB type, alpha must be the fourth channel: the curve is for the first three.
bool mustExpandGrey(const ChannelLayout& layout, Vex::TextureChannelType channelType) {
    return layout.m_isGrey && layout.m_hasAlpha && !layout.m_isDeep &&
           channelType == Vex::kTextureChannelTypeSrgb;
}

// The first text of each kind.
struct Messages {
    char m_error[160];
    char m_warning[160];
};

void keepFirst(char (&kept)[160], const char* text) {
    if (kept[0] == '\0') {
        std::strncpy(kept, text, sizeof kept - 1);
    }
}

[[noreturn]] void onError(png_structp png, png_const_charp text) {
    keepFirst(static_cast<Messages*>(png_get_error_ptr(png))->m_error, text);
    png_longjmp(png, 1);
}

void onWarning(png_structp png, png_const_charp text) {
    keepFirst(static_cast<Messages*>(png_get_error_ptr(png))->m_warning, text);
}

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
    const std::uint8_t* m_next; // of the file
    const std::uint8_t* m_end;
    ChannelLayout m_layout;
    bool m_expandsGrey;
    std::uint8_t* m_rows; // of the image
    std::size_t m_pitch;
    unsigned m_height;
    std::uint64_t m_rowsDone; // of all passes
    std::uint64_t m_rowsInAll;
    Messages m_messages;
};

void readBytes(png_structp png, png_bytep bytes, std::size_t count) {
    auto& state = *static_cast<Reading*>(png_get_io_ptr(png));
    if (static_cast<std::size_t>(state.m_end - state.m_next) < count) {
        state.m_next = state.m_end;
        png_error(png, "the file ends early");
    }
    std::memcpy(bytes, state.m_next, count);
    state.m_next += count;
}

// Only chunks that pixels depend on are looked at: the others could unpack to any size.
void readHeader(Reading& state) {
    png_set_keep_unknown_chunks(state.m_png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_read_fn(state.m_png, &state, &readBytes);
    png_read_info(state.m_png, state.m_info);
}

ChannelLayout layoutInFile(const Reading& state) {
    const unsigned colorType = png_get_color_type(state.m_png, state.m_info);
    const bool hasKey = png_get_valid(state.m_png, state.m_info, PNG_INFO_tRNS) != 0;
    return {(colorType & PNG_COLOR_MASK_COLOR) == 0, hasKey || (colorType & PNG_COLOR_MASK_ALPHA) != 0,
            png_get_bit_depth(state.m_png, state.m_info) == 16};
}

void chooseTransforms(Reading& state) {
    png_set_expand(state.m_png);
    if (state.m_layout.m_isDeep && std::endian::native == std::endian::little) {
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
    const int passes = png_set_interlace_handling(state.m_png);
    state.m_rowsInAll = std::uint64_t(passes) * state.m_height;
    png_read_update_info(state.m_png, state.m_info);
    if (png_get_rowbytes(state.m_png, state.m_info) != state.m_pitch) {
        png_error(state.m_png, "its rows have an unexpected length");
    }
    for (; state.m_rowsDone < state.m_rowsInAll; ++state.m_rowsDone) {
        png_read_row(state.m_png, state.m_rows + state.m_rowsDone % state.m_height * state.m_pitch, nullptr);
    }
    png_read_end(state.m_png, nullptr);
}

class Reader {
public:
    explicit Reader(const MemoryRegion& file) {
        m_state.m_next = file.begin;
        m_state.m_end = file.end;
        m_state.m_png =
            png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_state.m_messages, &onError, &onWarning);
        m_state.m_info = m_state.m_png != nullptr ? png_create_info_struct(m_state.m_png) : nullptr;
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { png_destroy_read_struct(&m_state.m_png, &m_state.m_info, nullptr); }

    bool readHeader() { return m_state.m_info != nullptr && runStep(m_state, &Raw::readHeader); }
    bool isClaimJust(std::uint64_t fileBytes) const {
        const unsigned width = png_get_image_width(m_state.m_png, m_state.m_info);
        const unsigned height = png_get_image_height(m_state.m_png, m_state.m_info);
        const std::uint64_t packed = checkedSize(png_get_rowbytes(m_state.m_png, m_state.m_info), height);
        return imageSizeFits(kKind, width, height) &&
               Raw::isClaimJust(kKind, {width, height, packed, fileBytes, kMostGain});
    }
    bool makeImage(ReallocatableImage* image, Vex::TextureChannelType channelType);
    bool readRows() { return runStep(m_state, &Raw::readRows); }
    void reportFailure() const;
    void reportWarning() const;

private:
    Reading m_state{};
};

bool Reader::makeImage(ReallocatableImage* image, Vex::TextureChannelType channelType) {
    ChannelLayout layout = layoutInFile(m_state);
    m_state.m_expandsGrey = mustExpandGrey(layout, channelType);
    layout.m_isGrey = layout.m_isGrey && !m_state.m_expandsGrey;
    const Vex::DataFormat format = formatOf(layout, channelType);
    const unsigned width = png_get_image_width(m_state.m_png, m_state.m_info);
    m_state.m_layout = layout;
    m_state.m_height = png_get_image_height(m_state.m_png, m_state.m_info);
    m_state.m_pitch = static_cast<std::size_t>(checkedSize(format.getBytesPerElement(), width));
    m_state.m_rows = makeRows(kKind, image, width, m_state.m_height, format);
    return m_state.m_rows != nullptr;
}

// Nothing is said where the library's structures could not be made.
const char* reasonOf(const Messages& messages) {
    return messages.m_error[0] != '\0' ? messages.m_error : "there is not enough memory";
}

void Reader::reportFailure() const {
    if (m_state.m_rowsInAll == 0) {
        toolsWarning(kSourcePath, __LINE__, "The PNG file cannot be read: %s.", reasonOf(m_state.m_messages));
        return;
    }
    toolsWarning(kSourcePath, __LINE__, "The PNG file is damaged: %s. %llu of its %llu rows are missing.",
                 m_state.m_messages.m_error,
                 static_cast<unsigned long long>(m_state.m_rowsInAll - m_state.m_rowsDone),
                 static_cast<unsigned long long>(m_state.m_rowsInAll));
}

void Reader::reportWarning() const {
    if (m_state.m_messages.m_warning[0] != '\0') {
        toolsWarning(kSourcePath, __LINE__, "The PNG file is odd: %s.", m_state.m_messages.m_warning);
    }
}

Error readPng(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
              int index) {
    if (!checkOnlyFrame(kKind, index)) {
        return kErrorWicGetFrame;
    }
    Reader reader(*source);
    if (!reader.readHeader()) {
        reader.reportFailure();
        return kErrorFailed;
    }
    if (!reader.isClaimJust(source->length()) ||
        !reader.makeImage(destination, configuration->m_textureChannelType)) {
        return kErrorFailed;
    }
    if (!reader.readRows()) {
        reader.reportFailure();
        return kErrorFailed;
    }
    reader.reportWarning();
    return kErrorNone;
}

// ---- Writing

struct Writing {
    png_structp m_png;
    png_infop m_info;
    const ImageRows* m_rows;
    std::vector<std::uint8_t>* m_file;
    Messages m_messages;
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
    png_set_IHDR(state.m_png, state.m_info, rows.m_width, rows.m_height, rows.m_layout.m_isDeep ? 16 : 8,
                 colorTypeOf(rows.m_layout), PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (rows.m_isSrgb) {
        png_set_sRGB(state.m_png, state.m_info, PNG_sRGB_INTENT_PERCEPTUAL);
    }
    png_write_info(state.m_png, state.m_info);
}

void writeFile(Writing& state) {
    const ImageRows& rows = *state.m_rows;
    writeHeader(state);
    if (rows.m_layout.m_isDeep && std::endian::native == std::endian::little) {
        png_set_swap(state.m_png);
    }
    if (!rows.m_layout.m_isGrey && !rows.m_layout.m_hasAlpha) {
        png_set_filler(state.m_png, 0, PNG_FILLER_AFTER); // takes the fourth channel away
    }
    for (unsigned y = 0; y < rows.m_height; ++y) {
        png_write_row(state.m_png, rows.row(y));
    }
    png_write_end(state.m_png, nullptr);
}

Error writePng(const ImageRows& rows, std::vector<std::uint8_t>* file) {
    Writing state{};
    state.m_rows = &rows;
    state.m_file = file;
    state.m_png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state.m_messages, &onError, &onWarning);
    state.m_info = state.m_png != nullptr ? png_create_info_struct(state.m_png) : nullptr;
    const bool isWritten = state.m_info != nullptr && runStep(state, &writeFile);
    png_destroy_write_struct(&state.m_png, &state.m_info);
    if (!isWritten) {
        toolsWarning(kSourcePath, __LINE__, "The PNG file cannot be written: %s.",
                     reasonOf(state.m_messages));
    }
    return isWritten ? kErrorNone : kErrorFailed;
}

Error savePng(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    ChannelLayout layout = layoutOf(*source);
    // Another format would come to grey with alpha by way of R, G, B and A, of which it stores R and G.
    layout.m_isGrey =
        layout.m_isGrey &&
        (!layout.m_hasAlpha || source->getDataFormat() == formatOf(layout, Vex::kTextureChannelTypeUNorm));
    return writeRows(kKind, *source, layout, destination, configuration, &writePng);
}

} // namespace

constinit const Codec g_pngCodec = {makeFileType(".PNG"), &readPng, &savePng};

} // namespace qor::Texsmith::Raw
