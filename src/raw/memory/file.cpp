// A stream of bytes on a memory region, in the shape of the C library's files.

#include "qor/texsmith/raw/file.h"

#include "raw/frame/check.h"
#include "raw/frame/destructor_report.h"
#include "raw/frame/report_text.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace qor::Texsmith::Raw {

namespace {

constexpr char kSourcePath[] = "raw\\memory\\file";
constexpr std::uint64_t kGrowth = 8192;
constexpr std::uint8_t kByteOrderMark[] = {0xEF, 0xBB, 0xBF};

std::uint64_t roundUpToGrowth(std::uint64_t bytes) { return (bytes + kGrowth - 1) / kGrowth * kGrowth; }

std::int64_t signedLength(const MemoryRegion& region) { return static_cast<std::int64_t>(region.length()); }

// 0 when the product, or the file's size after it, is beyond what a file can hold.
std::uint64_t bytesToWrite(std::uint64_t size, std::uint64_t count, std::int64_t position) {
    const auto limit =
        static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() - position) - kGrowth;
    return size != 0 && count <= limit / size ? size * count : 0;
}

} // namespace

File::~File() noexcept(false) {
    if (isOpen()) {
        reportFromDestructor([this] { close(); });
    }
}

void File::open(ResizableMemoryRegion* region, Mode mode) {
    open(static_cast<MemoryRegion*>(region), mode);
    m_resizable = region;
}

void File::open(MemoryRegion* region, Mode mode) {
    if (isOpen()) {
        close();
    }
    if (checkNotNull(region, kSourcePath, "region must not be NULL.")) {
        m_region = region;
        m_mode = mode;
        m_size = signedLength(*region);
        reset();
    }
}

void File::close() {
    if (!isOpen()) {
        toolsAssert(kSourcePath, __LINE__, "File can't be closed if it was never opened.");
        return;
    }
    ResizableMemoryRegion* const resizable = m_resizable;
    const std::int64_t size = m_size;
    m_region = nullptr;
    m_resizable = nullptr;
    m_position = 0;
    m_size = 0;
    if (resizable != nullptr && signedLength(*resizable) > size) {
        resizable->resize(static_cast<unsigned long long>(size));
    }
}

void File::reset() {
    m_position = 0;
    skipByteOrderMark();
}

void File::skipByteOrderMark() {
    constexpr auto kMarkSize = static_cast<std::int64_t>(sizeof kByteOrderMark);
    if (m_mode == kModeText && m_size >= kMarkSize &&
        std::memcmp(m_region->begin, kByteOrderMark, sizeof kByteOrderMark) == 0) {
        m_position = kMarkSize;
    }
}

bool File::isAtEnd() const { return m_position >= m_size; }

int File::getCharacter() {
    if (isAtEnd()) {
        return -1;
    }
    const std::uint8_t byte = m_region->begin[m_position++];
    if (m_mode == kModeText && byte == '\r' && !isAtEnd() && m_region->begin[m_position] == '\n') {
        ++m_position;
        return '\n';
    }
    return byte;
}

void File::seek(std::int64_t offset, Origin origin) {
    const std::int64_t base = origin == kOriginCurrent ? m_position : origin == kOriginEnd ? m_size : 0;
    m_position = base + std::clamp(offset, -base, m_size - base);
    if (m_position == 0) {
        skipByteOrderMark();
    }
}

std::uint64_t File::write(const void* data, std::uint64_t size, std::uint64_t count) {
    std::uint64_t bytes = bytesToWrite(size, count, m_position);
    if (!isOpen() || bytes == 0 || !checkNotNull(data, kSourcePath, "data must not be NULL.")) {
        return 0;
    }
    const auto position = static_cast<std::uint64_t>(m_position);
    const auto* from = static_cast<const std::uint8_t*>(data);
    if (position + bytes > static_cast<std::uint64_t>(m_size)) {
        const bool isOwn = m_region->contains(data); // and moves with the region
        const std::uint8_t* const oldBegin = m_region->begin;
        const std::uint64_t end = extend(position + bytes);
        bytes = end > position ? end - position : 0;
        if (isOwn && bytes != 0) {
            from = m_region->begin + (from - oldBegin);
        }
    }
    if (bytes != 0) {
        std::memmove(m_region->begin + position, from, static_cast<std::size_t>(bytes));
        m_position += static_cast<std::int64_t>(bytes);
    }
    return bytes;
}

// Returns the size that the file then has: less than asked for when it may not grow, or cannot.
std::uint64_t File::extend(std::uint64_t size) {
    if (m_resizable != nullptr) {
        if (m_resizable->length() < size) {
            m_resizable->resize(roundUpToGrowth(size));
        }
        m_size = std::min(static_cast<std::int64_t>(size), signedLength(*m_resizable));
        m_position = std::min(m_position, m_size);
    }
    return static_cast<std::uint64_t>(m_size);
}

char* fgets(char* buffer, int size, File* file) {
    const bool hasBuffer = checkNotNull(buffer, kSourcePath, "buffer must not be NULL.");
    const bool hasFile = checkNotNull(file, kSourcePath, "file must not be NULL.");
    if (!hasBuffer || !hasFile || size <= 0 || file->isAtEnd()) {
        return nullptr;
    }
    char* out = buffer;
    for (int character = 0; character != '\n' && out < buffer + size - 1 && !file->isAtEnd();) {
        character = file->getCharacter();
        *out++ = static_cast<char>(character);
    }
    *out = '\0';
    return buffer;
}

void fprintf(File* file, const char* format, ...) {
    const bool hasFile = checkNotNull(file, kSourcePath, "file must not be NULL.");
    if (!checkNotNull(format, kSourcePath, "format must not be NULL.") || !hasFile) {
        return;
    }
    char text[kReportSize];
    va_list args;
    va_start(args, format);
    formatReport(text, format, &args);
    va_end(args);
    file->write(text, 1, std::strlen(text));
}

} // namespace qor::Texsmith::Raw
