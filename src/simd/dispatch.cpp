#include "simd/dispatch.h"

#include "platform/platform.h"

#include <atomic>

namespace qor::Texsmith::Simd {
namespace {

#if defined(TEXSMITH_SCALAR)
constexpr bool kHasWideKernels = false;
#else
constexpr bool kHasWideKernels = true;
#endif

std::atomic<bool> s_avx2Allowed{true};
std::atomic<bool> s_streamsAlways{false};

} // namespace

bool mayUseAvx2() {
    static const bool s_machineHasIt = kHasWideKernels && Platform::getProcessorFeatures().m_avx2;
    return s_machineHasIt && s_avx2Allowed.load(std::memory_order_relaxed);
}

void allowAvx2(bool allowed) { s_avx2Allowed.store(allowed, std::memory_order_relaxed); }

bool mayStream(std::uint64_t bytes, std::uint64_t least) {
    return bytes >= least || s_streamsAlways.load(std::memory_order_relaxed);
}

void streamAlways(bool always) { s_streamsAlways.store(always, std::memory_order_relaxed); }

} // namespace qor::Texsmith::Simd
