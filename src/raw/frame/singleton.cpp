// The start of a process-wide service: once, whichever thread comes first.

#include "qor/texsmith/raw/singleton.h"

#include "platform/platform.h"

namespace qor::Texsmith::Raw {

namespace {

enum State : unsigned { kNotStarted, kRunning, kFinished };

} // namespace

Error Singleton::initialize() {
    unsigned state = kNotStarted;
    if (!m_state.compare_exchange_strong(state, kRunning, std::memory_order_acquire)) {
        while (m_state.load(std::memory_order_acquire) != kFinished) {
            Platform::sleepMilliseconds(1);
        }
        return m_result;
    }
    struct Finish { // also when doInitialize throws: the others must not wait for ever
        std::atomic<unsigned>& m_state;
        ~Finish() { m_state.store(kFinished, std::memory_order_release); }
    } finish{m_state};
    m_result = kErrorFailed;
    m_result = doInitialize();
    return m_result;
}

} // namespace qor::Texsmith::Raw
