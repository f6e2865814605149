// Asks an x86 processor which vector instructions it has.

#include "platform/platform.h"

#if defined(__x86_64__) || defined(__i386__)
#    include <cpuid.h>
#endif

namespace qor::Texsmith::Platform {

#if defined(__x86_64__) || defined(__i386__)
namespace {

// Not all compilers can be asked for it by name.
bool hasF16c() {
    unsigned a, b, c, d;
    return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_F16C) != 0;
}

} // namespace
#endif

ProcessorFeatures getProcessorFeatures() {
#if defined(__x86_64__) || defined(__i386__)
    return {__builtin_cpu_supports("ssse3") != 0, __builtin_cpu_supports("avx2") != 0 && hasF16c()};
#else
    return {false, false};
#endif
}

} // namespace qor::Texsmith::Platform
