// Files that end early or lie in their headers, with report handlers that return and that throw. The files
// lie in heap blocks of their exact size, so that a sanitizer sees every byte read beyond them.
#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

struct Sample {
    std::string m_name;
    const char* m_extension;
    Bytes m_file;
    std::size_t m_headerBytes;
    std::size_t m_neededBytes; // without what a last packet holds beyond the picture
};

std::vector<Sample> makeSamples() {
    Vex::Texture texture;
    texture.initAs2dArray(9, 5, 1, 0, 2, {0xFAC00A}, Vex::kTileModeThin_1dThin, Vex::kNumFragments1, false);
    MemoryMappedImage image;
    image.reallocate(&texture);
    std::memset(image.getMemoryRegion().begin, 0x5A, image.getBytesTotal());
    Configuration configuration;
    AllocatedMemory memory;
    convertToVxf(&image, &memory, &configuration);
    std::vector<Sample> samples = {{"vxf", ".vxf", bytesOf(memory), 64, memory.length()}};
    for (const unsigned version : {9u, 10u}) {
        convertToDds(&image, &memory, version, &configuration);
        samples.push_back({"dds " + std::to_string(version), ".dds", bytesOf(memory),
                           version == 10 ? 148u : 128u, memory.length()});
    }
    for (const TgaKind& kind : kTgaKinds) {
        for (const bool isRunLength : {false, true}) {
            const TgaPicture picture(kind, isRunLength, isRunLength ? 0x10 : 0x20, 7, 5);
            const Bytes file = picture.m_writer.file();
            samples.push_back({"tga " + std::to_string(samples.size()), ".tga", file, 18,
                               file.size() - picture.m_surplusBytes});
        }
    }
    return samples;
}

struct Outcome {
    Error m_error = kErrorFailed; // also of a load that threw
    Bytes m_texels;
    std::size_t m_assertions;
    std::size_t m_warnings;
};

// Into storage that is full of old bytes.
Outcome loadFront(const Sample& sample, std::size_t length, JobManager* jobManager,
                  ReportRecorder::Mode mode) {
    const ReportRecorder recorder(mode);
    Configuration configuration;
    configuration.m_jobManager = jobManager;
    HeapFile file(sample.m_file, length);
    AllocatedMemory storage;
    storage.resize(5000);
    std::memset(storage.begin, 0xC3, 5000);
    Outcome outcome;
    try {
        ReallocatableImage image(&storage);
        outcome.m_error = loadWithResult(&image, file.region(), sample.m_extension, &configuration, 0);
        outcome.m_texels = bytesOf(image);
    } catch (const std::runtime_error&) {
    }
    outcome.m_assertions = recorder.assertions().size();
    outcome.m_warnings = recorder.warnings().size();
    return outcome;
}

// The bytes that differ from the whole picture's, all of which must be zero.
std::size_t countMissing(Bytes texels, const Bytes& whole) {
    std::size_t missing = 0;
    texels.resize(whole.size());
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_TRUE(texels[i] == whole[i] || texels[i] == 0) << i;
        missing += texels[i] != whole[i];
    }
    return missing;
}

// The pool swallows what a handler throws on its threads, the serial manager lets it through.
class BadFiles : public testing::TestWithParam<bool> {
protected:
    JobManager* m_jobManager = GetParam() ? &m_serial : Configuration().m_jobManager;

private:
    SerialJobManager m_serial;
};

TEST_P(BadFiles, CutAtAnyLengthGiveWhatTheyHave) {
    for (const Sample& sample : makeSamples()) {
        const Bytes whole =
            loadFront(sample, sample.m_file.size(), m_jobManager, ReportRecorder::kReturn).m_texels;
        std::size_t missing = whole.size();
        for (std::size_t length = 0; length < sample.m_neededBytes; ++length) {
            SCOPED_TRACE(sample.m_name + " cut to " + std::to_string(length));
            const Outcome outcome = loadFront(sample, length, m_jobManager, ReportRecorder::kReturn);
            EXPECT_NE(outcome.m_error, kErrorNone);
            EXPECT_EQ(outcome.m_warnings, outcome.m_texels.empty() ? 0u : 1u);
            const std::size_t missingHere = countMissing(outcome.m_texels, whole);
            EXPECT_LE(missingHere, missing);
            missing = missingHere;
            EXPECT_NE(loadFront(sample, length, m_jobManager, ReportRecorder::kThrow).m_error, kErrorNone);
        }
        EXPECT_LE(missing, 23u * 4); // not more than the last packet
    }
}

TEST_P(BadFiles, WithAWrongHeaderByteFareAlikeWithBothHandlers) {
    for (const Sample& sample : makeSamples()) {
        for (std::size_t offset = 0; offset < sample.m_headerBytes; ++offset) {
            for (const std::uint8_t value : Bytes{0x00, 0x01, 0x7F, 0x80, 0xFF}) {
                Sample wrong = sample;
                wrong.m_file[offset] = value;
                const std::size_t length = wrong.m_file.size();
                const Outcome returned = loadFront(wrong, length, m_jobManager, ReportRecorder::kReturn);
                const Outcome thrown = loadFront(wrong, length, m_jobManager, ReportRecorder::kThrow);
                EXPECT_EQ(returned.m_assertions == 0, thrown.m_assertions == 0);
                EXPECT_TRUE(returned.m_error == thrown.m_error || returned.m_assertions > 0)
                    << sample.m_name << " byte " << offset << " " << int(value);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Managers, BadFiles, testing::Bool());

} // namespace
