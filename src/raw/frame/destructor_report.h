// Reports from destructors. An assertion callback may throw; while another exception is unwinding, that would
// end the process.
#pragma once

#include <exception>

namespace qor::Texsmith::Raw {

// For destructors that let nothing out: what a callback throws is lost, but it has been called.
template <class Body> void reportWithoutThrowing(Body body) noexcept {
    try {
        body();
    } catch (...) {
    }
}

// For destructors that may throw. The exception already under way tells more.
template <class Body> void reportFromDestructor(Body body) {
    if (std::uncaught_exceptions() == 0) {
        body();
    } else {
        reportWithoutThrowing(body);
    }
}

} // namespace qor::Texsmith::Raw
