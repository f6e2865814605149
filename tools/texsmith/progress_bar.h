// A line on the standard error stream that tells how far the work has come.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace Tool {

// Shown while the object lives, where the stream is a terminal and nobody asked for quiet; elsewhere it does
// nothing, and neither does one that is made while another is shown. What does the work counts its steps in
// counter(), or calls step(), on any thread.
class ProgressBar {
public:
    ProgressBar(const char* label, unsigned steps);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    volatile unsigned* counter() { return &m_done; }
    void step();

    // Writes a line on the standard error stream, above the bar where one is shown. Any thread may call it.
    static void printAbove(const std::string& line);

private:
    void watch();
    void draw();

    const char* m_label;
    unsigned m_steps;
    volatile unsigned m_done = 0;
    std::condition_variable m_ended;
    bool m_hasEnded = false;
    std::thread m_watcher;
};

} // namespace Tool
