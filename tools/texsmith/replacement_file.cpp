#include "replacement_file.h"

#include "failure.h"
#include "paths.h"
#include "signals.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>

namespace Tool {
namespace {

namespace fs = std::filesystem;
namespace Raw = qor::Texsmith::Raw;

constexpr std::chrono::milliseconds kPause(5), kPatience(4000);

struct Unfinished {
    std::string m_name;
    std::thread::id m_thread;
};

std::mutex s_mutex; // guards these
std::map<const ReplacementFile*, Unfinished> s_unfinished;
bool s_isEnding = false;

[[noreturn]] void throwUnwritable(const std::string& file, const std::string& reason) {
    throw Failure(reason, kExitUnwritable, file);
}

std::string whyNotWritten(const Failure& failure) {
    return reasonOf(failure.what(), Raw::kErrorFailed, Work::kWriting).m_text;
}

[[noreturn]] void waitForTheEnd() {
    for (;;) {
        std::this_thread::sleep_for(kPatience);
    }
}

bool removeFile(const std::string& name) {
    std::error_code error;
    fs::remove(toPath(name), error);
    return !error;
}

// Without a lock for writers, or by the access rights of another user. Opening changes nothing.
bool isReadOnly(const fs::path& file) {
    const fs::perms writers = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    std::error_code error;
    return (fs::status(file, error).permissions() & writers) == fs::perms::none ||
           !std::ofstream(file, std::ios::app | std::ios::binary).is_open();
}

} // namespace

void checkReplaceable(const std::string& destination, bool force) {
    const fs::path file = toPath(destination);
    std::error_code error;
    switch (fs::status(file, error).type()) { // of what is behind a link
    case fs::file_type::not_found:
        return;
    case fs::file_type::regular:
        if (!force && isReadOnly(file)) {
            throwUnwritable(destination, "it is read-only; --force replaces it");
        }
        return;
    case fs::file_type::directory:
        throwUnwritable(destination, "it is a folder, and only files are replaced");
    case fs::file_type::none:
        throwUnwritable(destination, "it cannot be looked at: " + reasonOf(error));
    default:
        throwUnwritable(destination, "it is a device or a pipe, and only files are replaced");
    }
}

// The lock is held until the file is listed, so that none comes up unseen behind a signal.
ReplacementFile::ReplacementFile(const std::string& destination, bool force)
    : m_destination(destination), m_force(force) {
    checkReplaceable(destination, force);
    endTidilyOnSignals();
    std::unique_lock lock(s_mutex);
    if (s_isEnding) {
        lock.unlock();
        waitForTheEnd();
    }
    try {
        m_file.emplace(destination.c_str());
    } catch (const Failure& failure) {
        throwUnwritable(destination, whyNotWritten(failure));
    }
    s_unfinished[this] = {m_file->getName(), std::this_thread::get_id()};
}

// A signal may be what made the work fail; then it is also what the process ends by.
ReplacementFile::~ReplacementFile() {
    m_file.reset();
    std::unique_lock lock(s_mutex);
    s_unfinished.erase(this);
    if (s_isEnding) {
        lock.unlock();
        waitForTheEnd();
    }
}

// Where a read-only file can only be replaced when it is not, it is not for as long.
void ReplacementFile::takePlace() {
    const fs::path file = toPath(m_destination);
    std::error_code error;
    const fs::file_status before = fs::status(file, error);
    const bool unlocks = m_force && fs::is_regular_file(before);
    if (unlocks) {
        fs::permissions(file, fs::perms::owner_write, fs::perm_options::add, error);
    }
    const auto restore = [&] {
        if (unlocks) {
            fs::permissions(file, before.permissions(), error);
        }
    };
    try {
        m_file->takePlace();
    } catch (const Failure& failure) {
        restore();
        throwUnwritable(m_destination, whyNotWritten(failure));
    }
    restore();
}

void ReplacementFile::removeUnfinished() {
    const std::scoped_lock lock(s_mutex);
    std::erase_if(s_unfinished, [](const auto& entry) {
        return entry.second.m_thread == std::this_thread::get_id() && (removeFile(entry.second.m_name), true);
    });
}

// Some systems remove a file only when nobody has it open, so that its writer has to stop first.
void ReplacementFile::removeAllAtTheEnd(volatile unsigned* abort) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    std::unique_lock lock(s_mutex);
    s_isEnding = true;
    *abort = 1;
    for (;;) {
        std::erase_if(s_unfinished, [](const auto& entry) { return removeFile(entry.second.m_name); });
        if (s_unfinished.empty() || std::chrono::steady_clock::now() >= end) {
            return;
        }
        lock.unlock();
        std::this_thread::sleep_for(kPause);
        lock.lock();
    }
}

void replaceFile(const std::string& name, const std::string& bytes) {
    ReplacementFile file(followLinks(name));
    std::ofstream stream(toPath(file.name()), std::ios::binary | std::ios::trunc);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        throwUnwritable(name, "it cannot be written");
    }
    file.takePlace();
}

} // namespace Tool
