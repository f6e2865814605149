// BC1 with endpoints that groups of blocks share, over the two top mips.
//
// A group is a rectangle of blocks of mip 1 with the blocks of mip 0 that lie over them. Those of mip 1 count
// twice in the fit. What a rectangle of whole groups leaves over at the right and the bottom is not written;
// mips from 2 on are converted block by block.
#pragma once

#include "raw/job/reformatcrunchyjob.h"

namespace qor::Texsmith::Raw {

class ReformatMipCrunchyJob final : public ReformatCrunchyJob {
public:
    // The destination is BC1 with two mips or more, and the groups fit.
    using ReformatCrunchyJob::ReformatCrunchyJob;

    static bool groupsFit(unsigned down, unsigned across);

private:
    struct Group;

    Error doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const override;
    Error doGroupRows(unsigned callbackId, const SurfaceIndex& mip0) const;
    void doGroup(const Group& group) const;
    template <typename Use> void forEachBlock(const Group& group, const ElementProvider& side, Use use) const;
};

} // namespace qor::Texsmith::Raw
