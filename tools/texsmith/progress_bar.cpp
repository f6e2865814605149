#include "progress_bar.h"

#include "console.h"

#include "qor/texsmith/raw/process.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <string>

namespace Tool {
namespace {

constexpr int kStandardError = 2;
constexpr unsigned kWidth = 40;
constexpr std::chrono::milliseconds kInterval(50);

} // namespace

ProgressBar::ProgressBar(const char* label, unsigned steps) : m_label(label), m_steps(std::max(1u, steps)) {
    if (showsProgress() && qor::Texsmith::Raw::isTerminal(kStandardError)) {
        m_watcher = std::thread([this] { watch(); });
    }
}

ProgressBar::~ProgressBar() {
    if (!m_watcher.joinable()) {
        return;
    }
    {
        const std::scoped_lock lock(m_mutex);
        m_hasEnded = true;
    }
    m_ended.notify_one();
    m_watcher.join();
}

void ProgressBar::watch() {
    std::unique_lock lock(m_mutex);
    while (!m_ended.wait_for(lock, kInterval, [this] { return m_hasEnded; })) {
        draw();
    }
    draw();
    std::fputc('\n', stderr);
}

void ProgressBar::draw() {
    const std::atomic_ref<unsigned> counter(const_cast<unsigned&>(m_done));
    const unsigned done = std::min(m_steps, counter.load(std::memory_order_relaxed));
    const unsigned filled = static_cast<unsigned>(std::size_t{kWidth} * done / m_steps);
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %u of %u", m_label, bar.c_str(), done, m_steps);
    std::fflush(stderr);
}

} // namespace Tool
