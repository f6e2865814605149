// A file in the making, for writing over one that must survive a failure.
//
//     ReplacementFile file("a.vxf");
//     if (saveWithResult(&image, file.getName(), &configuration) == kErrorNone) {
//         file.takePlace();
//     }
//
// Names are UTF-8 on Windows and bytes as they are elsewhere.
#pragma once

#include "qor/texsmith/export.h"
#include "qor/texsmith/raw/error.h"

#include <memory>

namespace qor::Texsmith::Raw {

// An empty file beside `destination`, with the same extension and a name that nobody can guess; a link that
// somebody planted there is not followed. It takes the destination's place once it is whole, in one step, and
// until then what is at the destination stays. Failures are reported with the system's reason. One object is
// for one thread at a time.
class QOR_TEXSMITH_API ReplacementFile {
public:
    // A null name is reported.
    explicit ReplacementFile(const char* destination);
    // As remove.
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;

    // For the time that the object lives; empty when the file could not be made.
    const char* getName() const;
    // Waits until the file is on the disk, so that a machine that goes down leaves no half of it under the
    // destination's name, and renames it over the destination. Where the system lets it, the file keeps the
    // owner and the permissions of the one that it replaces. kErrorFailed when the destination does not let
    // it; the file is then still there.
    Error takePlace();
    // Deletes the file, unless it took its place: for programs that end without their destructors.
    void remove();

private:
    struct Names;
    std::unique_ptr<Names> m_names;
};

} // namespace qor::Texsmith::Raw
