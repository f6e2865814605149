// Running out of memory, at the edge of the library: a function that returns an Error lets no std::bad_alloc
// out.
#pragma once

#include "qor/texsmith/raw/error.h"
#include "qor/texsmith/tools_assert.h"

#include <new>
#include <stdexcept>

namespace qor::Texsmith::Raw {

// Returns body(), an Error or an int with the values of one; when memory runs out meanwhile, reports that and
// returns kErrorFailed. A public function wraps its whole work in it:
//
//     return failWithoutMemory(kSourcePath, [&] { return doTheWork(source, destination); });
//
// Functions inside need no such care. Other exceptions, such as those of a client's report handler, pass.
template <class Body>
auto failWithoutMemory(const char* file, Body body, int line = QOR_TEXSMITH_CALLER_LINE) -> decltype(body()) {
    try {
        return body();
    } catch (const std::bad_alloc&) {
    } catch (const std::length_error&) { // what a container of the standard library throws beyond its limit
    }
    toolsAssert(file, line, "There is not enough memory for this call.");
    return static_cast<decltype(body())>(kErrorFailed);
}

} // namespace qor::Texsmith::Raw
