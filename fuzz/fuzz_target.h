// What the targets share: a quiet, single-threaded configuration and an exactly sized copy of the input.
#pragma once

#include "qor/texsmith/texsmith.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_bytes(new std::uint8_t[size]) {
        if (size != 0) {
            std::memcpy(m_bytes.get(), data, size);
        }
        m_region.begin = m_bytes.get();
        m_region.end = m_bytes.get() + size;
        m_configuration.m_jobManager = &m_serial;
        qor::Texsmith::setAssertCallback(&ignore);
        qor::Texsmith::setWarningCallback(&ignore);
    }

    qor::Texsmith::MemoryRegion* region() { return &m_region; }
    qor::Texsmith::Configuration* configuration() { return &m_configuration; }

private:
    static void ignore(const char*, int, const char*, qor::Texsmith::ArgumentList*) {}

    std::unique_ptr<std::uint8_t[]> m_bytes;
    qor::Texsmith::MemoryRegion m_region;
    qor::Texsmith::Raw::SerialJobManager m_serial;
    qor::Texsmith::Configuration m_configuration;
};

// Headers may ask for images of up to 4 GiB: inputs whose image would be above this are passed over.
inline constexpr std::uint64_t kMostTexels = 1 << 20;

// Loads a file of that type, and writes what it shows as another one.
inline int loadAndSave(const std::uint8_t* data, std::size_t size, const char* extension) {
    using namespace qor::Texsmith::Raw;
    Input input(data, size);
    AllocatedMemory memory, file;
    ReallocatableImage image(&memory);
    if (loadWithResult(&image, input.region(), extension, input.configuration(), 0) == kErrorNone) {
        saveWithResult(&image, &file, extension, input.configuration());
    }
    return 0;
}

} // namespace Fuzz
