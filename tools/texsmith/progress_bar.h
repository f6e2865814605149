// A line on the standard error stream that tells how far the work has come.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace Tool {

// Shown while the object lives, where the stream is a terminal; elsewhere it does nothing. What does the work
// counts its steps in counter().
class ProgressBar {
public:
    ProgressBar(const char* label, unsigned steps);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    volatile unsigned* counter() { return &m_done; }

private:
    void watch();
    void draw();

    const char* m_label;
    unsigned m_steps;
    volatile unsigned m_done = 0;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_hasEnded = false;
    std::thread m_watcher;
};

} // namespace Tool
