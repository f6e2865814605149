#include "band_walk.h"

#include "failure.h"

#include <algorithm>

namespace Tool {

using namespace qor::Texsmith;

namespace {

constexpr std::size_t kBandBytes = 1 << 20; // of floats of one texture

class BandJob : public Raw::Job {
public:
    BandJob(const ImagePair& pair, const std::vector<Band>& bands, unsigned rowsAbove, const UseBand& use)
        : Job(0), m_pair(pair), m_bands(bands), m_rowsAbove(rowsAbove), m_use(use) {}

private:
    Raw::Error doCallback(unsigned id) const override {
        const Raw::WorkItems share = getWorkItems(id, static_cast<unsigned>(m_bands.size()));
        FloatRows a(m_pair.a(), m_pair.srgb()), b(m_pair.b(), m_pair.srgb());
        for (unsigned i = share.m_begin; i < share.m_end; ++i) {
            const Band& band = m_bands[i];
            const bool continues = i != share.m_begin && m_bands[i - 1].m_bottom == band.m_top &&
                                   band.m_top != band.m_region.m_top;
            const unsigned above = continues ? 0 : std::min(m_rowsAbove, band.m_top - band.m_region.m_top);
            const unsigned first = (band.m_top - above) / kBandStep * kBandStep;
            const BandRows rows = {a.read(band.m_index, first, band.m_bottom),
                                   b.read(band.m_index, first, band.m_bottom), first};
            m_use(id, band, rows, continues);
        }
        return Raw::kErrorNone;
    }

    const ImagePair& m_pair;
    const std::vector<Band>& m_bands;
    unsigned m_rowsAbove;
    const UseBand& m_use;
};

} // namespace

std::vector<Band> bandsOf(const ImagePair& pair, const Selection& selection, unsigned step) {
    std::vector<Band> bands;
    forEachSurface(pair.a(), [&](const Raw::SurfaceIndex& index) {
        if (!pair.isChosen(selection, index.mip)) {
            return;
        }
        const Region region = pair.regionOf(selection, index.mip);
        const std::size_t rowBytes = std::size_t{16} * pair.a().getPixelsWide(index.mip);
        const unsigned rows = std::max(1u, static_cast<unsigned>(kBandBytes / rowBytes) / step) * step;
        for (unsigned top = region.m_top; top < region.m_bottom; top += rows) {
            bands.push_back({index, region, top, std::min(top + rows, region.m_bottom)});
        }
    });
    return bands;
}

void walkBands(const ImagePair& pair, const std::vector<Band>& bands, unsigned rowsAbove,
               const UseBand& use) {
    Raw::ThreadpoolJobManager pool;
    const BandJob job(pair, bands, rowsAbove, use);
    if (pool.submitAndStall(&job) != Raw::kErrorNone) {
        const std::string report = firstReport();
        throw Failure("the comparison failed" + (report.empty() ? report : ": " + report));
    }
}

} // namespace Tool
