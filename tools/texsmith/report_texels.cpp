#include "report_texels.h"

#include <algorithm>
#include <iterator>
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

#ifdef TEXSMITH_HAS_ZLIB
// Empty where that would not make them much shorter: unpacking takes time, too.
Bytes deflated(const Bytes& bytes) {
    uLongf length = compressBound(static_cast<uLong>(bytes.size()));
    Bytes packed(length);
    const int result = compress2(packed.data(), &length, bytes.data(), static_cast<uLong>(bytes.size()), 6);
    packed.resize(result == Z_OK && length < bytes.size() / 16 * 15 ? length : 0);
    return packed;
}
#else
Bytes deflated(const Bytes&) { return {}; }
#endif

TexelPiece packPiece(const Raw::Image& image, const Raw::SurfaceIndex& index) {
    const Bytes bytes = bytesOf(image, index), packed = deflated(bytes);
    const Bytes& kept = packed.empty() ? bytes : packed;
    return {index.arrayEntry, index.face, index.mip, !packed.empty(), toBase64(kept.data(), kept.size())};
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

void PageTexels::dropBelow(unsigned mip) {
    std::erase_if(m_pieces, [mip](const TexelPiece& piece) { return piece.m_mip < mip; });
    m_firstMip = std::max(m_firstMip, mip);
}

PageTexels packTexels(const Raw::Image& image, std::uint64_t limit) {
    const Raw::SurfaceCount count = image.getSurfaceCount();
    PageTexels texels;
    Raw::SurfaceIndex index;
    for (texels.m_firstMip = count.mips; texels.m_firstMip > 0; --texels.m_firstMip) {
        index.mip = texels.m_firstMip - 1;
        std::vector<TexelPiece> pieces;
        std::uint64_t length = 0;
        for (index.arrayEntry = 0; index.arrayEntry < count.arrayEntries; ++index.arrayEntry) {
            for (index.face = 0; index.face < count.faces; ++index.face) {
                pieces.push_back(packPiece(image, index));
                length += pieces.back().m_base64.size();
            }
        }
        if (texels.m_length + length > limit) {
            texels.m_needed = length;
            break;
        }
        texels.m_length += length;
        std::move(pieces.begin(), pieces.end(), std::back_inserter(texels.m_pieces));
    }
    return texels;
}

} // namespace Tool
