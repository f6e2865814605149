// Base of the process-wide services that start once, such as the pool of threads.
//
// Derive, override doInitialize, and keep one object of static storage; whoever needs the service calls
// initialize() first, each time.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/error.h"

#include <atomic>

namespace qor::Texsmith::Raw {

// Constant-initialised, so that an instance of static storage is ready before any other code.
class QOR_TEXSMITH_API Singleton {
public:
    constexpr Singleton() = default;
    virtual ~Singleton() = default;
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

    // From any thread. The first caller runs doInitialize, the others wait; all get its result, now and
    // later. A failed start is not retried.
    Error initialize();

private:
    virtual Error doInitialize() = 0;

    std::atomic<unsigned> m_state{0}; // 0 not started, 1 running, 2 finished
    Error m_result = kErrorNone;
};

} // namespace qor::Texsmith::Raw
