// OpenEXR by its own library: files of one part, with colour or grey in halves or floats.
//
// The library throws; nothing that it throws leaves this file.
#include "codec/codecs.h"
#include "codec/exr_header.h"
#include "codec/frame_reader.h"
#include "codec/pixel_rows.h"
#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/tools_assert.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include <ImfChannelList.h>
#include <ImfCompression.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <OpenEXRConfig.h>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "codec\\exr_codec";
constexpr FileKind kKind = {"EXR", kSourcePath};

// Pixels of one colour come to 18,400 times their size in a block of 256 long lines by cosine transforms, and
// stay below zlib's limit in all others.
std::uint64_t mostGainOf(unsigned compression) {
    const bool isByTransform = compression == Imf::DWAA_COMPRESSION || compression == Imf::DWAB_COMPRESSION;
    return isByTransform ? 20000 : 1032;
}

// Calls step(), and keeps the text of what it throws. False when it threw.
template <typename Step> bool runStep(ReadingProgress* progress, Step step) {
    try {
        step();
        return true;
    } catch (const std::bad_alloc&) {
        keepFirstText(progress->m_error, "there is not enough memory");
        return false;
    } catch (const std::exception& exception) {
        std::string text = exception.what();
        text.resize(std::min(text.find('\n'), text.size()));
        text.resize(text.find_last_not_of(". ") + 1);
        keepFirstText(progress->m_error, text.empty() ? "the file ends early" : text.c_str());
        return false;
    }
}

// ---- Reading

class MemoryInput : public Imf::IStream {
public:
    explicit MemoryInput(const MemoryRegion& file) : IStream("the file"), m_file(file) {}

    bool isMemoryMapped() const override { return true; }
    char* readMemoryMapped(int count) override {
        if (count < 0 || m_at > m_file.length() || static_cast<unsigned>(count) > m_file.length() - m_at) {
            throw std::runtime_error("the file ends early");
        }
        char* bytes = reinterpret_cast<char*>(m_file.begin) + m_at;
        m_at += static_cast<unsigned>(count);
        return bytes;
    }
    bool read(char to[], int count) override {
        std::memcpy(to, readMemoryMapped(count), static_cast<std::size_t>(count));
        return m_at < m_file.length();
    }
    std::uint64_t tellg() override { return m_at; }
    void seekg(std::uint64_t at) override { m_at = at; }

private:
    MemoryRegion m_file;
    std::uint64_t m_at = 0;
};

class Reader {
public:
    explicit Reader(const MemoryRegion& file) : m_file(file), m_stream(file) {}

    bool readHeader(unsigned);
    unsigned countFrames() const { return 1; }
    ImageClaim claim() const;
    Vex::DataFormat chooseFormat(Vex::TextureChannelType channelType) const {
        return formatOf(m_layout, channelType);
    }
    bool readRows(std::uint8_t* rows, std::size_t pitch);
    const ReadingProgress& progress() const { return m_progress; }

private:
    bool fail(const char* text) {
        keepFirstText(m_progress.m_error, text);
        return false;
    }
    bool chooseChannels(const Imf::ChannelList& channels);

    MemoryRegion m_file;
    MemoryInput m_stream;
    std::optional<Imf::InputFile> m_input;
    unsigned m_width = 0, m_height = 0;
    std::uint64_t m_mostGain = 0;
    std::vector<std::string> m_names; // by channel of an element; empty where the file has none
    ChannelLayout m_layout{};
    ReadingProgress m_progress{};
};

bool Reader::readHeader(unsigned) {
    ExrHeader header;
    if (const char* fault = header.parse(m_file); fault != nullptr) {
        return fail(fault);
    }
    if (header.m_width < 1 || header.m_height < 1 || header.m_width > Vex::kMaxTextureSize ||
        header.m_height > Vex::kMaxTextureSize) {
        return fail("its window of pixels is empty or too large");
    }
    m_width = static_cast<unsigned>(header.m_width);
    m_height = static_cast<unsigned>(header.m_height);
    m_mostGain = mostGainOf(header.m_compression);
    const std::uint64_t leastPixels = std::max(checkedSize(m_width, m_height), header.m_tilePixels);
    const std::uint64_t leastBytes =
        checkedSize(leastPixels, std::max(header.m_pixelBytes, std::uint64_t{1}));
    if (!isClaimCredible(leastBytes, m_file.length(), m_mostGain) || header.m_tiles > m_file.length() / 8) {
        return fail("it is too short for its window of pixels");
    }
    bool isRead = false;
    return runStep(&m_progress,
                   [&] {
                       m_input.emplace(m_stream, 0); // no threads
                       const Imath::Box2i window = m_input->header().dataWindow();
                       const bool isSame = std::int64_t{window.max.x} - window.min.x + 1 == m_width &&
                                           std::int64_t{window.max.y} - window.min.y + 1 == m_height;
                       isRead = isSame ? chooseChannels(m_input->header().channels())
                                       : fail("its header can be read in two ways");
                   }) &&
           isRead;
}

