#include "ratio_reporter.h"
#include "surface_benchmarks.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace Bench {
namespace {

using namespace qor::Texsmith;

constexpr char kRoundTrip[] = "jobs/condition variable, there and back";

class EmptyJob : public Raw::Job {
public:
    EmptyJob() : Job(kMaxCallbacks) {}

private:
    Raw::Error doCallback(unsigned) const override { return Raw::kErrorNone; }
};

void emptyJobBench(benchmark::State& state) {
    Raw::ThreadpoolJobManager pool;
    for (auto _ : state) {
        const EmptyJob job;
        pool.submitAndStall(&job);
    }
    compareWith(state, 1, kRoundTrip);
}

// Two threads that hand a turn to each other.
class Turns {
public:
    void pass(int to) {
        const std::scoped_lock lock(m_mutex);
        m_turn = to;
        m_changed.notify_all();
    }
    int await(int mine) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_turn == mine || m_turn == kEnd; });
        return m_turn;
    }

    static constexpr int kHere = 0, kThere = 1, kEnd = 2;

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_turn = kHere;
};

void roundTripBench(benchmark::State& state) {
    Turns turns;
    std::thread other([&] {
        while (turns.await(Turns::kThere) != Turns::kEnd) {
            turns.pass(Turns::kHere);
        }
    });
    for (auto _ : state) {
        turns.pass(Turns::kThere);
        turns.await(Turns::kHere);
    }
    turns.pass(Turns::kEnd);
    other.join();
    compareWith(state, 1);
}

} // namespace

void registerJobBenchmarks() {
    benchmark::RegisterBenchmark(kRoundTrip, roundTripBench)->UseRealTime();
    benchmark::RegisterBenchmark("jobs/empty job of 32 callbacks", emptyJobBench)->UseRealTime();
}

} // namespace Bench
