#include "raw/job/reformatcachedjob.h"

#include "raw/surfaces/extent.h"

#include <cstring>

namespace qor::Texsmith::Raw {

ReformatCachedJob::Records::Records(const ElementProvider& source) : m_count(source.getSurfaceCount()) {
    const Vex::Texture& texture = source.getTexture();
    for (unsigned mip = 0; mip < m_count.mips; ++mip) {
        const Extent blocks = blocksOf(texture, mip);
        m_beforeMip.push_back(m_perFace);
        m_perFace +=
            std::uint64_t{blocks.m_wide} * blocks.m_tall * getDepthOfMip(texture, mip) * m_count.fragments;
    }
    m_total = m_perFace * m_count.faces * m_count.arrayEntries;
}

std::uint64_t ReformatCachedJob::Records::of(const ElementProvider& source, const SurfaceIndex& index,
                                             unsigned x, unsigned y) const {
    const Extent blocks = blocksOf(source.getTexture(), index.mip);
    const std::uint64_t face = std::uint64_t{index.arrayEntry} * m_count.faces + index.face;
    const std::uint64_t slice = std::uint64_t{index.depth} * m_count.fragments + index.fragment;
    const std::uint64_t row = slice * blocks.m_tall + y;
    return face * m_perFace + m_beforeMip[index.mip] + row * blocks.m_wide + x;
}

ReformatCachedJob::ReformatCachedJob(const ElementProvider* source, const ElementProvider* destination,
                                     Configuration* configuration, const std::uint8_t* state,
                                     std::uint32_t stateBytes)
    : ReformatBlockJob(source, destination, configuration), m_records(*source),
      m_resultBytes(layoutFor(*source, *destination, 0, 0).m_resultBytes),
      m_cache(layoutFor(*source, *destination, m_records.m_total, stateBytes), state,
              configuration->m_allocator) {
    setName("ReformatCachedJob");
}

// A result record is deliberately a sum. For compressed formats that is a block and a byte; for others it is
// less than a block.
BlockCacheLayout ReformatCachedJob::layoutFor(const ElementProvider& source,
                                              const ElementProvider& destination, std::uint64_t records,
                                              std::uint32_t stateBytes) {
    return {source.getBytesPerElement() * source.getElementsPerBlock(),
            destination.getBytesPerElement() + destination.getElementsPerBlock(), records, stateBytes};
}

void ReformatCachedJob::doBlock(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const {
    if (!contains(blocksOf(source().getTexture(), surfaceIndex->mip), x, y)) {
        ReformatBlockJob::doBlock(surfaceIndex, x, y); // a larger destination has no records
        return;
    }
    Block raw = {}, encoded = {};
    source().getBlock(surfaceIndex, &raw, x, y);
    const std::uint64_t record = m_records.of(source(), *surfaceIndex, x, y);
    if (const std::uint8_t* result = m_cache.find(record, &raw); result != nullptr) {
        std::memcpy(static_cast<void*>(&encoded), result, m_resultBytes);
    } else {
        convertBlock(&encoded, raw);
        m_cache.store(record, &raw, &encoded);
    }
    destination().putBlock(surfaceIndex, &encoded, x, y);
}

} // namespace qor::Texsmith::Raw
