// The version of the library, from the macros of its header.

#include "qor/texsmith/version.h"

#include "simd/dispatch.h"
#include "simd/float4.h"

// A macro's value as a string literal.
#define TEXSMITH_TEXT_OF(value) #value
#define TEXSMITH_TEXT(value) TEXSMITH_TEXT_OF(value)

namespace qor::Texsmith {

unsigned getLibraryVersion() { return QOR_TEXSMITH_VERSION; }

const char* getLibraryVersionText() {
    return TEXSMITH_TEXT(QOR_TEXSMITH_VERSION_MAJOR) "." TEXSMITH_TEXT(
        QOR_TEXSMITH_VERSION_MINOR) "." TEXSMITH_TEXT(QOR_TEXSMITH_VERSION_PATCH);
}

const char* getLibraryKernelsText() { return Simd::mayUseAvx2() ? "AVX2" : Simd::kBackEndName; }

} // namespace qor::Texsmith
