#include "progress_bar.h"

#include "console.h"

#include "qor/texsmith/raw/process.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>

namespace Tool {
namespace {

constexpr int kStandardError = 2;
constexpr unsigned kWidth = 40;
constexpr std::chrono::milliseconds kInterval(50);

std::mutex s_mutex;          // of the stream
std::size_t s_barLength = 0; // of the bar that stands there
std::atomic<bool> s_isTaken{false};

} // namespace

ProgressBar::ProgressBar(const char* label, unsigned steps) : m_label(label), m_steps(std::max(1u, steps)) {
    const bool isSeen = showsProgress() && qor::Texsmith::Raw::isTerminal(kStandardError);
    if (isSeen && !s_isTaken.exchange(true)) {
        m_watcher = std::thread([this] { watch(); });
    }
}

ProgressBar::~ProgressBar() {
    if (!m_watcher.joinable()) {
        return;
    }
    {
        const std::scoped_lock lock(s_mutex);
        m_hasEnded = true;
    }
    m_ended.notify_one();
    m_watcher.join();
    s_isTaken = false;
}

void ProgressBar::step() {
    std::atomic_ref<unsigned>(const_cast<unsigned&>(m_done)).fetch_add(1, std::memory_order_relaxed);
}

void ProgressBar::printAbove(const std::string& line) {
    const std::scoped_lock lock(s_mutex);
    const std::size_t blanks = s_barLength > line.size() ? s_barLength - line.size() : 0;
    std::fprintf(stderr, "%s%s%s\n", s_barLength != 0 ? "\r" : "", line.c_str(),
                 std::string(blanks, ' ').c_str());
    s_barLength = 0; // it comes back with the next drawing
}

void ProgressBar::watch() {
    std::unique_lock lock(s_mutex);
    while (!m_ended.wait_for(lock, kInterval, [this] { return m_hasEnded; })) {
        draw();
    }
    draw();
    s_barLength = 0;
    std::fputc('\n', stderr);
}

void ProgressBar::draw() {
    const std::atomic_ref<unsigned> counter(const_cast<unsigned&>(m_done));
    const unsigned done = std::min(m_steps, counter.load(std::memory_order_relaxed));
    const unsigned filled = static_cast<unsigned>(std::size_t{kWidth} * done / m_steps);
    const std::string bar = std::string(m_label) + " [" + std::string(filled, '#') +
                            std::string(kWidth - filled, '.') + "] " + std::to_string(done) + " of " +
                            std::to_string(m_steps);
    std::fprintf(stderr, "\r%s", bar.c_str());
    std::fflush(stderr);
    s_barLength = bar.size();
}

} // namespace Tool
