#include "batch.h"

#include "console.h"
#include "content_hash.h"
#include "conversion_estimate.h"
#include "failure.h"
#include "file_conversion.h"
#include "paths.h"
#include "progress_bar.h"
#include "replacement_file.h"
#include "update_record.h"

#include "qor/texsmith/raw/process.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace Tool {
namespace {

namespace fs = std::filesystem;

constexpr int kStandardOutput = 1;
constexpr unsigned kMostWaiting = 32;
constexpr char kMemoryFailure[] = "there is not enough memory";
constexpr char kFaultFailure[] = "an internal fault ended the conversion";

void makeFolderOf(const std::string& destination) {
    const fs::path folder = toPath(destination).parent_path();
    std::error_code error;
    if (!folder.empty() && !fs::create_directories(folder, error) && error) {
        throw Failure("the folder cannot be made: " + reasonOf(error), kExitUnwritable, toName(folder));
    }
}

// Hands out files in order: so many at once, and each when the memory that it needs is free. One that needs
// more than there is comes alone.
class Queue {
public:
    Queue(const Batch& batch, unsigned jobs, std::uint64_t memory)
        : m_batch(batch), m_jobs(jobs), m_memory(memory) {}

    // A file, and its share of processor and memory until finish or the end.
    class Turn {
    public:
        Turn(Queue* queue, std::size_t file, std::uint64_t memory)
            : m_queue(queue), m_file(file), m_memory(memory) {}
        ~Turn() { finish(); }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        std::size_t file() const { return m_file; }
        void finish() {
            if (Queue* const queue = std::exchange(m_queue, nullptr)) {
                queue->giveBack(m_memory);
            }
        }

    private:
        Queue* m_queue;
        const std::size_t m_file;
        const std::uint64_t m_memory;
    };

    // Null when no file is left to hand out.
    std::unique_ptr<Turn> next() {
        std::unique_lock lock(m_mutex);
        if (m_isClosed || m_next >= m_batch.m_files.size()) {
            return nullptr;
        }
        const std::size_t index = m_next++;
        lock.unlock(); // the estimate reads the file's headers
        const BatchFile& file = m_batch.m_files[index];
        const ConversionOptions& options = m_batch.m_settings[file.m_settings].m_options;
        const std::uint64_t memory = estimateConversion(file.m_source, file.m_destination, options).m_memory;
        lock.lock();
        m_isFree.wait(lock, [&] {
            const bool fits = memory <= m_memory && m_used <= m_memory - memory;
            return m_isClosed || m_atWork == 0 || (m_atWork < m_jobs && fits);
        });
        if (m_isClosed) {
            return nullptr;
        }
        ++m_atWork;
        m_used += memory;
        return std::make_unique<Turn>(this, index, memory);
    }

    void handOutNoMore() {
        {
            const std::scoped_lock lock(m_mutex);
            m_isClosed = true;
        }
        m_isFree.notify_all();
    }

private:
    void giveBack(std::uint64_t memory) {
        {
            const std::scoped_lock lock(m_mutex);
            --m_atWork;
            m_used -= memory;
        }
        m_isFree.notify_all();
    }

    const Batch& m_batch;
    const unsigned m_jobs;
    const std::uint64_t m_memory;
    std::mutex m_mutex;
    std::condition_variable m_isFree;
    std::size_t m_next = 0;
    bool m_isClosed = false;
    unsigned m_atWork = 0;
    std::uint64_t m_used = 0;
};

unsigned jobsFor(const Batch& batch, const BatchOptions& options) {
    const std::size_t cores = std::max(1u, std::thread::hardware_concurrency());
    const std::size_t wanted = options.m_jobs != 0            ? options.m_jobs
                               : batch.m_files.size() > cores ? cores
                                                              : 1;
    return static_cast<unsigned>(std::min(batch.m_files.size(), wanted));
}

class Runner {
public:
    Runner(const Batch& batch, const BatchOptions& options)
        : m_batch(batch), m_options(options), m_results(batch.m_files.size()),
          m_jobs(jobsFor(batch, options)), m_queue(batch, m_jobs, options.m_memory),
          m_tellsLines(batch.m_files.size() > 1 && !isQuiet() && !isJson() &&
                       !qor::Texsmith::Raw::isTerminal(kStandardOutput)) {}

