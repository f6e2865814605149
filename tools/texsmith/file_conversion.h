// One file into another.
#pragma once

#include "conversion_options.h"

#include "qor/texsmith/raw/image.h"
#include "qor/texsmith/raw/memory_region.h"

#include <functional>
#include <string>

namespace Tool {

// The whole destination name, when only its extension was given. "./a.vxf" is a name. Throws Failure where
// the source has no extension that could give way.
std::string resolveDestination(const std::string& source, const std::string& destination);

struct FileWork {
    bool m_isSerial = false; // on the calling thread alone
    bool m_force = false;    // over a read-only file too
    // Called when the result is made, and only the disk is waited for; may be empty.
    std::function<void()> m_whenMade;
};

// Writes `source`, a file or URL, as `destination`, where "-" is the standard input and output, beside which
// it is made first: a file that stood there survives every failure. Throws Failure. What the file cannot keep
// is told as hints.
void convertFile(const std::string& source, const std::string& destination, const ConversionOptions& options,
                 const FileWork& work = {});

// Writes an image in memory as a file, as convertFile does. Failures that are not the destination's bear the
// name `source`.
void convertImage(const qor::Texsmith::Raw::MemoryMappedImage& image, const std::string& source,
                  const std::string& destination, const ConversionOptions& options);

// The bytes of a .vxf file that convertFile would make of a file.
void convertIntoVxf(qor::Texsmith::Raw::ResizableMemoryRegion* destination, const std::string& source,
                    const ConversionOptions& options);

// A new file in place of `destination`, once use(region) has filled it and returned no Error. Throws Failure.
void writeFile(
    const std::string& destination,
    const std::function<qor::Texsmith::Raw::Error(qor::Texsmith::Raw::ResizableMemoryRegion*)>& use,
    const FileWork& work = {});

} // namespace Tool
