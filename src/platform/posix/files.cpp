// Files, mappings and whole-file operations by the calls of POSIX.

#include "platform/platform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace qor::Texsmith::Platform {

namespace {

constexpr mode_t kNewFileMode = 0666; // the user's mask takes its part
constexpr mode_t kPrivateFileMode = 0600;
constexpr std::size_t kCopyChunk = 256 * 1024;

// Closes at the end of the scope, and keeps the error of what went before.
class FileGuard {
public:
    explicit FileGuard(int file) : m_file(file) {}
    ~FileGuard() {
        const int error = errno;
        close();
        errno = error;
    }
    FileGuard(const FileGuard&) = delete;
    FileGuard& operator=(const FileGuard&) = delete;
    int get() const { return m_file; }
    int release() { return std::exchange(m_file, -1); }
    bool close() {
        const int file = release();
        return file < 0 || ::close(file) == 0;
    }

private:
    int m_file;
};

int descriptor(Handle handle) { return static_cast<int>(handle); }

int protection(bool writable) { return writable ? PROT_READ | PROT_WRITE : PROT_READ; }

template <class Call> auto retryInterrupted(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

int openFile(const char* name, int flags, mode_t mode = 0) {
    return retryInterrupted([=] { return ::open(name, flags | O_CLOEXEC, mode); });
}

bool writeAll(int file, const char* data, std::size_t bytes) {
    while (bytes != 0) {
        const ssize_t written = retryInterrupted([=] { return ::write(file, data, bytes); });
        if (written < 0) {
            return false;
        }
        data += written;
        bytes -= static_cast<std::size_t>(written);
    }
    return true;
}

bool copyContents(int from, int to) {
    const auto buffer = std::make_unique<char[]>(kCopyChunk);
    for (;;) {
        char* const data = buffer.get();
        const ssize_t got = retryInterrupted([=] { return ::read(from, data, kCopyChunk); });
        if (got <= 0) {
            return got == 0;
        }
        if (!writeAll(to, data, static_cast<std::size_t>(got))) {
            return false;
        }
    }
}

bool isSame(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool setSize(int file, off_t bytes) {
    return retryInterrupted([=] { return ftruncate(file, bytes); }) == 0;
}

// Space that is only promised, behind the old end or in a hole before it, would fault at the first write to
// the mapping on a full disk. A failure part of the way leaves the file at its old size.
bool reserveSpace(int file, off_t bytes, off_t oldBytes) {
    int error = bytes == 0 ? 0 : EINTR;
    while (error == EINTR) {
        error = posix_fallocate(file, 0, bytes);
    }
    if (error != 0) {
        static_cast<void>(setSize(file, oldBytes));
        errno = error;
    }
    return error == 0;
}

// One writer at a time: who cut the file while another has it mapped would make that one fault. File systems
// without locks go without.
bool lockToWrite(int file) {
    const auto lock = [file] { return ::flock(file, LOCK_EX | LOCK_NB); };
    return retryInterrupted(lock) == 0 || errno != EWOULDBLOCK;
}

bool isPrivate(int file) {
    constexpr mode_t kOthersMayWrite = S_IWGRP | S_IWOTH;
    struct stat status;
    if (fstat(file, &status) != 0) {
        return false;
    }
    errno = EPERM;
    return S_ISREG(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1 &&
           (status.st_mode & kOthersMayWrite) == 0;
}

} // namespace

Handle openFileToRead(const char* name) {
    FileGuard file(openFile(name, O_RDONLY));
    struct stat status;
    if (file.get() < 0 || fstat(file.get(), &status) != 0) {
        return kNoHandle;
    }
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return kNoHandle;
    }
    return file.release();
}

Handle openFileToWrite(const char* name) {
    FileGuard file(openFile(name, O_RDWR | O_CREAT, kNewFileMode));
    return file.get() >= 0 && lockToWrite(file.get()) ? file.release() : kNoHandle;
}

Handle openPrivateFile(const char* name) {
    FileGuard file(openFile(name, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, kPrivateFileMode));
    return file.get() >= 0 && isPrivate(file.get()) && lockToWrite(file.get()) ? file.release() : kNoHandle;
}

bool closeFile(Handle file) { return ::close(descriptor(file)) == 0; }

bool getFileSize(Handle file, std::uint64_t* bytes) {
    struct stat status;
    if (fstat(descriptor(file), &status) != 0) {
        return false;
    }
    *bytes = static_cast<std::uint64_t>(status.st_size);
    return true;
}

bool seekFile(Handle file, std::uint64_t position) {
    return lseek(descriptor(file), static_cast<off_t>(position), SEEK_SET) >= 0;
}

bool setEndOfFile(Handle file) {
    const int target = descriptor(file);
    const off_t end = lseek(target, 0, SEEK_CUR);
    struct stat status;
    if (end < 0 || fstat(target, &status) != 0) {
        return false;
    }
    return reserveSpace(target, end, status.st_size) && setSize(target, end);
}

Handle createMapping(Handle file, bool writable) {
    struct stat status;
    const int flags = fcntl(descriptor(file), F_GETFL);
    if (flags < 0 || fstat(descriptor(file), &status) != 0) {
        return kNoHandle;
    }
    if (status.st_size == 0 || (writable && (flags & O_ACCMODE) != O_RDWR)) {
        errno = status.st_size == 0 ? EINVAL : EACCES;
        return kNoHandle;
    }
    return fcntl(descriptor(file), F_DUPFD_CLOEXEC, 0);
}

bool closeMapping(Handle mapping) { return ::close(descriptor(mapping)) == 0; }

void* mapView(Handle mapping, std::uint64_t bytes, bool writable) {
    if (mapping == kNoHandle) {
        errno = EBADF;
        return nullptr;
    }
    void* view = mmap(nullptr, bytes, protection(writable), MAP_SHARED, descriptor(mapping), 0);
    return view != MAP_FAILED ? view : nullptr;
}

bool unmapView(void* view, std::uint64_t bytes) { return munmap(view, bytes) == 0; }

bool copyFile(const char* from, const char* to) {
    FileGuard source(static_cast<int>(openFileToRead(from)));
    struct stat sourceStatus;
    if (source.get() < 0 || fstat(source.get(), &sourceStatus) != 0) {
        return false;
    }
    FileGuard destination(openFile(to, O_WRONLY | O_CREAT, sourceStatus.st_mode & 0777));
    struct stat destinationStatus;
    if (destination.get() < 0 || fstat(destination.get(), &destinationStatus) != 0) {
        return false;
    }
    if (isSame(sourceStatus, destinationStatus)) {
        errno = EINVAL; // cutting the destination would lose the source
        return false;
    }
    return setSize(destination.get(), 0) && copyContents(source.get(), destination.get()) &&
           destination.close();
}

bool isSameFile(const char* a, const char* b) {
    struct stat statusA;
    struct stat statusB;
    return stat(a, &statusA) == 0 && stat(b, &statusB) == 0 && isSame(statusA, statusB);
}

bool fileExists(const char* name) {
    struct stat status;
    return stat(name, &status) == 0;
}

bool replaceFile(const char* from, const char* to) {
    struct stat replaced;
    if (stat(to, &replaced) == 0 && S_ISREG(replaced.st_mode)) {
        // As far as this user may give them away.
        static_cast<void>(chown(from, replaced.st_uid, replaced.st_gid) == 0);
        static_cast<void>(chmod(from, replaced.st_mode & 0777) == 0);
    }
    return std::rename(from, to) == 0;
}

bool deleteFile(const char* name) { return unlink(name) == 0; }

bool flushFile(const char* name) {
    FileGuard file(openFile(name, O_RDONLY));
    const int target = file.get();
    const bool flushed = target >= 0 && retryInterrupted([=] { return fsync(target); }) == 0;
    return flushed || errno == EINVAL ||
           errno == ENOSYS; // by which a file system says that it has no such thing
}

bool makeFile(const char* name) {
    FileGuard file(openFile(name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kNewFileMode));
    return file.get() >= 0 && file.close();
}

std::FILE* openStream(const char* name, const char* mode) { return std::fopen(name, mode); }

bool getTemporaryDirectory(char* buffer, std::size_t size) {
    const char* directory = std::getenv("TMPDIR");
    if (directory == nullptr || *directory == '\0') {
        directory = "/tmp";
    }
    const std::size_t length = std::strlen(directory);
    const char* separator = directory[length - 1] == '/' ? "" : "/";
    const int written = std::snprintf(buffer, size, "%s%s", directory, separator);
    return written >= 0 && static_cast<std::size_t>(written) < size;
}

} // namespace qor::Texsmith::Platform