    std::vector<BatchResult> run() {
        if (m_batch.m_files.size() == 1) { // whose failure is the command's
            m_results[0].m_outcome =
                convertOne(m_batch.m_files[0], {m_options.m_isSerial, m_options.m_force, {}});
            return std::move(m_results);
        }
        if (m_batch.m_files.empty()) {
            return {};
        }
        ProgressBar bar("files", static_cast<unsigned>(m_batch.m_files.size()));
        m_bar = &bar;
        if (m_jobs == 1) {
            work(m_options.m_isSerial);
        } else {
            workOnThreads();
        }
        m_bar = nullptr;
        return std::move(m_results);
    }

private:
    // With some threads more than files may be at work: these wait for the disk meanwhile.
    void workOnThreads() {
        const std::size_t waiting = std::min(kMostWaiting, (m_jobs + 1) / 2);
        const std::size_t most = std::min<std::size_t>(m_batch.m_files.size(), m_jobs + waiting);
        std::vector<std::thread> threads;
        const auto body = [this] {
            const ReportsOfThisThread reports;
            work(true);
        };
        try {
            while (threads.size() + 1 < most) {
                threads.emplace_back(body);
            }
        } catch (const std::system_error&) { // those that there are do the work
        }
        body();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    void work(bool isSerial) {
        while (const std::unique_ptr<Queue::Turn> turn = m_queue.next()) {
            const BatchFile& file = m_batch.m_files[turn->file()];
            BatchResult& result = m_results[turn->file()];
            forgetReports();
            const HintsAbout about(file.m_source);
            result = resultOf(file, {isSerial, m_options.m_force, [&] { turn->finish(); }});
            tell(file, result);
            m_bar->step();
            if (m_options.m_failsFast && result.m_outcome == BatchOutcome::kFailed) {
                m_queue.handOutNoMore();
            }
        }
    }

    // Nothing that happens to one file ends the others, a fault of the system included.
    BatchResult resultOf(const BatchFile& file, const FileWork& work) {
        class Body : public qor::Texsmith::Raw::UnhandledExceptionAbsorber {
        public:
            Body(Runner& runner, const BatchFile& file, const FileWork& work, BatchResult* result)
                : m_runner(runner), m_file(file), m_work(work), m_result(result) {}

        private:
            int doMain(int, char**) override {
                try {
                    m_result->m_outcome = m_runner.convertOne(m_file, m_work);
                } catch (const Failure& failure) {
                    *m_result = {BatchOutcome::kFailed, failure.what()};
                } catch (const std::bad_alloc&) {
                    *m_result = {BatchOutcome::kFailed, m_file.m_source + ": " + kMemoryFailure};
                } catch (const std::exception& exception) {
                    *m_result = {BatchOutcome::kFailed, m_file.m_source + ": " + exception.what()};
                }
                return 0;
            }

            Runner& m_runner;
            const BatchFile& m_file;
            const FileWork& m_work;
            BatchResult* m_result;
        };
        BatchResult result;
        if (Body(*this, file, work, &result).main(0, nullptr) != 0) {
            ReplacementFile::removeUnfinished();
            result = {BatchOutcome::kFailed, file.m_source + ": " + kFaultFailure};
        }
        return result;
    }

    BatchOutcome convertOne(const BatchFile& file, const FileWork& work) {
        const BatchSettings& settings = m_batch.m_settings[file.m_settings];
        if (m_options.m_keepsExisting && isThere(file.m_destination)) {
            return BatchOutcome::kKept;
        }
        const std::optional<std::uint64_t> source =
            m_options.m_updates ? contentHash(file.m_source) : std::nullopt;
        const UpdateRecord::Making making{source.value_or(0), settings.text()};
        if (source && m_record.isUpToDate(file.m_destination, making)) {
            return BatchOutcome::kUpToDate;
        }
        if (!m_batch.m_isOnePair || m_options.m_makesFolders) {
            makeFolderOf(file.m_destination);
        }
        convertFile(file.m_source, file.m_destination, settings.m_options, work);
        if (source) {
            if (const std::optional<std::uint64_t> written = contentHash(file.m_destination)) {
                m_record.add(file.m_destination, making, *written);
            }
        }
        return BatchOutcome::kWritten;
    }

    void tell(const BatchFile& file, const BatchResult& result) {
        if (result.m_outcome == BatchOutcome::kFailed && !isJson()) {
            ProgressBar::printAbove("texsmith: " + escaped(result.m_failure));
        } else if (m_tellsLines && result.m_outcome == BatchOutcome::kWritten) {
            const std::string line = file.m_source + " -> " + file.m_destination + "\n";
            const std::scoped_lock lock(m_lines);
            std::fputs(line.c_str(), stdout);
            std::fflush(stdout);
        }
    }

    const Batch& m_batch;
    const BatchOptions& m_options;
    std::vector<BatchResult> m_results;
    const unsigned m_jobs; // at once
    Queue m_queue;
    UpdateRecord m_record{UpdateRecord::Access::kWriting};
    ProgressBar* m_bar = nullptr;
    const bool m_tellsLines;
    std::mutex m_lines;
};

} // namespace

std::vector<BatchResult> convertBatch(const Batch& batch, const BatchOptions& options) {
    return Runner(batch, options).run();
}

std::string summaryOf(const std::vector<BatchResult>& results) {
    constexpr std::pair<BatchOutcome, const char*> kTexts[] = {
        {BatchOutcome::kWritten, "written"},        {BatchOutcome::kUpToDate, "up to date"},
        {BatchOutcome::kKept, "left as they were"}, {BatchOutcome::kFailed, "failed"},
        {BatchOutcome::kNotTried, "not tried"},
    };
    std::string summary;
    for (const auto& [outcome, text] : kTexts) {
        const auto count =
            std::count_if(results.begin(), results.end(),
                          [sought = outcome](const BatchResult& r) { return r.m_outcome == sought; });
        if (count != 0) {
            summary += (summary.empty() ? "" : ", ") + std::to_string(count) + " " + text;
        }
    }
    return summary.empty() ? "nothing to convert" : summary;
}

} // namespace Tool
