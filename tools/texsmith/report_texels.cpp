#include "report_texels.h"

#include <algorithm>
#include <utility>
#ifdef TEXSMITH_HAS_ZLIB
#    include <zlib.h>
#endif

namespace Tool {

using namespace qor::Texsmith;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const Raw::Image& image, Raw::SurfaceIndex index) {
    Bytes bytes;
    for (index.depth = 0; index.depth < image.getDepth(index.mip); ++index.depth) {
        for (index.fragment = 0; index.fragment < image.getFragments(); ++index.fragment) {
            const MemoryRegion region = image.getMemoryRegion(&index);
            const auto* first = static_cast<const std::uint8_t*>(region.begin);
            bytes.insert(bytes.end(), first, first + region.length());
        }
    }
    return bytes;
}

constexpr std::uint64_t base64Length(std::uint64_t bytes) { return (bytes + 2) / 3 * 4; }

#ifdef TEXSMITH_HAS_ZLIB
// Nothing where they would take more than `most` bytes; finding that out takes no longer than making so many.
Bytes deflated(const Bytes& bytes, std::uint64_t most) {
    Bytes packed(std::min<std::uint64_t>(most, compressBound(static_cast<uLong>(bytes.size()))));
    z_stream stream = {};
    if (bytes.size() > ~uInt{0} || deflateInit(&stream, Z_DEFAULT_COMPRESSION) != Z_OK) {
        return {};
    }
    stream.next_in = const_cast<Bytef*>(bytes.data()); // which is not written to
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = packed.data();
    stream.avail_out = static_cast<uInt>(packed.size());
    const bool isWhole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    packed.resize(isWhole ? stream.total_out : 0);
    deflateEnd(&stream);
    return packed;
}
#else
Bytes deflated(const Bytes&, std::uint64_t) { return {}; }
#endif

// Without a text where that would have more than `limit` characters. Bytes that hardly become fewer stay as
// they are, since unpacking takes time, too.
TexelPiece packPiece(const Raw::Image& image, const Raw::SurfaceIndex& index, std::uint64_t limit) {
    const Bytes bytes = bytesOf(image, index);
    const Bytes packed = deflated(bytes, std::min<std::uint64_t>(bytes.size() / 16 * 15, limit / 4 * 3));
    const Bytes& kept = packed.empty() ? bytes : packed;
    const bool isShort = base64Length(kept.size()) <= limit;
    return {index.arrayEntry, index.face, index.mip, !packed.empty(),
            isShort ? toBase64(kept.data(), kept.size()) : std::string()};
}

// Those of one mip. Nothing where they would not fit.
std::vector<TexelPiece> packMip(const Raw::Image& image, unsigned mip, std::uint64_t limit) {
    const Raw::SurfaceCount count = image.getSurfaceCount();
    std::vector<TexelPiece> pieces;
    Raw::SurfaceIndex index;
    index.mip = mip;
    for (index.arrayEntry = 0; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
        for (index.face = 0; index.face < count.faces; ++index.face) {
            pieces.push_back(packPiece(image, index, limit));
            if (pieces.back().m_base64.empty()) {
                return {};
            }
            limit -= pieces.back().m_base64.size();
        }
    }
    return pieces;
}

} // namespace

std::string toBase64(const std::uint8_t* bytes, std::size_t count) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((count + 2) / 3 * 4);
    for (std::size_t i = 0; i < count; i += 3) {
        const std::size_t left = std::min<std::size_t>(count - i, 3);
        const unsigned second = left > 1 ? bytes[i + 1] : 0u, third = left > 2 ? bytes[i + 2] : 0u;
        const unsigned word = unsigned{bytes[i]} << 16 | second << 8 | third;
        text += kDigits[word >> 18];
        text += kDigits[word >> 12 & 63];
        text += left > 1 ? kDigits[word >> 6 & 63] : '=';
        text += left > 2 ? kDigits[word & 63] : '=';
    }
    return text;
}

void PageTexels::dropLarger(unsigned firstMip) {
    std::erase_if(m_pieces, [firstMip](const TexelPiece& piece) { return piece.m_mip < firstMip; });
    m_firstMip = std::max(m_firstMip, firstMip);
}

PageTexels packTexels(const Raw::Image& image, std::uint64_t limit) {
    const Raw::SurfaceCount count = image.getSurfaceCount();
    PageTexels texels;
    for (texels.m_firstMip = count.mips; texels.m_firstMip > 0; --texels.m_firstMip) {
        const unsigned mip = texels.m_firstMip - 1;
        std::vector<TexelPiece> pieces = packMip(image, mip, limit - texels.m_length);
        if (pieces.empty()) {
            const std::uint64_t bytes = std::uint64_t{image.getBytes(mip)} * count.arrayEntries * count.faces;
            texels.m_needed = texels.m_length + base64Length(bytes);
            break;
        }
        for (TexelPiece& piece : pieces) {
            texels.m_length += piece.m_base64.size();
            texels.m_pieces.push_back(std::move(piece));
        }
    }
    return texels;
}

} // namespace Tool
