// What the tool does when it is asked to end: Ctrl-C, SIGTERM, SIGHUP, the end of its console.
#pragma once

namespace Tool {

// From now on such a request stops conversions, removes unfinished files and ends the process with the
// signal's status.
void endTidilyOnSignals();

// For Configuration::m_abort.
volatile unsigned* abortWord();

} // namespace Tool
