// The system's text for the last failed call, for use in a report.
#pragma once

#include "platform/platform.h"

namespace qor::Texsmith::Raw {

// Make it right after the call that failed, before anything else can fail.
class SystemReport {
public:
    SystemReport() { Platform::lastErrorText(m_text, sizeof m_text); }
    const char* c_str() const { return m_text; }

private:
    char m_text[2048];
};

} // namespace qor::Texsmith::Raw
