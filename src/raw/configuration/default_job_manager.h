// Where jobs run unless a caller says otherwise.
#pragma once

namespace qor::Texsmith::Raw {

class JobManager;

// The library's one ThreadpoolJobManager.
JobManager* defaultJobManager();

} // namespace qor::Texsmith::Raw
