// GIF by giflib: each image of a file as it is stored, in its own rectangle.
#include "codec/codecs.h"
#include "codec/few_colors.h"
#include "codec/frame_reader.h"
#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/tools_assert.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include <gif_lib.h>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "codec\\gif_codec";
constexpr FileKind kKind = {"GIF", kSourcePath};

constexpr std::uint64_t kMostGain = 2731; // codes of 12 bits for up to 4096 pixels

void keepError(ReadingProgress& progress, int code) {
    const char* text = GifErrorString(code);
    keepFirstText(progress.m_error, text != nullptr ? text : "the file ends early");
}

// ---- Reading

class Reader {
public:
    explicit Reader(const MemoryRegion& file) : m_file(file), m_next(file.begin) {}
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { DGifCloseFile(m_gif, nullptr); }

    bool readHeader(unsigned frame);
    unsigned countFrames() const { return m_frames; }
    ImageClaim claim() const {
        const unsigned width = size(m_gif->Image.Width), height = size(m_gif->Image.Height);
        return {width, height, checkedSize(width, height), m_file.length(), kMostGain};
    }
    Vex::DataFormat chooseFormat(Vex::TextureChannelType channelType) const {
        return formatOf(layoutOf(m_pixels), channelType);
    }
    bool readRows(std::uint8_t* rows, std::size_t pitch);
    const ReadingProgress& progress() const { return m_progress; }

private:
    static int readBytes(GifFileType* gif, GifByteType* to, int count);
    static unsigned size(int pixels) { return static_cast<unsigned>(std::max(0, pixels)); }

    bool fail() {
        keepError(m_progress, m_gif->Error);
        return false;
    }
    bool readExtension();
    bool skipImage();
    bool findPalette();

    MemoryRegion m_file;
    const std::uint8_t* m_next;
    GifFileType* m_gif = nullptr;
    unsigned m_frames = 0; // that came by
    int m_transparent = NO_TRANSPARENT_COLOR;
    PixelLayout m_pixels{PixelLayout::Kind::kPalette, 8, 1, false, false, false};
    Palette m_palette;
    ReadingProgress m_progress{};
};

int Reader::readBytes(GifFileType* gif, GifByteType* to, int count) {
    auto& reader = *static_cast<Reader*>(gif->UserData);
    const auto taken = std::min<std::ptrdiff_t>(count, reader.m_file.end - reader.m_next);
    if (taken > 0) {
        std::memcpy(to, reader.m_next, static_cast<std::size_t>(taken));
        reader.m_next += taken;
    }
    return static_cast<int>(taken);
}

// Goes through the file's blocks up to the pixels of that image.
bool Reader::readHeader(unsigned frame) {
    int error = 0;
    m_gif = DGifOpen(this, &readBytes, &error);
    if (m_gif == nullptr) {
        keepError(m_progress, error);
        return false;
    }
    for (GifRecordType type = UNDEFINED_RECORD_TYPE; type != TERMINATE_RECORD_TYPE;) {
        if (DGifGetRecordType(m_gif, &type) == GIF_ERROR ||
            (type == EXTENSION_RECORD_TYPE && !readExtension())) {
            return fail();
        }
        if (type == IMAGE_DESC_RECORD_TYPE) {
            if (DGifGetImageHeader(m_gif) == GIF_ERROR) {
                return fail();
            }
            if (m_frames++ == frame) {
                return findPalette();
            }
            if (!skipImage()) {
                return fail();
            }
        }
    }
    keepFirstText(m_progress.m_error, "it has no image");
    return false;
}

// What controls an image stands before it.
bool Reader::readExtension() {
    int code = 0;
    GifByteType* block = nullptr;
    bool isGood = DGifGetExtension(m_gif, &code, &block) != GIF_ERROR;
    while (isGood && block != nullptr) {
        GraphicsControlBlock control;
        if (code == GRAPHICS_EXT_FUNC_CODE &&
            DGifExtensionToGCB(block[0], block + 1, &control) != GIF_ERROR) {
            m_transparent = control.TransparentColor;
        }
        isGood = DGifGetExtensionNext(m_gif, &block) != GIF_ERROR;
    }
    return isGood;
}

bool Reader::skipImage() {
    int codeSize = 0;
    GifByteType* block = nullptr;
    bool isGood = DGifGetCode(m_gif, &codeSize, &block) != GIF_ERROR;
    while (isGood && block != nullptr) {
        isGood = DGifGetCodeNext(m_gif, &block) != GIF_ERROR;
    }
    m_transparent = NO_TRANSPARENT_COLOR;
    return isGood;
}

bool Reader::findPalette() {
    const ColorMapObject* map = m_gif->Image.ColorMap != nullptr ? m_gif->Image.ColorMap : m_gif->SColorMap;
    if (map == nullptr) {
        keepFirstText(m_progress.m_error, "it has no palette");
        return false;
    }
    for (int i = 0; i < map->ColorCount; ++i) {
        const GifColorType& color = map->Colors[i];
        m_palette.set(static_cast<unsigned>(i), color.Red, color.Green, color.Blue);
    }
    m_pixels.m_hasAlpha = m_transparent != NO_TRANSPARENT_COLOR;
    if (m_pixels.m_hasAlpha) {
        m_palette.setAlpha(static_cast<unsigned>(m_transparent), 0);
    }
    return true;
}

