// Null pointers are reported once each, in the order of the arguments and by their names, and the call fails.
#include "qor/texsmith/texsmith.h"
#include "raw/tiles/tiling.h"
#include "support/report_recorder.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace qor;
using namespace qor::Texsmith;
using namespace qor::Texsmith::Raw;

constexpr char kManager[] =
    "configuration->m_jobManager parameter must not be NULL - this function runs jobs.\n";

struct Case {
    const char* m_file;  // "" where the reports come from several
    const char* m_names; // of the arguments
    std::string m_more;  // behind them
    bool (*m_fails)(Configuration* withoutManager);
};

bool failed(Error error) { return error == kErrorFailed; }
bool failed(int error) { return error == static_cast<int>(kErrorFailed); }

const ElementProvider* const kProvider = nullptr;
const Raw::Image* const kImage = nullptr;
const char* const kName = nullptr;

// A function without overloads, with a null or a zero for every argument.
template <auto kFunction> struct Nulls;
template <typename Result, typename... Arguments, Result (*kFunction)(Arguments...)> struct Nulls<kFunction> {
    static bool fail(Configuration*) { return failed(kFunction(Arguments{}...)); }
};
template <auto kFunction> constexpr auto kNulls = &Nulls<kFunction>::fail;

const Case kCases[] = {
    {"raw\\analysis", "source destMinMaxMean configuration", "", kNulls<&getMinMaxMean>},
    {"raw\\analysis", "source srcHistogram srcMinMax configuration", "", kNulls<&getHistogram>},
    {"raw\\analysis", "elementProvider fromPca toPca configuration", "", kNulls<&getPca>},
    {"raw\\analysis", "source", kManager,
     [](Configuration* c) { return failed(markConstantChannels(nullptr, c)); }},
    {"raw\\analysis", "source destination configuration", "",
     [](Configuration*) { return renormalize(nullptr, nullptr, nullptr, RenormalizationPca, 1), true; }},
    {"raw\\analysis", "result sourceA sourceB configuration calculator", "",
     [](Configuration*) { return failed(compare(nullptr, kProvider, kProvider, nullptr, nullptr)); }},
    {"raw\\analysis", "destination sourceA sourceB configuration", "", kNulls<&getAbsoluteDifference>},
    {"raw\\arebitwiseequal", "a b configuration", "",
     [](Configuration*) { return failed(areBitwiseEqual(kProvider, kProvider, nullptr)); }},
    {"raw\\arebitwiseequal", "a b configuration", "",
     [](Configuration*) { return failed(areBitwiseEqual(kImage, kImage, nullptr)); }},
    {"raw\\channelpacking", "destination source configuration",
     "Assertion 'sources > 0 && sources <= 4' failed.\n",
     [](Configuration*) { return failed(channelpack(nullptr, nullptr, 0, nullptr)); }},
    {"raw\\channelpacking", "destination source configuration",
     "Assertion 'destinations > 0 && destinations <= 4' failed.\n",
     [](Configuration*) { return failed(channelunpack(nullptr, 5, nullptr, nullptr)); }},
    {"raw\\reformat", "source destination configuration", "", kNulls<&reformat>},
    {"raw\\reformat", "source destination state", kManager,
     [](Configuration* c) { return failed(reformatCached(nullptr, nullptr, c, nullptr, 1)); }},
    {"raw\\reformat", "source destination configuration", "", kNulls<&reformatMipCrunchy>},
    {"raw\\mips\\mip_maps", "source destination configuration", "",
     [](Configuration*) {
         return failed(makeMipMaps(nullptr, static_cast<ElementProvider*>(nullptr), nullptr));
     }},
    {"raw\\mips\\mip_maps", "source destination", "",
     [](Configuration*) { return reallocateAndAddMips(nullptr, nullptr, {}) == 0; }},
    {"raw\\tiling", "image tiled", "", kNulls<&tileImage>},
    {"raw\\surfaces\\element_provider", "destination source configuration", "",
     [](Configuration*) { return failed(copy(kImage, nullptr, nullptr)); }},
    {"raw\\job_manager", "configuration", "",
     [](Configuration*) { return failed(multicoreMemcpy({}, {}, 0, static_cast<Configuration*>(nullptr))); }},
    {"raw\\job_manager", "", kManager,
     [](Configuration* c) { return failed(multicoreMemcpy({}, {}, 0, c)); }},
    {"raw\\job_manager", "", kManager,
     [](Configuration*) { return failed(multicoreMemcpy({}, {}, 0, static_cast<JobManager*>(nullptr))); }},
    {"raw\\job_manager", "configuration", "",
     [](Configuration*) { return failed(areBitwiseEqual(MemoryRegion(), MemoryRegion(), nullptr)); }},
    {"raw\\job_manager", "", kManager,
     [](Configuration* c) { return failed(areBitwiseEqual(MemoryRegion(), MemoryRegion(), c)); }},
    {"raw\\dds", "source destination configuration", "",
     [](Configuration*) {
         return failed(convertFromDds(nullptr, static_cast<ReallocatableImage*>(nullptr), nullptr));
     }},
    {"raw\\dds", "source destination", kManager,
     [](Configuration* c) { return failed(convertToDds(kImage, nullptr, 9, c)); }},
    {"raw\\vxf_highlevel", "source destination configuration", "", kNulls<&convertToVxf>},
    {"", "source destination configuration", "", kNulls<&convertFromPng>},
    {"", "source destination configuration", "", kNulls<&convertToPng>},
    {"", "source destination configuration", "",
     [](Configuration*) { return failed(convertFromWic(nullptr, nullptr, nullptr, g_wicGuidBmp, 0)); }},
    {"", "source destination configuration", "",
     [](Configuration*) { return failed(convertToWic(nullptr, nullptr, nullptr, g_wicGuidBmp)); }},
    {"raw\\helpers", "destination source extension configuration", "",
     [](Configuration*) { return failed(load(nullptr, nullptr, nullptr, nullptr, 0)); }},
    {"raw\\helpers", "destination filenameOrUrl configuration", "",
     [](Configuration*) { return failed(load(nullptr, nullptr, nullptr)); }},
    {"raw\\helpers", "source destination extension configuration", "",
     [](Configuration*) { return failed(save(nullptr, nullptr, nullptr, nullptr)); }},
    {"raw\\helpers", "source filename configuration", "",
     [](Configuration*) { return failed(save(nullptr, nullptr, nullptr)); }},
    {"raw\\helpers", "source sourceExtension destination destinationExtension configuration", "",
     [](Configuration*) { return failed(convert(nullptr, nullptr, nullptr, nullptr, nullptr)); }},
    {"raw\\helpers", "sourceFilenameOrUrl destinationFilenameOrExtension configuration", "",
     [](Configuration*) { return failed(convert(nullptr, nullptr, nullptr)); }},
    {"raw\\helpers", "sourceA sourceAExtension sourceB sourceBExtension configuration", "",
     [](Configuration*) { return failed(areBitwiseEqual(nullptr, nullptr, nullptr, nullptr, nullptr)); }},
    {"raw\\helpers", "sourceAFilenameOrUrl sourceBFilenameOrUrl configuration", "",
     [](Configuration*) { return failed(areBitwiseEqual(kName, kName, nullptr)); }},
    {"raw\\helpers", "mse sourceA sourceAExtension sourceB sourceBExtension configuration", "",
     [](Configuration*) {
         return failed(compare(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
     }},
    {"raw\\helpers", "mse sourceAFilenameOrUrl sourceBFilenameOrUrl configuration", "",
     [](Configuration*) { return failed(compare(nullptr, kName, kName, nullptr, nullptr)); }},
    {"raw\\helpers", "destination source configuration", "", kNulls<&makeDataFormat>},
    {"raw\\transform", "vectorFloat", "",
     [](Configuration*) { return Transform().Decode(static_cast<VectorFloat*>(nullptr), 1), true; }},
    {"raw\\transform", "block", "",
     [](Configuration*) { return Transform().Encode(static_cast<Block*>(nullptr)), true; }},
    {"raw\\transform", "tile", "",
     [](Configuration*) { return Transform().Decode(static_cast<Tile*>(nullptr)), true; }},
    {"", "reallocatableImage elementProvider", "",
     [](Configuration*) { return reallocate(nullptr, kProvider), true; }},
};

TEST(NullArguments, AreReportedInOrder) {
    Configuration withoutManager;
    withoutManager.m_jobManager = nullptr;
    for (const Case& row : kCases) {
        SCOPED_TRACE(std::string(row.m_file) + ": " + row.m_names);
        std::istringstream names(row.m_names);
        std::string expected;
        for (std::string name; names >> name;) {
            expected += name + " must not be NULL.\n";
        }
        const TestSupport::ReportRecorder recorder;
        EXPECT_TRUE(row.m_fails(&withoutManager));
        EXPECT_EQ(recorder.texts(), expected + row.m_more);
        for (const TestSupport::Report& report : recorder.assertions()) {
            EXPECT_TRUE(row.m_file[0] == '\0' || report.m_file == row.m_file) << report.m_file;
        }
    }
}

} // namespace
