// What every reader of a picture owes to a file that is cut or wrong: what is there, zeros for the rest, one
// warning and an Error; and no access outside, which the sanitizers watch.
#pragma once

#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace TestSupport {

using ReadPicture = qor::Texsmith::Raw::Error (*)(qor::Texsmith::MemoryRegion*,
                                                  qor::Texsmith::Raw::ReallocatableImage*,
                                                  qor::Texsmith::Configuration*);

struct ReadResult {
    qor::Texsmith::Raw::Error m_error;
    std::size_t m_warnings;
    Bytes m_texels;
};

inline ReadResult readFront(ReadPicture read, const Bytes& bytes, std::size_t length) {
    const ReportRecorder recorder;
    qor::Texsmith::Configuration configuration;
    qor::Texsmith::Raw::AllocatedMemory memory;
    qor::Texsmith::Raw::ReallocatableImage image(&memory);
    HeapFile file(bytes, length);
    const qor::Texsmith::Raw::Error error = read(file.region(), &image, &configuration);
    EXPECT_TRUE(recorder.assertions().empty()) << recorder.texts();
    return {error, recorder.warnings().size(), bytesOf(image)};
}

inline void expectCutFilesToGiveWhatTheyHave(ReadPicture read, const Bytes& bytes) {
    const ReadResult whole = readFront(read, bytes, bytes.size());
    ASSERT_EQ(whole.m_error, qor::Texsmith::Raw::kErrorNone);
    std::size_t missing = whole.m_texels.size();
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        SCOPED_TRACE(length);
        ReadResult cut = readFront(read, bytes, length);
        EXPECT_EQ(cut.m_error, qor::Texsmith::Raw::kErrorFailed);
        EXPECT_EQ(cut.m_warnings, 1u);
        cut.m_texels.resize(whole.m_texels.size());
        std::size_t missingHere = 0;
        for (std::size_t i = 0; i < cut.m_texels.size(); ++i) {
            ASSERT_TRUE(cut.m_texels[i] == whole.m_texels[i] || cut.m_texels[i] == 0) << i;
            missingHere += cut.m_texels[i] != whole.m_texels[i];
        }
        EXPECT_LE(missingHere, missing);
        missing = missingHere;
    }
    EXPECT_EQ(missing, 0u); // the last bytes hold no texels
}

inline void expectWrongBytesToEndWell(ReadPicture read, const Bytes& bytes) {
    for (std::size_t offset = 0; offset < bytes.size(); ++offset) {
        for (const std::uint8_t value : Bytes{0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            Bytes wrong = bytes;
            wrong[offset] = value;
            const ReadResult result = readFront(read, wrong, wrong.size());
            EXPECT_TRUE(result.m_error == qor::Texsmith::Raw::kErrorNone || result.m_warnings == 1)
                << offset << ": " << int(value);
        }
    }
}

// Nothing may be left behind, and no exception may pass through the outside library.
inline void expectHandlersToBeFreeToThrow(ReadPicture read, const Bytes& bytes) {
    const ReportRecorder restored;
    qor::Texsmith::setWarningCallback([](const char*, int, const char*, qor::Texsmith::ArgumentList*) {
        throw std::runtime_error("a warning");
    });
    for (const std::size_t length : {std::size_t{10}, bytes.size() - 20}) {
        qor::Texsmith::Configuration configuration;
        qor::Texsmith::Raw::MemoryMappedImage image;
        HeapFile file(bytes, length);
        EXPECT_THROW(read(file.region(), &image, &configuration), std::runtime_error);
    }
}

} // namespace TestSupport
