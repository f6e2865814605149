// Conversion of a surface's texels into another surface's format.
//
// All of these run a job on the configuration's manager and return when it is done, in one of these ways:
// kErrorNone; kErrorFailed after a report, for an abort, or for a format that has no such functions. Source
// and destination may share memory where their elements have the same size. Results are the same bits for
// every number of threads and on every machine. All arguments stay the caller's; any thread may call, with a
// configuration of its own and a destination that nobody else uses meanwhile.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/configuration.h"
#include "qor/texsmith/raw/element_provider.h"

namespace qor::Texsmith::Raw {

// Converts the whole contents of `source` into the format, channel type and swizzle of `destination`, which
// has the same dimensions. Equal formats without transforms are copied; formats with eight-bit blocks and
// equal channel types go by stored bytes; all others through floats. Null arguments and a null job manager
// are reported, and so are differing dimensions, where what fits is converted; kErrorFailed then, and for a
// format that cannot be read or written. The same holds for the functions below.
QOR_TEXSMITH_API Error reformat(const ElementProvider* source, ElementProvider* destination,
                                Configuration* configuration);

// The same block by block, with the results of earlier runs kept in a file in the temporary directory: a
// block that has not changed costs a comparison. The file goes by the `stateLength` bytes at `state`, in
// which the caller names everything that the result depends on beside the source's texels: the settings, and
// which texture this is. Nothing deletes these files. Sound for compressed destinations only: of other blocks
// the file keeps no more than their first texels. Two runs with one state must not overlap. A null state and
// a negative length are reported and fail the call; without a usable file the failure is reported and all
// blocks are converted. Returns an Error.
QOR_TEXSMITH_API int reformatCached(const ElementProvider* source, ElementProvider* destination,
                                    Configuration* configuration, const unsigned char* state,
                                    int stateLength);

// Block by block. `a` and `b` play no part.
QOR_TEXSMITH_API Error reformatCrunchy(const ElementProvider* source, ElementProvider* destination,
                                       Configuration* configuration, unsigned a, unsigned b);

// For BC1 without alpha: rectangles of `a` blocks down and `b` across of mip 1 share one pair of endpoints
// with the blocks of mip 0 over them, which a lossless compression afterwards gains from. Blocks of the two
// mips that whole rectangles leave over at the right and the bottom are not written. A destination that is
// not BC1 or has one mip is reported, and so is a * b that is not 1 to 4: nothing is written then, and the
// call returns kErrorFailed.
QOR_TEXSMITH_API Error reformatMipCrunchy(const ElementProvider* source, ElementProvider* destination,
                                          Configuration* configuration, unsigned a, unsigned b);

} // namespace qor::Texsmith::Raw
