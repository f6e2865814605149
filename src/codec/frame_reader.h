// How a picture is read by an outside library: the same steps for every library, and the same reports.
//
// Some libraries leave a step that fails by a jump, others call back into code that no exception may leave.
// So a reader keeps what went wrong in a plain structure, and reports, whose handlers may throw, are made
// here, between the steps.
#pragma once

#include "codec/channel_layout.h"

#include <cstddef>
#include <cstdint>

namespace qor::Texsmith::Raw {

// How far a reader came, and the first text of each kind that its library gave.
struct ReadingProgress {
    char m_error[200];
    char m_warning[200];
    std::uint64_t m_rowsDone; // of all passes
    std::uint64_t m_rowsInAll;
};

void keepFirstText(char (&kept)[200], const char* text);

// Warnings: that the file cannot be read, or which part of it is missing; and that it is odd, if it is.
void reportFailure(const FileKind& kind, const ReadingProgress& progress);
void reportOddness(const FileKind& kind, const ReadingProgress& progress);

// A Reader is made with the file, and has
//     bool readHeader(unsigned frame);                      of that image; false when the file has none
//     unsigned countFrames();                               after readHeader; 0 where that is not known
//     ImageClaim claim() const;                             width, height, and what backs them
//     Vex::DataFormat chooseFormat(Vex::TextureChannelType);
//     bool readRows(std::uint8_t* rows, std::size_t pitch); into zeros; false when anything is missing
//     const ReadingProgress& progress() const;
template <typename Reader>
Error readFrame(const FileKind& kind, MemoryRegion* source, ReallocatableImage* destination,
                const Configuration* configuration, int index) {
    Reader reader(*source);
    const bool hasHeader = reader.readHeader(static_cast<unsigned>(index)); // below 0 is beyond all
    const unsigned frames = index != 0 ? reader.countFrames() : 0;
    if (frames != 0 && !checkFrame(kind, index, frames)) {
        return kErrorWicGetFrame;
    }
    if (!hasHeader) {
        reportFailure(kind, reader.progress());
        return kErrorFailed;
    }
    const ImageClaim claim = reader.claim();
    if (!imageSizeFits(kind, claim.m_width, claim.m_height) || !isClaimJust(kind, claim)) {
        return kErrorFailed;
    }
    const Vex::DataFormat format = reader.chooseFormat(configuration->m_textureChannelType);
    std::uint8_t* rows = makeRows(kind, destination, claim.m_width, claim.m_height, format);
    if (rows == nullptr) {
        return kErrorFailed;
    }
    if (!reader.readRows(rows, std::size_t{format.getBytesPerElement()} * claim.m_width)) {
        reportFailure(kind, reader.progress());
        return kErrorFailed;
    }
    reportOddness(kind, reader.progress());
    return kErrorNone;
}

} // namespace qor::Texsmith::Raw
