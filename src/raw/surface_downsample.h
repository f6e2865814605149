// One surface from a larger one: which job makes it.
#pragma once

#include "qor/texsmith/raw/mip_maps.h"

namespace qor::Texsmith::Raw {

// The abort word of the call is set.
bool isAborted(const Configuration& configuration);
// What a call that ran jobs answers with: an abort that a job met comes back from its manager as a plain
// failure.
Error resultOfJob(Error error, const Configuration& configuration);

// Makes one depth slice of a volume. `sourceIndex` names the mip; its depth plays no part.
int surfaceDownsample3d(ElementProvider* source, SurfaceIndex sourceIndex, ElementProvider* destination,
                        SurfaceIndex destinationIndex, Configuration* configuration);

} // namespace qor::Texsmith::Raw
