// Reports from destructors. An assertion callback may throw; while another exception is unwinding, that would
// end the process.
#pragma once

#include <exception>

namespace qor::Texsmith::Raw {

template <class Body> void reportFromDestructor(Body body) {
    if (std::uncaught_exceptions() == 0) {
        body();
        return;
    }
    try {
        body();
    } catch (...) { // the exception already under way tells more
    }
}

} // namespace qor::Texsmith::Raw
