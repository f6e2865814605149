// A change of format that converts only those blocks that an earlier run has not seen.
#pragma once

#include "raw/blocks/block_cache.h"
#include "raw/job/reformatblockjob.h"

#include <vector>

namespace qor::Texsmith::Raw {

// The state names the cache: whatever the result depends on beside the source's blocks belongs into it.
class ReformatCachedJob final : public ReformatBlockJob {
public:
    ReformatCachedJob(const ElementProvider* source, const ElementProvider* destination,
                      Configuration* configuration, const std::uint8_t* state, std::uint32_t stateBytes);

    // After a run in which all callbacks succeeded.
    void sealCache() const { m_cache.seal(); }

private:
    // Numbers of records, from outer to inner: array entry, face, mip, depth, fragment, row, column.
    struct Records {
        explicit Records(const ElementProvider& source);
        std::uint64_t of(const ElementProvider& source, const SurfaceIndex& index, unsigned x,
                         unsigned y) const;

        std::vector<std::uint64_t> m_beforeMip; // of a face
        std::uint64_t m_perFace = 0;
        std::uint64_t m_total = 0;
        SurfaceCount m_count;
    };

    static BlockCacheLayout layoutFor(const ElementProvider& source, const ElementProvider& destination,
                                      std::uint64_t records, std::uint32_t stateBytes);
    void doBlock(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const override;

    Records m_records;
    std::uint32_t m_resultBytes;
    BlockCache m_cache;
};

} // namespace qor::Texsmith::Raw
