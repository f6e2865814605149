// Classic pictures in other sizes.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/filters.h"
#include "qor/texsmith/image.h"
#include "qor/texsmith/volume_image.h"

namespace qor::Texsmith {

// Holds functions only.
class QOR_TEXSMITH_API ImageHelper {
public:
    // Resamples `source` into the size that `destination` has, across, then down (and, of a volume, in
    // depth). Sums are made in single precision, sample after sample; negative lobes are kept and nothing is
    // clamped. Constant planes of the destination stay as they are. A null destination and differing plane
    // counts are reported; what both have is then resampled. A size of 0 on either side does nothing.
    //
    // The window of samples and the kernel are deliberately centred half a sample apart, so reductions of 4
    // to 1 and more leave samples out (a box of 4 to 1 averages three of them): go in steps of at most 3
    // to 1.
    //
    // With a manager, rows are shared out over it; the bits are the same.
    static void resizeImage(const Image& source, Image* destination, const Filters::IFilter& filter,
                            JobManager* jobManager = nullptr);
    static void resizeImage(const VolumeImage& source, VolumeImage* destination,
                            const Filters::IFilter& filter, JobManager* jobManager = nullptr);
};

} // namespace qor::Texsmith
