// What every reader of a picture owes to a file that is cut or wrong: what is there, zeros for the rest, one
// warning and an Error; and no access outside, which the sanitizers watch.
#pragma once

#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace TestSupport {

struct Sample {
    std::string m_name;
    const char* m_extension;
    Bytes m_file;
    std::size_t m_neededBytes; // with which the picture is whole
    std::size_t m_headerBytes; // of which each is tried with wrong values
};

struct Outcome {
    qor::Texsmith::Raw::Error m_error = qor::Texsmith::Raw::kErrorFailed; // also of a load that threw
    Bytes m_texels{};
    std::size_t m_assertions = 0, m_warnings = 0;
};

// Into storage that is full of old bytes.
inline Outcome loadFront(const Bytes& bytes, std::size_t length, const char* extension,
                         ReportRecorder::Mode mode = ReportRecorder::kReturn,
                         qor::Texsmith::Raw::JobManager* jobManager = nullptr) {
    const ReportRecorder recorder(mode);
    qor::Texsmith::Configuration configuration;
    configuration.m_jobManager = jobManager != nullptr ? jobManager : configuration.m_jobManager;
    HeapFile file(bytes, length);
    qor::Texsmith::Raw::AllocatedMemory storage;
    storage.resize(5000);
    std::memset(storage.begin, 0xC3, 5000);
    Outcome outcome;
    try {
        qor::Texsmith::Raw::ReallocatableImage image(&storage);
        outcome.m_error = loadWithResult(&image, file.region(), extension, &configuration, 0);
        outcome.m_texels = bytesOf(image);
    } catch (const std::runtime_error&) {
    }
    outcome.m_assertions = recorder.assertions().size();
    outcome.m_warnings = recorder.warnings().size();
    return outcome;
}

// The bytes that differ from the whole picture's, all of which must be zero.
inline std::size_t countMissing(Bytes texels, const Bytes& whole) {
    std::size_t missing = 0;
    texels.resize(whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_TRUE(texels[i] == whole[i] || texels[i] == 0) << i;
        missing += texels[i] != whole[i];
    }
    return missing;
}

// A longer file never gives less. The last byte needed holds at most `lastBytes` of the texels.
inline void expectCutFilesToGiveWhatTheyHave(const Sample& sample, std::size_t lastBytes,
                                             qor::Texsmith::Raw::JobManager* jobManager = nullptr) {
    const Bytes& file = sample.m_file;
    const Outcome all = loadFront(file, file.size(), sample.m_extension);
    ASSERT_EQ(all.m_error, qor::Texsmith::Raw::kErrorNone) << sample.m_name;
    std::size_t missing = all.m_texels.size();
    for (std::size_t length = 0; length < sample.m_neededBytes; ++length) {
        SCOPED_TRACE(sample.m_name + " cut to " + std::to_string(length));
        const auto load = [&](auto mode) {
            return loadFront(file, length, sample.m_extension, mode, jobManager);
        };
        const Outcome outcome = load(ReportRecorder::kReturn);
        EXPECT_NE(outcome.m_error, qor::Texsmith::Raw::kErrorNone);
        EXPECT_LE(outcome.m_warnings, 1u);
        EXPECT_GE(outcome.m_warnings + (outcome.m_texels.empty() ? outcome.m_assertions : 0), 1u);
        const std::size_t missingHere = countMissing(outcome.m_texels, all.m_texels);
        EXPECT_LE(missingHere, missing);
        missing = missingHere;
        EXPECT_NE(load(ReportRecorder::kThrow).m_error, qor::Texsmith::Raw::kErrorNone);
    }
    EXPECT_LE(missing, lastBytes) << sample.m_name;
}

// With wrong bytes, handlers that return and that throw see the same.
inline void expectWrongBytesToEndWell(const Sample& sample, std::size_t step = 1,
                                      qor::Texsmith::Raw::JobManager* jobManager = nullptr) {
    for (std::size_t offset = 0; offset < sample.m_headerBytes; offset += step) {
        for (const std::uint8_t value : Bytes{0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            Bytes wrong = sample.m_file;
            wrong[offset] = value;
            const auto load = [&](auto mode) {
                return loadFront(wrong, wrong.size(), sample.m_extension, mode, jobManager);
            };
            const Outcome returned = load(ReportRecorder::kReturn), thrown = load(ReportRecorder::kThrow);
            EXPECT_EQ(returned.m_assertions == 0, thrown.m_assertions == 0);
            EXPECT_TRUE(returned.m_error == thrown.m_error || returned.m_assertions > 0)
                << sample.m_name << " byte " << offset << " " << int(value);
            EXPECT_LE(returned.m_warnings, 1u);
            EXPECT_TRUE(returned.m_error == qor::Texsmith::Raw::kErrorNone ||
                        returned.m_warnings + returned.m_assertions != 0)
                << sample.m_name << " byte " << offset << " " << int(value);
        }
    }
}

// Nothing may be left behind, and no exception may pass through an outside library.
inline void expectHandlersToBeFreeToThrow(const Bytes& bytes, const char* extension) {
    const ReportRecorder restored;
    qor::Texsmith::setWarningCallback([](const char*, int, const char*, qor::Texsmith::ArgumentList*) {
        throw std::runtime_error("a warning");
    });
    for (const std::size_t length : {std::size_t{10}, bytes.size() - 20}) {
        qor::Texsmith::Configuration configuration;
        qor::Texsmith::Raw::MemoryMappedImage image;
        HeapFile file(bytes, length);
        EXPECT_THROW(loadWithResult(&image, file.region(), extension, &configuration, 0), std::runtime_error);
    }
}

} // namespace TestSupport
