// Files that end early or lie in their headers, with report handlers that return and that throw. The files
// lie in heap blocks of their exact size, so that a sanitizer sees every byte read beyond them.
#include "support/damaged_files.h"
#include "support/surfaces.h"

namespace {

using namespace qor;
using namespace qor::Texsmith::Raw;
using namespace TestSupport;

std::vector<Sample> makeSamples() {
    TestImage image(makeFlat("R8G8B8A8Unorm", 9, 5, 2));
    std::fill(image.bytes().begin(), image.bytes().end(), std::uint8_t{0x5A});
    Configuration configuration;
    AllocatedMemory memory;
    convertToVxf(&image, &memory, &configuration);
    std::vector<Sample> samples = {{"vxf", ".vxf", bytesOf(memory), memory.length(), 64}};
    for (const unsigned version : {9u, 10u}) {
        convertToDds(&image, &memory, version, &configuration);
        samples.push_back({"dds " + std::to_string(version), ".dds", bytesOf(memory), memory.length(),
                           version == 10 ? 148u : 128u});
    }
    for (const TgaKind& kind : kTgaKinds) {
        for (const bool isRunLength : {false, true}) {
            const TgaPicture picture(kind, isRunLength, isRunLength ? 0x10 : 0x20, 7, 5);
            const Bytes file = picture.m_writer.file();
            samples.push_back({"tga " + std::to_string(samples.size()), ".tga", file,
                               file.size() - picture.m_surplusBytes, 18});
        }
    }
    return samples;
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
        expectCutFilesToGiveWhatTheyHave(sample, 23 * 4, m_jobManager); // a packet
    }
}

TEST_P(BadFiles, WithAWrongHeaderByteFareAlikeWithBothHandlers) {
    for (const Sample& sample : makeSamples()) {
        expectWrongBytesToEndWell(sample, 1, m_jobManager);
    }
}

INSTANTIATE_TEST_SUITE_P(Managers, BadFiles, testing::Bool());

} // namespace
