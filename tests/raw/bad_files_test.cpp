// Files that end early or lie in their headers, with report handlers that return and that throw. The files
// lie in heap blocks of their exact size, so that a sanitizer sees every byte read beyond them.
#include "qor/texsmith/texsmith.h"
#include "support/loaded_file.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

struct Sample {
    std::string m_name;
    const char* m_extension;
    Bytes m_file;
    std::size_t m_headerBytes;
    std::size_t m_neededBytes; // without what a last packet holds beyond the picture
};

Sample makeVxf() {
    Vex::Texture texture;
    texture.initAs2dArray(9, 5, 1, 0, 2, {0xFAC00A}, Vex::kTileModeThin_1dThin, Vex::kNumFragments1, false);
    MemoryMappedImage image;
    image.reallocate(&texture);
    std::memset(image.getMemoryRegion().begin, 0x5A, image.getBytesTotal());
    Configuration configuration;
    AllocatedMemory memory;
    convertToVxf(&image, &memory, &configuration);
    return {"vxf", ".vxf", bytesOf(memory), 64, memory.length()};
}

std::vector<Sample> makeSamples() {
    std::vector<Sample> samples = {makeVxf()};
    for (const TgaKind& kind : kTgaKinds) {
        for (const bool isRunLength : {false, true}) {
            const TgaPicture picture(kind, isRunLength, isRunLength ? 0x10 : 0x20, 7, 5);
            const Bytes file = picture.m_writer.file();
            const std::string name = std::to_string(kind.m_type) + "/" + std::to_string(kind.m_pixelBits) +
                                     "/" + std::to_string(kind.m_entryBits) + (isRunLength ? " runs" : "");
            samples.push_back({name, ".tga", file, 18, file.size() - picture.m_surplusBytes});
        }
    }
    return samples;
}

struct Outcome {
    bool m_hasThrown = false;
    Error m_error = kErrorFailed;
    Bytes m_texels;
};

// Into storage that is full of old bytes.
Outcome loadBytes(const Sample& sample, const Bytes& bytes, std::size_t length, JobManager* jobManager) {
    Configuration configuration;
    configuration.m_jobManager = jobManager;
    HeapFile file(bytes, length);
    AllocatedMemory storage;
    storage.resize(5000);
    std::memset(storage.begin, 0xC3, 5000);
    Outcome outcome;
    try {
        ReallocatableImage image(&storage);
        outcome.m_error = loadWithResult(&image, file.region(), sample.m_extension, &configuration, 0);
        outcome.m_texels = bytesOf(image.getMemoryRegion());
    } catch (const std::runtime_error&) {
        outcome.m_hasThrown = true;
    }
    return outcome;
}

// The bytes that differ from the whole picture's, all of which must be zero.
std::size_t countMissing(const Bytes& texels, const Bytes& whole) {
    std::size_t missing = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        const std::uint8_t byte = texels.empty() ? std::uint8_t{0} : texels[i];
        EXPECT_TRUE(byte == whole[i] || byte == 0) << i;
        missing += byte != whole[i];
    }
    return missing;
}

void cutEverywhere(Sample sample, JobManager* jobManager) {
    const Bytes whole = loadBytes(sample, sample.m_file, sample.m_file.size(), jobManager).m_texels;
    sample.m_file.resize(sample.m_neededBytes);
    std::size_t missing = whole.size();
    for (std::size_t length = 0; length < sample.m_file.size(); ++length) {
        SCOPED_TRACE(testing::Message() << sample.m_name << " cut to " << length);
        const ReportRecorder recorder;
        const Outcome outcome = loadBytes(sample, sample.m_file, length, jobManager);
        EXPECT_NE(outcome.m_error, kErrorNone);
        if (!outcome.m_texels.empty()) {
            EXPECT_EQ(outcome.m_texels.size(), whole.size());
            EXPECT_EQ(recorder.warnings().size(), 1u);
        }
        const std::size_t missingHere = countMissing(outcome.m_texels, whole);
        EXPECT_LE(missingHere, missing);
        missing = missingHere;
    }
    EXPECT_LE(missing, 23u * 4); // not more than the last packet
    for (std::size_t length = 0; length < sample.m_file.size(); ++length) {
        const ReportRecorder recorder(ReportRecorder::kThrow);
        const Outcome outcome = loadBytes(sample, sample.m_file, length, jobManager);
        EXPECT_NE(outcome.m_error, kErrorNone);
        EXPECT_EQ(outcome.m_hasThrown, !recorder.assertions().empty());
    }
}

// With both kinds of handler the file fares alike.
void changeHeader(const Sample& sample, JobManager* jobManager) {
    for (std::size_t offset = 0; offset < sample.m_headerBytes; ++offset) {
        for (const std::uint8_t value : Bytes{0x00, 0x01, 0x7F, 0x80, 0xFF}) {
            SCOPED_TRACE(testing::Message() << sample.m_name << " byte " << offset << " " << int(value));
            Bytes bytes = sample.m_file;
            bytes[offset] = value;
            bool hasReported = false;
            Error error = kErrorNone;
            {
                const ReportRecorder recorder;
                error = loadBytes(sample, bytes, bytes.size(), jobManager).m_error;
                hasReported = !recorder.assertions().empty();
                EXPECT_TRUE(error == kErrorNone || (error & 0x80000000u) != 0);
            }
            const ReportRecorder recorder(ReportRecorder::kThrow);
            const Outcome outcome = loadBytes(sample, bytes, bytes.size(), jobManager);
            EXPECT_EQ(!recorder.assertions().empty(), hasReported);
            if (!hasReported) {
                EXPECT_EQ(outcome.m_error, error);
            }
        }
    }
}

class BadFiles : public testing::TestWithParam<bool> {
protected:
    // The pool swallows what a handler throws on its threads, the serial manager lets it through.
    JobManager* jobManager() {
        return GetParam() ? static_cast<JobManager*>(&m_serial) : Configuration().m_jobManager;
    }

private:
    SerialJobManager m_serial;
};

TEST_P(BadFiles, CutAtEveryLengthTheyGiveWhatTheyHave) {
    for (const Sample& sample : makeSamples()) {
        cutEverywhere(sample, jobManager());
    }
}

TEST_P(BadFiles, AnyHeaderByteMayBeWrong) {
    for (const Sample& sample : makeSamples()) {
        changeHeader(sample, jobManager());
    }
}

INSTANTIATE_TEST_SUITE_P(Managers, BadFiles, testing::Values(false, true), [](const auto& manager) {
    return manager.param ? std::string("serial") : std::string("pool");
});

} // namespace
