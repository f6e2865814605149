// How the library runs the jobs that it makes itself.
#pragma once

#include "qor/texsmith/raw/job_manager.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// As submitAndStall, for a job nobody else knows that reads and writes `bytes` bytes in all, or takes as long
// as one that does. Where other threads would come too late to help, and the manager is the library's pool,
// the job runs on this thread alone, in the same way otherwise.
Error runJob(JobManager* manager, const Job* job, std::uint64_t bytes);

} // namespace qor::Texsmith::Raw
