// The version of the headers, as macros, and of the library that runs, as functions.
//
// They differ when a program runs with another shared library than it was built with. Before 1.0 a new minor
// version may change the interface; a new patch version changes nothing that a program sees.
#pragma once

#include "qor/texsmith/export.h"

// The three parts of the version.
#define QOR_TEXSMITH_VERSION_MAJOR 0
#define QOR_TEXSMITH_VERSION_MINOR 1
#define QOR_TEXSMITH_VERSION_PATCH 0

// One number to compare, as in `#if QOR_TEXSMITH_VERSION >= QOR_TEXSMITH_MAKE_VERSION(0, 2, 0)`. Parts above
// 255 do not fit.
#define QOR_TEXSMITH_MAKE_VERSION(major, minor, patch) ((major) << 16 | (minor) << 8 | (patch))
#define QOR_TEXSMITH_VERSION                                                          \
    QOR_TEXSMITH_MAKE_VERSION(QOR_TEXSMITH_VERSION_MAJOR, QOR_TEXSMITH_VERSION_MINOR, \
                              QOR_TEXSMITH_VERSION_PATCH)

namespace qor::Texsmith {

// QOR_TEXSMITH_VERSION of the library that runs.
QOR_TEXSMITH_API unsigned getLibraryVersion();
// The same as text, such as "0.1.0". Constant, and never null.
QOR_TEXSMITH_API const char* getLibraryVersionText();
// The instruction set of the kernels that this machine runs: "AVX2", "SSE2", "NEON" or "scalar". Results do
// not depend on it. Constant, and never null.
QOR_TEXSMITH_API const char* getLibraryKernelsText();

} // namespace qor::Texsmith
