// The change of format block by block.
//
// Takes copies of the configurations; the providers must outlive the job. All steps are chosen here, once.
// Rows of blocks are shared out by pairs, which are rows of tiles: a provider may be able to write only whole
// tiles. The abort word is looked at once per row of blocks.
#pragma once

#include "qor/texsmith/raw/per_tile.h"
#include "raw/texels/area_conversion.h"

namespace qor::Texsmith::Raw {

class ReformatBlockJob : public PerBlockRowsJob {
public:
    ReformatBlockJob(const ElementProvider* source, const ElementProvider* destination,
                     Configuration* configuration);

    // Whether both formats have the functions that it takes to read and to write a block.
    static bool canReformat(const ElementProvider* source, const ElementProvider* destination);

protected:
    const ElementProvider& source() const { return m_source; }
    const ElementProvider& destination() const { return m_destination; }
    const BlockConversion& steps() const { return m_steps; }
    unsigned sourcePitch() const { return m_sourcePitch; }
    void convertBlock(Block* encoded, const Block& raw) const {
        m_steps.convert(encoded, m_destinationPitch, &raw, m_sourcePitch);
    }

    Error doPerSurfaceCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex) const override;
    virtual void doBlock(const SurfaceIndex* surfaceIndex, unsigned x, unsigned y) const;

private:
    Error doPerBlockRowsCallback(unsigned callbackId, const SurfaceIndex* surfaceIndex, unsigned begin,
                                 unsigned end) const final;

    const ElementProvider& m_source;
    const ElementProvider& m_destination;
    BlockConversion m_steps;
    unsigned m_sourcePitch;
    unsigned m_destinationPitch;
};

} // namespace qor::Texsmith::Raw
