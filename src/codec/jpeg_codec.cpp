// JPEG by the library interface of the Independent JPEG Group, as libjpeg-turbo has it.
//
// The library leaves a step that fails by a jump from our error handler. So each step is a function of its
// own on a plain structure: between the jump's place and its target nothing has a destructor.
#include "codec/codecs.h"
#include "codec/frame_reader.h"
#include "qor/texsmith/raw/bithacks.h"
#include "qor/texsmith/tools_assert.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jerror.h>
#include <jpeglib.h>

namespace qor::Texsmith::Raw {
namespace {

constexpr char kSourcePath[] = "codec\\jpeg_codec";
constexpr FileKind kKind = {"JPEG", kSourcePath};

constexpr int kQuality = 95;
constexpr int kMostScans = 200; // a progressive file of a few kilobytes can ask for hours of work
// Progressive coding spends at least one bit on the 64 samples of a block.
constexpr std::uint64_t kMostGain = 512;

constexpr unsigned kColorBytes = 4; // of an element
constexpr unsigned kFileColors = 3;

struct Errors {
    jpeg_error_mgr m_manager; // first, so that the library's pointer to it is one to the whole
    std::jmp_buf m_return;
    bool m_isDamaged;
    ReadingProgress m_progress;
};

Errors& errorsOf(j_common_ptr jpeg) { return *reinterpret_cast<Errors*>(jpeg->err); }

[[noreturn]] void fail(j_common_ptr jpeg, const char* text) {
    Errors& errors = errorsOf(jpeg);
    keepFirstText(errors.m_progress.m_error, text);
    std::longjmp(errors.m_return, 1);
}

[[noreturn]] void onError(j_common_ptr jpeg) {
    char text[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, text);
    fail(jpeg, text);
}

void keepSilent(j_common_ptr) {}

void setUp(Errors* errors, void (*onMessage)(j_common_ptr, int)) {
    jpeg_std_error(&errors->m_manager);
    errors->m_manager.error_exit = &onError;
    errors->m_manager.output_message = &keepSilent;
    errors->m_manager.emit_message = onMessage;
}

// False when the step failed.
template <typename State> bool runStep(State& state, void (*step)(State&)) {
    if (setjmp(state.m_errors.m_return) != 0) {
        return false;
    }
    step(state);
    return true;
}

// ---- Reading

struct Reading {
    jpeg_decompress_struct m_jpeg;
    Errors m_errors;
    jpeg_source_mgr m_source;
    jpeg_progress_mgr m_progress;
    std::uint64_t m_fileBytes;
    bool m_endedEarly;
    std::uint8_t* m_rows; // of the image
    std::size_t m_pitch;
    std::uint8_t* m_line; // colours of a row as the library gives them; null for grey
};

Reading& readingOf(j_decompress_ptr jpeg) { return *static_cast<Reading*>(jpeg->client_data); }

// These leave the pixels alone.
bool isHarmless(int code) {
    return code == JWRN_EXTRANEOUS_DATA || code == JWRN_ADOBE_XFORM || code == JWRN_JFIF_MAJOR;
}

// Warnings have level -1. Where a file ends within its only scan, the rest would be made up: rows that are
// not there stay zero instead. Of several scans each refines the whole picture.
void onMessage(j_common_ptr jpeg, int level) {
    if (level >= 0 || isHarmless(jpeg->err->msg_code)) {
        return;
    }
    auto* reader = reinterpret_cast<j_decompress_ptr>(jpeg);
    Errors& errors = errorsOf(jpeg);
    char text[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, text);
    keepFirstText(errors.m_progress.m_error, text);
    errors.m_isDamaged = true;
    if (readingOf(reader).m_endedEarly && jpeg_has_multiple_scans(reader) == FALSE) {
        fail(jpeg, text);
    }
}

void leaveSource(j_decompress_ptr) {}

// Once the header is there, a file that ends early gets the end mark that it lacks.
boolean fillSource(j_decompress_ptr jpeg) {
    static constexpr JOCTET kEndMark[] = {0xFF, JPEG_EOI};
    Reading& state = readingOf(jpeg);
    state.m_endedEarly = true;
    if (state.m_rows == nullptr) {
        fail(reinterpret_cast<j_common_ptr>(jpeg), "the file ends early");
    }
    keepFirstText(state.m_errors.m_progress.m_error, "the file ends early");
    state.m_source.next_input_byte = kEndMark;
    state.m_source.bytes_in_buffer = sizeof kEndMark;
    return TRUE;
}

void skipSource(j_decompress_ptr jpeg, long count) {
    jpeg_source_mgr& source = *jpeg->src;
    if (count <= 0) {
        return;
    }
    if (static_cast<unsigned long>(count) > source.bytes_in_buffer) {
        fillSource(jpeg);
        return;
    }
    source.next_input_byte += count;
    source.bytes_in_buffer -= static_cast<std::size_t>(count);
}

void limitScans(j_common_ptr jpeg) {
    if (reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > kMostScans) {
        fail(jpeg, "it has too many scans");
    }
}

void readHeader(Reading& state) {
    jpeg_create_decompress(&state.m_jpeg);
    state.m_jpeg.client_data = &state;
    state.m_jpeg.src = &state.m_source;
    state.m_progress.progress_monitor = &limitScans;
    state.m_jpeg.progress = &state.m_progress;
    jpeg_read_header(&state.m_jpeg, TRUE);
    const int channels = state.m_jpeg.num_components;
    if (channels != 1 && channels != int(kFileColors)) {
        char text[64];
        std::snprintf(text, sizeof text, "pictures of %d channels are not supported", channels);
        fail(reinterpret_cast<j_common_ptr>(&state.m_jpeg), text);
    }
}

// Three bytes a pixel become four, the last of them zero.
void spreadColors(std::uint8_t* elements, const std::uint8_t* colors, unsigned width) {
    for (unsigned x = 0; x < width; ++x) {
        elements[kColorBytes * x] = colors[kFileColors * x];
        elements[kColorBytes * x + 1] = colors[kFileColors * x + 1];
        elements[kColorBytes * x + 2] = colors[kFileColors * x + 2];
        elements[kColorBytes * x + 3] = 0;
    }
}

void readRows(Reading& state) {
    jpeg_decompress_struct& jpeg = state.m_jpeg;
    jpeg.out_color_space = state.m_line != nullptr ? JCS_RGB : JCS_GRAYSCALE;
    jpeg.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&jpeg);
    ReadingProgress& progress = state.m_errors.m_progress;
    for (; jpeg.output_scanline < jpeg.output_height; progress.m_rowsDone = jpeg.output_scanline) {
        std::uint8_t* elements = state.m_rows + jpeg.output_scanline * state.m_pitch;
        JSAMPROW row = state.m_line != nullptr ? state.m_line : elements;
        jpeg_read_scanlines(&jpeg, &row, 1);
        if (state.m_line != nullptr) {
            spreadColors(elements, state.m_line, jpeg.output_width);
        }
    }
    jpeg_finish_decompress(&jpeg);
}

class Reader {
public:
    explicit Reader(const MemoryRegion& file) {
        m_state.m_fileBytes = file.length();
        m_state.m_source = {file.begin,   static_cast<std::size_t>(file.length()),
                            &leaveSource, &fillSource,
                            &skipSource,  &jpeg_resync_to_restart,
                            &leaveSource};
        setUp(&m_state.m_errors, &onMessage);
        m_state.m_jpeg.err = &m_state.m_errors.m_manager;
    }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader() { jpeg_destroy_decompress(&m_state.m_jpeg); }

