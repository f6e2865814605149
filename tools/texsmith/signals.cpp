#include "signals.h"

#include "replacement_file.h"

#include "qor/texsmith/raw/process.h"

namespace Tool {
namespace {

volatile unsigned s_abort = 0;

void onSignal(int signal) {
    ReplacementFile::removeAllAtTheEnd(&s_abort);
    qor::Texsmith::Raw::endInterrupted(signal);
}

} // namespace

void endTidilyOnSignals() {
    static const bool s_isSet = qor::Texsmith::Raw::callOnInterrupt(&onSignal);
    static_cast<void>(s_isSet);
}

volatile unsigned* abortWord() { return &s_abort; }

} // namespace Tool
