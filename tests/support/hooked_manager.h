// A job manager that calls a hook before it runs each job on the calling thread.
#pragma once

#include "qor/texsmith/texsmith.h"

#include <functional>
#include <utility>

namespace TestSupport {

class HookedManager : public qor::Texsmith::Raw::JobManager {
public:
    using Hook = std::function<void(const qor::Texsmith::Raw::Job& job)>;
    explicit HookedManager(Hook hook) : m_hook(std::move(hook)) {}

private:
    qor::Texsmith::Raw::Error doSubmit(const qor::Texsmith::Raw::Job* job) override {
        m_hook(*job);
        return m_serial.submit(job);
    }
    qor::Texsmith::Raw::Error doStall() override { return m_serial.stall(); }
    qor::Texsmith::Raw::Error doStall(const qor::Texsmith::Raw::Job* job) override {
        return m_serial.stall(job);
    }

    Hook m_hook;
    qor::Texsmith::Raw::SerialJobManager m_serial;
};

} // namespace TestSupport