    unsigned countFrames() const { return 1; }
    bool readHeader(unsigned) { return runStep(m_state, &Raw::readHeader); }
    ImageClaim claim() const;
    Vex::DataFormat chooseFormat(Vex::TextureChannelType channelType);
    bool readRows(std::uint8_t* rows, std::size_t pitch);
    const ReadingProgress& progress() const { return m_state.m_errors.m_progress; }

private:
    bool isGrey() const { return m_state.m_jpeg.num_components == 1; }

    Reading m_state{};
    std::vector<std::uint8_t> m_line;
};

ImageClaim Reader::claim() const {
    const jpeg_decompress_struct& jpeg = m_state.m_jpeg;
    const std::uint64_t samples = checkedSize(jpeg.image_width, jpeg.image_height);
    return {jpeg.image_width, jpeg.image_height, samples, m_state.m_fileBytes, kMostGain};
}

Vex::DataFormat Reader::chooseFormat(Vex::TextureChannelType channelType) {
    return formatOf({isGrey(), false, ChannelDepth::k8}, channelType);
}

bool Reader::readRows(std::uint8_t* rows, std::size_t pitch) {
    if (!isGrey()) {
        m_line.resize(static_cast<std::size_t>(checkedSize(m_state.m_jpeg.image_width, kFileColors)));
        m_state.m_line = m_line.data();
    }
    m_state.m_rows = rows;
    m_state.m_pitch = pitch;
    m_state.m_errors.m_progress.m_rowsInAll = m_state.m_jpeg.image_height;
    return runStep(m_state, &Raw::readRows) && !m_state.m_endedEarly && !m_state.m_errors.m_isDamaged;
}

Error readJpeg(MemoryRegion* source, ReallocatableImage* destination, Configuration* configuration,
               int index) {
    return readFrame<Reader>(kKind, source, destination, configuration, index);
}

// ---- Writing

struct Writing {
    jpeg_compress_struct m_jpeg;
    Errors m_errors;
    jpeg_destination_mgr m_destination;
    JOCTET m_buffer[16384];
    const ImageRows* m_rows;
    std::uint8_t* m_line; // colours of a row as the library takes them
    std::vector<std::uint8_t>* m_file;
};

Writing& writingOf(j_compress_ptr jpeg) { return *static_cast<Writing*>(jpeg->client_data); }

void ignoreMessage(j_common_ptr, int) {}

void emptyBuffer(j_compress_ptr jpeg) {
    jpeg->dest->next_output_byte = writingOf(jpeg).m_buffer;
    jpeg->dest->free_in_buffer = sizeof writingOf(jpeg).m_buffer;
}

void storeBytes(j_compress_ptr jpeg, std::size_t count) {
    if (!appendBytes(writingOf(jpeg).m_file, writingOf(jpeg).m_buffer, count)) {
        fail(reinterpret_cast<j_common_ptr>(jpeg), "there is not enough memory");
    }
}

boolean storeBuffer(j_compress_ptr jpeg) {
    storeBytes(jpeg, sizeof writingOf(jpeg).m_buffer);
    emptyBuffer(jpeg);
    return TRUE;
}

void storeRest(j_compress_ptr jpeg) {
    storeBytes(jpeg, sizeof writingOf(jpeg).m_buffer - jpeg->dest->free_in_buffer);
}

void gatherColors(std::uint8_t* colors, const std::uint8_t* elements, unsigned width) {
    for (unsigned x = 0; x < width; ++x) {
        colors[kFileColors * x] = elements[kColorBytes * x];
        colors[kFileColors * x + 1] = elements[kColorBytes * x + 1];
        colors[kFileColors * x + 2] = elements[kColorBytes * x + 2];
    }
}

// No channel is halved: textures are rarely photographs.
void startFile(Writing& state) {
    const bool isGrey = state.m_line == nullptr;
    jpeg_compress_struct& jpeg = state.m_jpeg;
    jpeg_create_compress(&jpeg);
    jpeg.client_data = &state;
    state.m_destination = {nullptr, 0, &emptyBuffer, &storeBuffer, &storeRest};
    jpeg.dest = &state.m_destination;
    jpeg.image_width = state.m_rows->m_width;
    jpeg.image_height = state.m_rows->m_height;
    jpeg.input_components = isGrey ? 1 : int(kFileColors);
    jpeg.in_color_space = isGrey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, kQuality, TRUE);
    jpeg.dct_method = JDCT_ISLOW;
    jpeg.comp_info[0].h_samp_factor = jpeg.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&jpeg, TRUE);
}

