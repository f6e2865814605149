// Checks of arguments: each reports a failure through toolsAssert and tells whether the check held, so that
// the caller can leave where going on would be unsafe.
#pragma once

#include "qor/texsmith/tools_assert.h"

namespace qor::Texsmith::Raw {

// `message` is the whole text, as in "source must not be NULL."
inline bool checkNotNull(const void* pointer, const char* file, const char* message,
                         int line = QOR_TEXSMITH_CALLER_LINE) {
    if (pointer == nullptr) {
        toolsAssert(file, line, message);
    }
    return pointer != nullptr;
}

// `text` is the condition as it stands in the report.
inline bool check(bool condition, const char* file, const char* text, int line = QOR_TEXSMITH_CALLER_LINE) {
    if (!condition) {
        toolsAssert(file, line, "Assertion '%s' failed.", text);
    }
    return condition;
}

} // namespace qor::Texsmith::Raw
