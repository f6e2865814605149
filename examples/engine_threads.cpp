// Runs the library's work on the threads of an engine. These are two threads with a queue; an engine has
// better.
#include <qor/texsmith/texsmith.h>

#include <condition_variable>
#include <cstdio>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

using namespace qor::Texsmith;

namespace {

class Engine {
public:
    ~Engine() {
        enqueue(nullptr);
        enqueue(nullptr);
        m_first.join();
        m_second.join();
    }
    void enqueue(std::function<void()> task) {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        m_changed.notify_one();
    }

private:
    void run() {
        for (;;) {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [&] { return !m_tasks.empty(); });
            const std::function<void()> task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            if (!task) {
                return;
            }
            task();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_tasks;
    std::thread m_first{&Engine::run, this};
    std::thread m_second{&Engine::run, this};
};

// Makes one JobCallback for each part of a job, on the engine's threads, and waits until all are done.
class EngineJobManager : public Raw::JobManager {
public:
    explicit EngineJobManager(Engine* engine) : m_engine(engine) {}

private:
    Raw::Error doSubmit(const Raw::Job* job) override {
        const int parts = job->getCallbacks();
        count(parts);
        for (int i = 0; i < parts; ++i) {
            m_engine->enqueue([this, job] {
                {
                    Raw::JobCallback part(job);
                    try {
                        part.Execute();
                    } catch (...) { // an engine's thread goes on; the job counts the part as failed
                    }
                }
                count(-1);
            });
        }
        return Raw::kErrorNone;
    }
    Raw::Error doStall() override {
        std::unique_lock lock(m_mutex);
        m_idle.wait(lock, [&] { return m_parts == 0; });
        return Raw::kErrorNone;
    }
    Raw::Error doStall(const Raw::Job* job) override {
        doStall();
        return job->allCallbacksSucceeded() ? Raw::kErrorNone : Raw::kErrorFailed;
    }
    void count(int change) {
        const std::lock_guard lock(m_mutex);
        m_parts += change;
        m_idle.notify_all();
    }

    Engine* m_engine;
    std::mutex m_mutex;
    std::condition_variable m_idle;
    int m_parts = 0;
};

} // namespace

// engine_threads SOURCE DESTINATION
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: engine_threads SOURCE DESTINATION\n");
        return 2;
    }
    Engine engine;
    EngineJobManager manager(&engine);
    Configuration configuration;
    configuration.m_jobManager = &manager;
    return Raw::convertWithResult(argv[1], argv[2], &configuration) == Raw::kErrorNone ? 0 : 1;
}
