#include "raw/job/reformatmipcrunchyjob.h"

#include "raw/blocks/bc1_group.h"
#include "raw/blocks/block_encoders.h"
#include "raw/surfaces/extent.h"
#include "raw/texels/sides.h"

#include <algorithm>
#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

constexpr unsigned kEntriesPerBlock = 6; // a block of mip 1, twice, and four of mip 0

bool isInside(const ElementProvider& side, const SurfaceIndex& index, unsigned x, unsigned y) {
    return index.depth < getDepthOfMip(side.getTexture(), index.mip) &&
           contains(blocksOf(side.getTexture(), index.mip), x, y);
}

// A block of BC1 in stored form.
Block makeBlock(const Bc1GroupResult& result, unsigned entry) {
    Block block = {};
    auto* bytes = reinterpret_cast<std::uint8_t*>(&block);
    std::memcpy(bytes, &result, 4);
    std::memcpy(bytes + 4, &result.indices[entry], 4);
    return block;
}

} // namespace

struct ReformatMipCrunchyJob::Group {
    SurfaceIndex m_mip0, m_mip1;
    unsigned m_left, m_top; // in blocks of mip 1
};

bool ReformatMipCrunchyJob::groupsFit(unsigned down, unsigned across) {
    return down != 0 && across != 0 && std::uint64_t{down} * across * kEntriesPerBlock <= kMaxBlocksPerGroup;
}

Error ReformatMipCrunchyJob::doPerSurfaceCallback(unsigned callbackId,
                                                  const SurfaceIndex* surfaceIndex) const {
    if (surfaceIndex->mip == 0) {
        return doGroupRows(callbackId, *surfaceIndex);
    }
    return surfaceIndex->mip == 1 ? kErrorNone
                                  : ReformatBlockJob::doPerSurfaceCallback(callbackId, surfaceIndex);
}

// Rows of groups are shared out so that no two callbacks write to one tile.
Error ReformatMipCrunchyJob::doGroupRows(unsigned callbackId, const SurfaceIndex& mip0) const {
    const unsigned tall = destination().getBlocksTall(1), wide = destination().getBlocksWide(1);
    const unsigned down = groupBlocksDown(), across = groupBlocksAcross();
    const unsigned rows = tall / down, rowsAtOnce = down % 2 == 0 ? 1 : 2;
    const WorkItems items = getWorkItems(callbackId, (rows + rowsAtOnce - 1) / rowsAtOnce);
    SurfaceIndex mip1 = mip0;
    mip1.mip = 1;
    for (unsigned row = items.m_begin * rowsAtOnce; row < std::min(items.m_end * rowsAtOnce, rows); ++row) {
        if (isAborted()) {
            return kErrorAborted;
        }
        for (unsigned column = 0; column < wide / across; ++column) {
            doGroup({mip0, mip1, column * across, row * down});
        }
    }
    return kErrorNone;
}

// In the order of a group's list, those blocks that lie inside.
template <typename Use>
void ReformatMipCrunchyJob::forEachBlock(const Group& group, const ElementProvider& side, Use use) const {
    const auto useInside = [&](const SurfaceIndex& index, unsigned x, unsigned y) {
        if (isInside(side, index, x, y)) {
            use(index, x, y);
        }
    };
    for (unsigned i = 0; i < groupBlocksDown() * groupBlocksAcross(); ++i) {
        const unsigned x = group.m_left + i % groupBlocksAcross(), y = group.m_top + i / groupBlocksAcross();
        useInside(group.m_mip1, x, y);
        useInside(group.m_mip1, x, y);
        for (unsigned corner = 0; corner < 4; ++corner) {
            useInside(group.m_mip0, 2 * x + (corner & 1), 2 * y + (corner >> 1));
        }
    }
}

void ReformatMipCrunchyJob::doGroup(const Group& group) const {
    ColorRGBA32F list[kMaxBlocksPerGroup * kTexelsPerBlock];
    unsigned count = 0;
    forEachBlock(group, source(), [&](const SurfaceIndex& index, unsigned x, unsigned y) {
        Block raw = {}, texels = {};
        source().getBlock(&index, &raw, x, y);
        steps().decode(&texels, &raw, sourcePitch());
        steps().modify(&texels);
        std::memcpy(&list[kTexelsPerBlock * count++], &texels, sizeof texels);
    });
    Bc1GroupResult result = {}; // formats with alpha fill the first block only
    encodeBc1Block(reinterpret_cast<std::uint8_t*>(&result), list, steps().encoder(), count);
    unsigned entry = 0;
    forEachBlock(group, destination(), [&](const SurfaceIndex& index, unsigned x, unsigned y) {
        const Block block = makeBlock(result, entry++);
        destination().putBlock(&index, &block, x, y);
    });
}

} // namespace qor::Texsmith::Raw