// R, G and B with A, or Y for grey, or whatever the only channel is called.
bool Reader::chooseChannels(const Imf::ChannelList& channels) {
    const auto has = [&](const char* name) { return channels.findChannel(name) != nullptr; };
    const bool isColor = has("R") || has("G") || has("B");
    const bool hasOne = channels.begin() != channels.end() && ++channels.begin() == channels.end();
    if (has("RY") || has("BY")) {
        return fail("luminance with chroma is not supported");
    }
    if (!isColor && !has("Y") && !hasOne) {
        return fail("it has neither R, G and B nor Y");
    }
    m_layout = {!isColor, has("A") && !hasOne, ChannelDepth::kHalf};
    m_names = isColor ? std::vector<std::string>{"R", "G", "B"}
                      : std::vector<std::string>{has("Y") ? "Y" : channels.begin().name()};
    if (m_layout.m_hasAlpha) {
        m_names.push_back("A");
    }
    std::string others;
    for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
        if (std::find(m_names.begin(), m_names.end(), channel.name()) == m_names.end()) {
            others += (others.empty() ? "channels are left out: " : ", ") + std::string(channel.name());
        } else if (channel.channel().xSampling != 1 || channel.channel().ySampling != 1) {
            return fail("channels of fewer samples are not supported");
        } else if (channel.channel().type != Imf::HALF) {
            m_layout.m_depth = ChannelDepth::kFloat;
        }
    }
    keepFirstText(m_progress.m_warning, others.c_str());
    return true;
}

ImageClaim Reader::claim() const {
    const std::uint64_t pixelBytes = packedPixelBytes(m_layout);
    return {m_width, m_height, checkedSize(m_width, m_height, pixelBytes), m_file.length(), m_mostGain};
}

// Row by row, so that those before a fault are kept.
bool Reader::readRows(std::uint8_t* rows, std::size_t pitch) {
    const Imath::Box2i window = m_input->header().dataWindow();
    const std::size_t channelBytes = m_layout.m_depth == ChannelDepth::kHalf ? 2 : 4;
    const std::size_t elementBytes = pitch / m_width;
    const Imf::PixelType type = m_layout.m_depth == ChannelDepth::kHalf ? Imf::HALF : Imf::FLOAT;
    m_progress.m_rowsInAll = m_height;
    return runStep(&m_progress, [&] {
        Imf::FrameBuffer buffer;
        for (std::size_t i = 0; i < m_names.size(); ++i) {
            char* origin = reinterpret_cast<char*>(rows) + i * channelBytes;
            buffer.insert(m_names[i], Imf::Slice::Make(type, origin, window, elementBytes, pitch, 1, 1, 0.0));
        }
        m_input->setFrameBuffer(buffer);
        for (int y = window.min.y; m_progress.m_rowsDone < m_height; ++y, ++m_progress.m_rowsDone) {
            m_input->readPixels(y);
        }
    });
}

Error readExr(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
              int index) {
    return readFrame<Reader>(kKind, source, destination, configuration, index);
}

// ---- Writing

class MemoryOutput : public Imf::OStream {
public:
    explicit MemoryOutput(std::vector<std::uint8_t>* file) : OStream("the file"), m_file(file) {}

    void write(const char bytes[], int count) override {
        const std::size_t end = m_at + static_cast<std::size_t>(count);
        m_file->resize(std::max(m_file->size(), end));
        std::memcpy(m_file->data() + m_at, bytes, static_cast<std::size_t>(count));
        m_at = end;
    }
    std::uint64_t tellp() override { return m_at; }
    void seekp(std::uint64_t at) override { m_at = static_cast<std::size_t>(at); }

private:
    std::vector<std::uint8_t>* m_file;
    std::size_t m_at = 0;
};

Error writeExr(const ImageRows& rows, std::vector<std::uint8_t>* file) {
    constexpr const char* kGrey[] = {"Y", "A"};
    constexpr const char* kColors[] = {"R", "G", "B", "A"};
    const bool isGrey = rows.m_layout.m_isGrey, isHalf = rows.m_layout.m_depth == ChannelDepth::kHalf;
    const std::size_t channelBytes = isHalf ? 2 : 4, elementBytes = rows.m_pitch / rows.m_width;
    ReadingProgress messages{};
    const bool isWritten = runStep(&messages, [&] {
        Imf::Header header(static_cast<int>(rows.m_width), static_cast<int>(rows.m_height));
        Imf::FrameBuffer buffer;
        for (unsigned i = 0; i < packedChannels(rows.m_layout); ++i) {
            const char* name = isGrey ? kGrey[i] : kColors[i];
            char* origin =
                reinterpret_cast<char*>(const_cast<std::uint8_t*>(rows.m_begin)) + i * channelBytes;
            const Imf::PixelType type = isHalf ? Imf::HALF : Imf::FLOAT;
            header.channels().insert(name, Imf::Channel(type));
            buffer.insert(name, Imf::Slice(type, origin, elementBytes, rows.m_pitch));
        }
        MemoryOutput stream(file);
        Imf::OutputFile output(stream, header, 0);
        output.setFrameBuffer(buffer);
        output.writePixels(static_cast<int>(rows.m_height));
    });
    if (!isWritten) {
        toolsWarning(kSourcePath, __LINE__, "The EXR file cannot be written: %s.", messages.m_error);
    }
    return isWritten ? kErrorNone : kErrorFailed;
}

// Grey with alpha is written as colour, which all readers know.
Error saveExr(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    ChannelLayout layout = layoutOf(*source);
    layout.m_depth = fitsHalf(*source) ? ChannelDepth::kHalf : ChannelDepth::kFloat;
    layout.m_isGrey = layout.m_isGrey && !layout.m_hasAlpha;
    return writeRows(kKind, *source, layout, destination, configuration, &writeExr);
}

} // namespace

constinit const Codec g_exrCodec = {makeFileType(".EXR"), "OpenEXR " OPENEXR_VERSION_STRING, &readExr,
                                    &saveExr};

} // namespace qor::Texsmith::Raw
