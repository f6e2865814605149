// What the targets share: a quiet, single-threaded configuration and an exactly sized copy of the input.
#pragma once

#include "qor/texsmith/texsmith.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
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
// What is done with texels that were read is done for images up to this.
inline constexpr std::uint64_t kMostUsedBytes = 1 << 14, kMostUsedSurfaces = 64;

inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

// By half of the inputs literally and as sRGB.
inline void chooseReading(Input& input, std::size_t size) {
    using namespace qor;
    input.configuration()->m_readingOptions =
        size % 2 == 0 ? Texsmith::Raw::kReadLiterally : Texsmith::Raw::kReadKindly;
    input.configuration()->m_textureChannelType =
        size % 4 < 2 ? Vex::kTextureChannelTypeSrgb : Vex::kTextureChannelTypeUNorm;
}

// The file's headers say what was loaded of it, as far as they say anything. Decoders of JPEG pass over
// segments that are wrong.
inline void expectDescribed(Input& input, const char* extension, const qor::Texsmith::Raw::Image& image,
                            int index = 0) {
    using namespace qor::Texsmith::Raw;
    FileDescription description;
    const Error error = describeFile(&description, input.region(), extension, input.configuration(), index);
    if (error == kErrorNone) {
        require(description.m_format == image.getDataFormat() &&
                description.m_width == image.getPixelsWide(0) &&
                description.m_height == image.getPixelsTall(0));
    } else {
        require(description.m_format.m_word == 0 || description.m_type == makeFileType(".JPG"));
    }
}

// Every texel is converted, and written as a file of that type, which gives the same again where it is one
// that keeps whatever it can hold.
inline void useImage(Input& input, const char* extension, const qor::Texsmith::Raw::Image& image) {
    using namespace qor::Texsmith::Raw;
    const SurfaceCount count = image.getSurfaceCount();
    const std::uint64_t surfaces =
        std::uint64_t{count.mips} * count.faces * count.arrayEntries * count.fragments * image.getDepth(0);
    const std::uint64_t bytes = image.getBytesTotal(); // none of an image that could not be made
    if (bytes == 0 || bytes > kMostUsedBytes || surfaces > kMostUsedSurfaces) {
        return;
    }
    MemoryMappedImage floats;
    reallocate(&floats, &image, qor::Vex::kDataFormatR32G32B32A32Float);
    reformat(&image, &floats, input.configuration());
    AllocatedMemory file, memory;
    const Error error = saveWithResult(&image, &file, extension, input.configuration());
    if (std::strcmp(extension, ".png") == 0) {
        ReallocatableImage back(&memory);
        require(error == kErrorNone &&
                loadWithResult(&back, &file, extension, input.configuration(), 0) == kErrorNone);
        require(back.getDataFormat() == image.getDataFormat() &&
                areBitwiseEqual(back.getMemoryRegion(), image.getMemoryRegion(), input.configuration()) ==
                    kErrorNone);
    }
}

// Loads a file of that type, which has to be what its headers say, and uses what it shows. What a header may
// claim depends on the length of its file, so that no input asks for much: but for types whose runs stand for
// any number of pixels, and who ask for many are passed over there.
inline int loadAndUse(const std::uint8_t* data, std::size_t size, const char* extension,
                      bool hasRuns = false) {
    using namespace qor::Texsmith::Raw;
    Input input(data, size);
    chooseReading(input, size);
    FileDescription description;
    if (hasRuns) {
        describeFile(&description, input.region(), extension, input.configuration(), 0);
    }
    if (std::uint64_t{description.m_width} * description.m_height > kMostTexels) {
        return 0;
    }
    AllocatedMemory memory;
    ReallocatableImage image(&memory);
    if (loadWithResult(&image, input.region(), extension, input.configuration(), 0) == kErrorNone) {
        require(image.getBytesTotal() != 0);
        expectDescribed(input, extension, image);
        useImage(input, extension, image);
    }
    return 0;
}

// The first images of a file that has several.
inline int loadFrames(const std::uint8_t* data, std::size_t size, const char* extension,
                      const qor::Texsmith::Raw::WicGuid& guid) {
    using namespace qor::Texsmith::Raw;
    constexpr int kMostFrames = 4;
    Input input(data, size);
    chooseReading(input, size);
    Error error = kErrorNone;
    for (int frame = 0; frame < kMostFrames && error != kErrorWicGetFrame; ++frame) {
        AllocatedMemory memory;
        ReallocatableImage image(&memory);
        error = convertFromWic(input.region(), &image, input.configuration(), guid, frame);
        if (error == kErrorNone) {
            require(image.getBytesTotal() != 0);
            useImage(input, extension, image);
        }
    }
    return 0;
}

} // namespace Fuzz