// Rows of an interlaced image come in four passes.
bool Reader::readRows(std::uint8_t* rows, std::size_t pitch) {
    struct Pass {
        unsigned m_first, m_step;
    };
    constexpr Pass kPlain[] = {{0, 1}}, kInterlaced[] = {{0, 8}, {4, 8}, {2, 4}, {1, 2}};
    const unsigned width = size(m_gif->Image.Width), height = size(m_gif->Image.Height);
    const Pass* passes = m_gif->Image.Interlace ? kInterlaced : kPlain;
    const unsigned passCount = m_gif->Image.Interlace ? 4 : 1;
    const UnpackRow unpackRow = findUnpackRow(m_pixels, layoutOf(m_pixels));
    std::vector<std::uint8_t> indices(width);
    m_progress.m_rowsInAll = height;
    for (unsigned pass = 0; pass < passCount; ++pass) {
        for (unsigned y = passes[pass].m_first; y < height; y += passes[pass].m_step) {
            if (DGifGetLine(m_gif, indices.data(), static_cast<int>(width)) == GIF_ERROR) {
                return fail();
            }
            unpackRow(rows + y * pitch, indices.data(), width, m_pixels, m_palette);
            ++m_progress.m_rowsDone;
        }
    }
    return true;
}

Error readGif(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
              int index) {
    return readFrame<Reader>(kKind, source, destination, configuration, index);
}

// ---- Writing

struct FreeMap {
    void operator()(ColorMapObject* map) const { GifFreeMapObject(map); }
};

int appendToFile(GifFileType* gif, const GifByteType* bytes, int count) {
    auto* file = static_cast<std::vector<std::uint8_t>*>(gif->UserData);
    return appendBytes(file, bytes, static_cast<std::size_t>(count)) ? count : 0;
}

// The library wants a palette whose length is a power of two.
std::unique_ptr<ColorMapObject, FreeMap> makeMap(const FewColors& picture) {
    const int entries = 1 << std::max(1, GifBitSize(static_cast<int>(picture.m_colors.size())));
    std::unique_ptr<ColorMapObject, FreeMap> map(GifMakeMapObject(entries, nullptr));
    for (std::size_t i = 0; i < picture.m_colors.size() && map != nullptr; ++i) {
        const std::uint32_t color = picture.m_colors[i];
        map->Colors[i] = {static_cast<GifByteType>(color & 255), static_cast<GifByteType>(color >> 8 & 255),
                          static_cast<GifByteType>(color >> 16 & 255)};
    }
    return map;
}

// The library masks the indices that it is given, which changes none.
bool writeImage(GifFileType* gif, const ImageRows& rows, FewColors& picture) {
    const auto map = makeMap(picture);
    const int width = static_cast<int>(rows.m_width), height = static_cast<int>(rows.m_height);
    GraphicsControlBlock control{};
    control.TransparentColor = picture.m_transparent;
    GifByteType bytes[4];
    EGifGCBToExtension(&control, bytes);
    EGifSetGifVersion(gif, true);
    bool isWritten = map != nullptr && EGifPutScreenDesc(gif, width, height, 8, 0, map.get()) != GIF_ERROR &&
                     (picture.m_transparent < 0 ||
                      EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, sizeof bytes, bytes) != GIF_ERROR) &&
                     EGifPutImageDesc(gif, 0, 0, width, height, false, nullptr) != GIF_ERROR;
    for (std::size_t y = 0; isWritten && y < rows.m_height; ++y) {
        isWritten = EGifPutLine(gif, &picture.m_indices[y * rows.m_width], width) != GIF_ERROR;
    }
    return isWritten;
}

Error writeGif(const ImageRows& rows, std::vector<std::uint8_t>* file) {
    FewColors picture = reduceColors(rows);
    int error = 0;
    GifFileType* gif = EGifOpen(file, &appendToFile, &error);
    bool isWritten = gif != nullptr && writeImage(gif, rows, picture);
    error = gif != nullptr ? gif->Error : error;
    isWritten = gif != nullptr && EGifCloseFile(gif, nullptr) != GIF_ERROR && isWritten;
    if (!isWritten) {
        ReadingProgress messages{};
        keepError(messages, error);
        toolsWarning(kSourcePath, __LINE__, "The GIF file cannot be written: %s.", messages.m_error);
    }
    return isWritten ? kErrorNone : kErrorFailed;
}

Error saveGif(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeRows(kKind, *source, layoutToKeep(*source, ChannelDepth::k8), destination, configuration,
                     &writeGif);
}

} // namespace

constinit const Codec g_gifCodec = {makeFileType(".GIF"), "giflib", &readGif, &saveGif};

} // namespace qor::Texsmith::Raw
