// The floating-point mode of a thread.

#include "platform/platform.h"

#if defined(__x86_64__) || defined(_M_X64)
#    include <cstring>
#    include <xmmintrin.h>
#endif

namespace qor::Texsmith::Platform {

#if defined(__x86_64__) || defined(_M_X64)

namespace {

constexpr unsigned kDefaultControl = 0x1F80; // as processes start: all exceptions masked, nothing else set

} // namespace

// Only the word that vector instructions obey: saving the old unit's too takes longer than many a short job.
DefaultFloatingPoint::DefaultFloatingPoint() : m_before() {
    const unsigned control = _mm_getcsr();
    std::memcpy(&m_before, &control, sizeof control);
    _mm_setcsr(kDefaultControl);
}

DefaultFloatingPoint::~DefaultFloatingPoint() {
    unsigned control = kDefaultControl;
    std::memcpy(&control, &m_before, sizeof control);
    _mm_setcsr(control);
}

#else

DefaultFloatingPoint::DefaultFloatingPoint() {
    std::fegetenv(&m_before);
    std::fesetenv(FE_DFL_ENV);
}

DefaultFloatingPoint::~DefaultFloatingPoint() { std::fesetenv(&m_before); }

#endif

} // namespace qor::Texsmith::Platform
