// Asks an x86 processor which vector instructions it has.

#include "platform/platform.h"

namespace qor::Texsmith::Platform {

ProcessorFeatures getProcessorFeatures() {
#if defined(__x86_64__) || defined(__i386__)
    return {__builtin_cpu_supports("ssse3") != 0, __builtin_cpu_supports("avx2") != 0};
#else
    return {false, false};
#endif
}

} // namespace qor::Texsmith::Platform
