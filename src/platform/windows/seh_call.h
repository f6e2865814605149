// A call inside a structured exception frame.
#pragma once

// Calls body(context). 0, or the code of the structured exception that ended it. C++ throws may pass through.
// Destructors of what the body had on the stack do not run when a fault ends it.
extern "C" unsigned texsmithSehCall(void (*body)(void* context), void* context);
