#include "codec/png_data.h"

#include <algorithm>
#include <cstring>

#include <libdeflate.h>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::size_t kSignatureBytes = 8;
constexpr std::size_t kChunkFrame = 12; // length, type and sum
constexpr std::size_t kMostStored = 65535;
constexpr std::size_t kBlockFrame = 5;
constexpr std::uint64_t kMostChunkBytes = 0x7FFFFFFF;

std::uint32_t bigEndian(const std::uint8_t* bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 |
           bytes[3];
}

void putBigEndian(std::uint8_t* to, std::uint32_t value) {
    for (unsigned i = 0; i < 4; ++i) {
        to[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
    }
}

// The chunks of data of a file, which follow one another.
struct PictureData {
    std::vector<MemoryRegion> m_chunks;
    std::uint8_t* m_begin = nullptr; // of the first chunk's frame
    std::uint8_t* m_end = nullptr;   // of the last chunk's

    // False unless the file is made of chunks whose sums are right.
    bool find(const MemoryRegion& file) {
        std::uint8_t* at = file.begin + std::min<std::uint64_t>(kSignatureBytes, file.length());
        while (at != file.end) {
            const auto left = static_cast<std::size_t>(file.end - at);
            const std::size_t length = left >= kChunkFrame ? bigEndian(at) : left;
            if (left < kChunkFrame || length > left - kChunkFrame ||
                libdeflate_crc32(0, at + 4, length + 4) != bigEndian(at + 8 + length)) {
                return false;
            }
            if (std::memcmp(at + 4, "IDAT", 4) == 0 && !add(at, length)) {
                return false;
            }
            if (std::memcmp(at + 4, "IEND", 4) == 0) {
                break; // whatever stands behind it is not looked at
            }
            at += kChunkFrame + length;
        }
        return !m_chunks.empty();
    }

    bool add(std::uint8_t* frame, std::size_t length) {
        if (m_end != nullptr && m_end != frame) {
            return false;
        }
        m_begin = m_begin != nullptr ? m_begin : frame;
        m_end = frame + kChunkFrame + length;
        m_chunks.push_back({frame + 8, frame + 8 + length});
        return true;
    }
};

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* decompressor) const {
        libdeflate_free_decompressor(decompressor);
    }
};
struct FreeCompressor {
    void operator()(libdeflate_compressor* compressor) const { libdeflate_free_compressor(compressor); }
};

bool inflate(const std::vector<std::uint8_t>& packed, std::uint8_t* data, std::size_t dataBytes) {
    const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> decompressor(
        libdeflate_alloc_decompressor());
    std::size_t used = 0, made = 0;
    return decompressor != nullptr &&
           libdeflate_zlib_decompress_ex(decompressor.get(), packed.data(), packed.size(), data, dataBytes,
                                         &used, &made) == LIBDEFLATE_SUCCESS &&
           used == packed.size() && made == dataBytes;
}

} // namespace

bool StoredPng::unpack(const MemoryRegion& file, std::uint64_t dataBytes) {
    const std::uint64_t blocks = (dataBytes + kMostStored - 1) / kMostStored;
    PictureData found;
    if (dataBytes + blocks * kBlockFrame + 6 > kMostChunkBytes || !found.find(file)) {
        return false;
    }
    std::vector<std::uint8_t> packed;
    for (const MemoryRegion& chunk : found.m_chunks) {
        packed.insert(packed.end(), chunk.begin, chunk.end);
    }
    const auto bytes = static_cast<std::size_t>(dataBytes);
    m_data = std::make_unique_for_overwrite<std::uint8_t[]>(bytes);
    if (!inflate(packed, m_data.get(), bytes)) {
        return false;
    }
    m_parts = {{file.begin, found.m_begin}};
    addBlocks(bytes, packed.data() + packed.size() - 4);
    m_parts.push_back({found.m_end, file.end});
    return true;
}

// One chunk: its length and type, the head of a zlib stream, blocks of up to 64 KiB with a frame each, the
// sum of the stream, and that of the chunk, which nobody will look at.
void StoredPng::addBlocks(std::size_t dataBytes, const std::uint8_t* sum) {
    constexpr std::size_t kHeadBytes = 10, kTailBytes = 8;
    const std::size_t blocks = (dataBytes + kMostStored - 1) / kMostStored;
    m_frames.assign(kHeadBytes + blocks * kBlockFrame + kTailBytes, 0);
    std::uint8_t* frame = m_frames.data();
    putBigEndian(frame, static_cast<std::uint32_t>(2 + dataBytes + blocks * kBlockFrame + 4));
    std::memcpy(frame + 4, "IDAT\x78\x01", 6);
    m_parts.push_back({frame, frame + kHeadBytes});
    frame += kHeadBytes;
    for (std::size_t at = 0; at < dataBytes; at += kMostStored, frame += kBlockFrame) {
        const std::size_t count = std::min(kMostStored, dataBytes - at);
        frame[0] = at + count == dataBytes; // the last
        frame[1] = static_cast<std::uint8_t>(count & 0xFF);
        frame[2] = static_cast<std::uint8_t>(count >> 8);
        frame[3] = static_cast<std::uint8_t>(~frame[1]);
        frame[4] = static_cast<std::uint8_t>(~frame[2]);
        m_parts.push_back({frame, frame + kBlockFrame});
        m_parts.push_back({m_data.get() + at, m_data.get() + at + count});
    }
    std::memcpy(frame, sum, 4);
    m_parts.push_back({frame, frame + kTailBytes});
}

bool canCompressQuickly() { return true; }

std::vector<std::uint8_t> compressQuickly(const std::uint8_t* bytes, std::size_t count,
                                          EncoderEffort effort) {
    const int level = effort == kEncoderEffortBest ? 12 : effort == kEncoderEffortHigh ? 6 : 1;
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> compressor(
        libdeflate_alloc_compressor(level));
    if (compressor == nullptr) {
        return {};
    }
    std::vector<std::uint8_t> packed(libdeflate_zlib_compress_bound(compressor.get(), count));
    packed.resize(libdeflate_zlib_compress(compressor.get(), bytes, count, packed.data(), packed.size()));
    return packed;
}

} // namespace qor::Texsmith::Raw
