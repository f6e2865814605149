// File: a C-stream view of a region, so that readers of text formats work on memory.
//
// Positions and sizes are in bytes. A file on a MemoryRegion keeps its size; one on a ResizableMemoryRegion
// grows as it is written, in steps of 8,192 bytes, and close cuts off what was not used. It has no lock and
// belongs to one thread at a time. What is read, written or sought on a file that is not open does nothing.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/memory_region.h"

#include <cstdint>

namespace qor::Texsmith::Raw {

// Borrows the region between open and close.
class QOR_TEXSMITH_API File {
public:
    enum Mode : int { kModeBinary = 0, kModeText = 1 };
    enum Origin : int { kOriginStart = 0, kOriginCurrent = 1, kOriginEnd = 2 };

    File() = default;
    ~File() noexcept(false); // closes if open
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    // The regions stay the caller's and must outlive the file. In text mode a UTF-8 byte-order mark is
    // skipped.
    void open(ResizableMemoryRegion* region, Mode mode);
    void open(MemoryRegion* region, Mode mode); // may not grow
    // Cuts a resizable region to the logical size.
    void close();
    // Back to the first byte, behind the mark in text mode.
    void reset();

    bool isOpen() const { return m_region != nullptr; }
    bool isAtEnd() const;
    // The next byte, or -1 at the end. Text mode reads 13 10 as one 10.
    int getCharacter();
    // Clamped to 0..size.
    void seek(std::int64_t offset, Origin origin);
    // Returns the bytes written, which are fewer than asked for only when the file may not grow or cannot.
    // `data` may lie in the file's own region.
    std::uint64_t write(const void* data, std::uint64_t size, std::uint64_t count);

    std::int64_t position() const { return m_position; }
    std::int64_t size() const { return m_size; }

private:
    friend QOR_TEXSMITH_API char* fgets(char* buffer, int size, File* file);
    std::uint64_t extend(std::uint64_t size);
    void skipByteOrderMark();

    Mode m_mode = kModeBinary;
    std::int64_t m_position = 0;
    std::int64_t m_size = 0; // logical end of the file, at most the region's length
    MemoryRegion* m_region = nullptr;
    ResizableMemoryRegion* m_resizable = nullptr;
};

// As the C library's: null at the end of the file, else at most size - 1 bytes up to and with a line feed.
QOR_TEXSMITH_API char* fgets(char* buffer, int size, File* file);
// Writes at most 1023 formatted bytes.
QOR_TEXSMITH_API void fprintf(File* file, const char* format, ...) QOR_TEXSMITH_PRINTF(2, 3);

} // namespace qor::Texsmith::Raw
