// Absorbs what a function throws and the faults that end it, by a structured exception frame.

#include "platform/platform.h"
#include "platform/windows/seh_call.h"

namespace qor::Texsmith::Platform {

// Faults end in the structured frame, which lets throws pass; those end here. A stack overflow is not
// absorbed by the frame that MinGW builds have: there is no stack left for the handler's search.
bool guardedCall(void (*body)(void* context), void* context) {
    try {
        return texsmithSehCall(body, context) == 0;
    } catch (...) {
        return false;
    }
}

} // namespace qor::Texsmith::Platform
