// Files of a test in memory: exactly sized, so that the sanitizers see every access beyond them.
#pragma once

#include "qor/texsmith/texsmith.h"
#include "support/tga_writer.h"

#include <memory>

namespace TestSupport {

class HeapFile {
public:
    explicit HeapFile(const Bytes& bytes) : HeapFile(bytes, bytes.size()) {}
    HeapFile(const Bytes& bytes, std::size_t length) : m_bytes(new std::uint8_t[length]) {
        std::copy_n(bytes.begin(), length, m_bytes.get());
        m_region.build(m_bytes.get(), static_cast<unsigned>(length));
    }
    qor::Texsmith::MemoryRegion* region() { return &m_region; }

private:
    std::unique_ptr<std::uint8_t[]> m_bytes;
    qor::Texsmith::MemoryRegion m_region;
};

inline qor::Texsmith::MemoryRegion regionOf(Bytes& bytes) {
    return {bytes.data(), bytes.data() + bytes.size()};
}
inline Bytes bytesOf(const qor::Texsmith::MemoryRegion& region) { return Bytes(region.begin, region.end); }
inline Bytes bytesOf(const qor::Texsmith::Raw::Image& image) { return bytesOf(image.getMemoryRegion()); }

} // namespace TestSupport
