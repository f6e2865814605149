#include "raw/blocks/block_cache.h"

#include "platform/platform.h"
#include "qor/texsmith/raw/sha1_hasher.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr std::uint32_t kMagic = 0xDEADCAFE;
constexpr std::uint32_t kMagicBytes = 4, kHeaderBytes = 16, kStateAt = 16;
constexpr std::size_t kLongestDirectory = 4096;

void putWord(std::uint8_t* at, std::uint32_t word) {
    for (unsigned byte = 0; byte < 4; ++byte) {
        at[byte] = static_cast<std::uint8_t>(word >> 8 * byte);
    }
}

void putHeader(std::uint8_t* at, const BlockCacheLayout& layout) {
    putWord(at, kMagic);
    putWord(at + 4, layout.m_sourceBytes);
    putWord(at + 8, layout.m_resultBytes);
    putWord(at + 12, layout.m_stateBytes);
}

} // namespace

BlockCache::BlockCache(const BlockCacheLayout& layout, const std::uint8_t* state, IAllocator allocator)
    : m_layout(layout), m_file(nullptr, kPermissionsReadWrite, allocator) {
    const std::string name = fileName(state, layout.m_stateBytes);
    if (name.empty()) {
        return;
    }
    m_file.openPrivate(name.c_str());
    m_isValid = headerFits();
    if (!m_isValid) {
        m_file.resize(layout.fileBytes());
    }
    if (m_file.length() != layout.fileBytes()) {
        return;
    }
    if (!m_isValid) {
        writeHeader(state);
    }
    if (layout.m_stateBytes >= kMagicBytes) {
        putWord(m_file.begin, 0);
    }
    m_sources = m_file.begin + layout.m_stateBytes;
    m_results = m_sources + layout.m_records * layout.m_sourceBytes;
}

std::string BlockCache::fileName(const std::uint8_t* state, std::uint32_t stateBytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    char directory[kLongestDirectory];
    if (!Platform::getTemporaryDirectory(directory, sizeof directory)) {
        return {};
    }
    std::uint8_t digest[Sha1Hasher::kDigestBytes];
    if (Sha1Hasher::instance().hash(state, stateBytes, digest) != kErrorNone) {
        return {};
    }
    std::string name = directory;
    for (const std::uint8_t byte : digest) {
        name += kDigits[byte & 15];
        name += kDigits[byte >> 4];
    }
    return name;
}

bool BlockCache::headerFits() const {
    std::uint8_t expected[kHeaderBytes];
    putHeader(expected, m_layout);
    return m_file.length() == m_layout.fileBytes() && std::memcmp(m_file.begin, expected, kHeaderBytes) == 0;
}

void BlockCache::writeHeader(const std::uint8_t* state) const {
    putHeader(m_file.begin, m_layout);
    if (m_layout.m_stateBytes != 0) {
        std::memcpy(m_file.begin + kStateAt, state, m_layout.m_stateBytes);
    }
}

const std::uint8_t* BlockCache::find(std::uint64_t record, const void* source) const {
    if (!m_isValid || m_sources == nullptr) {
        return nullptr;
    }
    const std::uint8_t* stored = m_sources + record * m_layout.m_sourceBytes;
    return std::memcmp(stored, source, m_layout.m_sourceBytes) == 0
               ? m_results + record * m_layout.m_resultBytes
               : nullptr;
}

void BlockCache::store(std::uint64_t record, const void* source, const void* result) const {
    if (m_sources != nullptr) {
        std::memcpy(m_sources + record * m_layout.m_sourceBytes, source, m_layout.m_sourceBytes);
        std::memcpy(m_results + record * m_layout.m_resultBytes, result, m_layout.m_resultBytes);
    }
}

void BlockCache::seal() const {
    if (m_sources != nullptr && m_layout.m_stateBytes >= kMagicBytes) {
        putWord(m_file.begin, kMagic);
    }
}

} // namespace qor::Texsmith::Raw
