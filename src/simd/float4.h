// Four floats or four 32-bit integers that are worked on at once, alike on every machine.
//
// The back ends lie in namespaces of their own and give the same bits for the same operations, but for
// the payload of a NaN that arithmetic makes. This header chooses; nothing above it asks for the instruction
// set.
#pragma once

#include "simd/float4_scalar.h"

#if !defined(TEXSMITH_SCALAR) && (defined(__SSE2__) || defined(_M_X64))
#    include "simd/float4_sse2.h"
namespace qor::Texsmith::Simd {
using namespace Sse2;
inline constexpr const char* kBackEndName = "SSE2";
} // namespace qor::Texsmith::Simd
#elif !defined(TEXSMITH_SCALAR) && (defined(__aarch64__) || defined(_M_ARM64))
#    include "simd/float4_neon.h"
namespace qor::Texsmith::Simd {
using namespace Neon;
inline constexpr const char* kBackEndName = "NEON";
} // namespace qor::Texsmith::Simd
#else
namespace qor::Texsmith::Simd {
using namespace Scalar;
inline constexpr const char* kBackEndName = "scalar";
} // namespace qor::Texsmith::Simd
#endif
