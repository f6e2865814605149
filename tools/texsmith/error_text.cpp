// What an error means where the library gave no reason.
#include "failure.h"

namespace Tool {

const char* errorText(qor::Texsmith::Raw::Error error) {
    using namespace qor::Texsmith::Raw;
    switch (error) {
    case kErrorAborted:
        return "the work was aborted";
    default:
        return "this file cannot be processed";
    }
}

} // namespace Tool
