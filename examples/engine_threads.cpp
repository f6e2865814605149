// Runs the library's work on the threads of an engine, for which std::async stands here.
#include <qor/texsmith/texsmith.h>

#include <cstdio>
#include <future>
#include <map>
#include <mutex>
#include <vector>

using namespace qor::Texsmith;

namespace {

// Makes one JobCallback for each part of a job, on a thread of the engine's, and waits until all are done.
class EngineJobManager : public Raw::JobManager {
    using Parts = std::vector<std::future<void>>; // each waits for its part when it goes

    Raw::Error doSubmit(const Raw::Job* job) override {
        Parts parts;
        for (int i = 0; i < job->getCallbacks(); ++i) {
            parts.push_back(std::async(std::launch::async, [job] { Raw::JobCallback(job).Execute(); }));
        }
        const std::lock_guard lock(m_mutex);
        m_parts[job] = std::move(parts);
        return Raw::kErrorNone;
    }
    Raw::Error doStall(const Raw::Job* job) override {
        std::unique_lock lock(m_mutex);
        auto parts = m_parts.extract(job);
        lock.unlock();
        parts = {}; // what a part threw stays in its future: the job knows that it failed
        return job->allCallbacksSucceeded() ? Raw::kErrorNone : Raw::kErrorFailed;
    }
    Raw::Error doStall() override {
        std::map<const Raw::Job*, Parts> all;
        const std::lock_guard lock(m_mutex);
        all.swap(m_parts);
        return Raw::kErrorNone;
    }

    std::mutex m_mutex; // jobs may come from several threads
    std::map<const Raw::Job*, Parts> m_parts;
};

} // namespace

// engine_threads SOURCE DESTINATION
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: engine_threads SOURCE DESTINATION\n");
        return 2;
    }
    EngineJobManager manager;
    Configuration configuration;
    configuration.m_jobManager = &manager;
    return Raw::convertWithResult(argv[1], argv[2], &configuration) == Raw::kErrorNone ? 0 : 1;
}
