// One surface from a larger one: which job makes it.
#pragma once

#include "qor/texsmith/raw/mip_maps.h"

namespace qor::Texsmith::Raw {

// The abort word of the call is set.
bool isAborted(const Configuration& configuration);
// What a call that ran jobs answers with: an abort that a job met comes back from its manager as a plain
// failure.
Error resultOfJob(Error error, const Configuration& configuration);

// How many callbacks the texels of a mip of `destination` keep busy, 0 included.
unsigned callbacksWorth(const ElementProvider& destination, unsigned mip);

// Makes mip 1 of a flat `destination` from mip 0 of `source` and copies the latter to mip 0 of `destination`
// in the same pass. False, and nothing done, where that is not to be had: the two differ in how they store
// texels, mip 1 is no exact half, or the rows are not in memory. `index` names the array entry and the face.
bool copyAndDownsample2d(Error* result, ElementProvider* source, ElementProvider* destination,
                         const SurfaceIndex& index, Configuration* configuration);

// Makes one depth slice of a volume. `sourceIndex` names the mip; its depth plays no part.
int surfaceDownsample3d(ElementProvider* source, SurfaceIndex sourceIndex, ElementProvider* destination,
                        SurfaceIndex destinationIndex, Configuration* configuration);

} // namespace qor::Texsmith::Raw