void writeFile(Writing& state) {
    startFile(state);
    for (unsigned y = 0; y < state.m_rows->m_height; ++y) {
        const std::uint8_t* elements = state.m_rows->row(y);
        if (state.m_line != nullptr) {
            gatherColors(state.m_line, elements, state.m_rows->m_width);
        }
        JSAMPROW row = state.m_line != nullptr ? state.m_line : const_cast<JSAMPROW>(elements);
        jpeg_write_scanlines(&state.m_jpeg, &row, 1);
    }
    jpeg_finish_compress(&state.m_jpeg);
}

Error writeJpeg(const ImageRows& rows, std::vector<std::uint8_t>* file) {
    std::vector<std::uint8_t> line(
        rows.m_layout.m_isGrey ? 0 : static_cast<std::size_t>(checkedSize(rows.m_width, kFileColors)));
    Writing state{};
    state.m_rows = &rows;
    state.m_file = file;
    state.m_line = line.empty() ? nullptr : line.data();
    setUp(&state.m_errors, &ignoreMessage);
    state.m_jpeg.err = &state.m_errors.m_manager;
    const bool isWritten = runStep(state, &writeFile);
    jpeg_destroy_compress(&state.m_jpeg);
    if (!isWritten) {
        toolsWarning(kSourcePath, __LINE__, "The JPEG file cannot be written: %s.",
                     state.m_errors.m_progress.m_error);
    }
    return isWritten ? kErrorNone : kErrorFailed;
}

Error saveJpeg(const Image* source, ResizableMemoryRegion* destination, Configuration* configuration) {
    return writeRows(kKind, *source, {layoutOf(*source).m_isGrey, false, ChannelDepth::k8}, destination,
                     configuration, &writeJpeg);
}

} // namespace

#if defined(LIBJPEG_TURBO_VERSION)
constexpr char kLibrary[] = "libjpeg-turbo";
#else
constexpr char kLibrary[] = "libjpeg";
#endif

constinit const Codec g_jpegCodec = {makeFileType(".JPG"), kLibrary, &readJpeg, &saveJpeg};

} // namespace qor::Texsmith::Raw
