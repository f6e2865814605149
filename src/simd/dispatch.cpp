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

} // namespace

bool mayUseAvx2() {
    static const bool s_machineHasIt = kHasWideKernels && Platform::getProcessorFeatures().m_avx2;
    return s_machineHasIt && s_avx2Allowed.load(std::memory_order_relaxed);
}

void allowAvx2(bool allowed) { s_avx2Allowed.store(allowed, std::memory_order_relaxed); }

} // namespace qor::Texsmith::Simd
