#include "support/report_recorder.h"
#include "support/surfaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <tuple>

namespace {

using namespace TestSupport;
using Raw::Error;
using Place = std::tuple<unsigned, unsigned, unsigned, unsigned, unsigned, unsigned, unsigned>;

Place placeOf(const Raw::SurfaceIndex& index, unsigned x, unsigned y) {
    return {index.mip, index.arrayEntry, index.face, index.depth, index.fragment, x, y};
}

class TileLog : public Raw::PerTile {
public:
    mutable std::map<Place, int> m_visits;
    mutable int m_prologues = 0, m_epilogues = 0;
    mutable unsigned m_callbacks = 0;
    Place m_failAt = placeOf({0, 9, 9, 9, 9, 9, 0}, 9, 9);
    volatile unsigned* m_setAtFirst = nullptr;

private:
    Error doPrologue(unsigned callbacks) const override {
        ++m_prologues;
        m_callbacks = callbacks;
        return Raw::kErrorFailed; // is dropped
    }
    Error doPerTileCallback(unsigned, const Raw::SurfaceIndex* index, unsigned x, unsigned y) const override {
        const std::scoped_lock lock(m_mutex);
        ++m_visits[placeOf(*index, x, y)];
        if (m_setAtFirst != nullptr) {
            *m_setAtFirst = 1;
        }
        return placeOf(*index, x, y) == m_failAt ? Raw::kErrorFailed : Raw::kErrorNone;
    }
    Error doEpilogue(unsigned callbacks) const override {
        EXPECT_EQ(callbacks, m_callbacks);
        ++m_epilogues;
        return Raw::kErrorNone;
    }

    mutable std::mutex m_mutex;
};

Raw::Configuration configurationFor(Raw::JobManager* manager, unsigned callbacks = 0) {
    Raw::Configuration configuration;
    configuration.m_jobManager = manager;
    configuration.m_callbacksPerJob = callbacks;
    return configuration;
}

TEST(PerTileJob, VisitsEveryTileOfEverySurfaceOnce) {
    Raw::SerialJobManager serial;
    Raw::ThreadpoolJobManager pool;
    for (const Shape& shape : kShapes) {
        const TestImage image(makeTexture(shape, formatNamed("R8Unorm")));
        std::map<Place, int> expected;
        for (int i = 0; i < Raw::getNumberOfSurfaces(&image); ++i) {
            Raw::SurfaceIndex index;
            Raw::getSurfaceIndexFromSurfaceNumber(&index, &image, i);
            for (unsigned tile = 0; tile < image.getTiles(index.mip); ++tile) {
                const unsigned wide = image.getTilesWide(index.mip);
                expected[placeOf(index, tile % wide, tile / wide)] = 1;
            }
        }
        for (Raw::JobManager* manager : std::initializer_list<Raw::JobManager*>{&serial, &pool}) {
            for (const unsigned callbacks : {1u, 7u, 32u}) {
                Raw::Configuration configuration = configurationFor(manager, callbacks);
                TileLog log;
                Raw::PerTileJob job(&image, &log, &configuration);
                EXPECT_EQ(manager->submitAndStall(&job), Raw::kErrorNone);
                EXPECT_EQ(log.m_visits, expected) << shape.m_name;
                EXPECT_EQ(log.m_callbacks, callbacks);
                EXPECT_TRUE(log.m_prologues == 1 && log.m_epilogues == 1);
            }
        }
    }
}

TEST(PerTileJob, RunsAChainOfAtMostSixteen) {
    Raw::SerialJobManager serial;
    Raw::Configuration configuration = configurationFor(&serial);
    const TestImage image("R8Unorm", 9, 9);
    for (const unsigned length : {16u, 17u}) {
        const ReportRecorder reports;
        TileLog logs[17];
        Raw::PerTile* chain[17];
        for (int i = 0; i < 17; ++i) {
            chain[i] = &logs[i];
        }
        Raw::PerTileJob job(&image, chain, &configuration, length);
        EXPECT_EQ(serial.submitAndStall(&job), Raw::kErrorNone);
        EXPECT_EQ(reports.texts(),
                  length == 16 ? ""
                               : "maximum length of PerTile chain is 16 but a chain of 17 was attempted\n");
        EXPECT_TRUE(logs[15].m_visits.size() == 4 && logs[15].m_epilogues == 1);
        EXPECT_TRUE(logs[16].m_visits.empty() && logs[16].m_prologues == 0);
    }
    const ReportRecorder reports;
    Raw::PerTile* withHole[] = {nullptr};
    Raw::PerTileJob job(nullptr, withHole, &configuration, 1);
    EXPECT_EQ(serial.submitAndStall(&job), Raw::kErrorFailed);
    EXPECT_EQ(reports.texts(), "elementProvider must not be NULL.\nperTile must not be NULL.\n");
}

TEST(PerTileJob, StopsAtTheAbortWordAndAtFailures) {
    Raw::SerialJobManager serial;
    const TestImage image("R8Unorm", 24, 80); // 3 x 10 tiles
    const auto run = [&](TileLog& log, volatile unsigned* abort) {
        Raw::Configuration configuration = configurationFor(&serial, 2);
        configuration.m_abort = abort;
        Raw::PerTileJob job(&image, &log, &configuration);
        EXPECT_EQ(serial.submitAndStall(&job), Raw::kErrorFailed);
        EXPECT_EQ(log.m_epilogues, 0);
        return log.m_visits.size();
    };
    volatile unsigned before = 1, during = 0;
    TileLog untouched, first, failing;
    EXPECT_EQ(run(untouched, &before), 0u);
    first.m_setAtFirst = &during;
    EXPECT_EQ(run(first, &during), 3u); // the row that was begun is finished
    failing.m_failAt = placeOf({}, 1, 2);
    EXPECT_EQ(run(failing, nullptr), 2u * 3 + 2 + 5 * 3); // the other band runs to its end
}

// Logs the bands of the two row jobs.
template <typename Base> class BandLog;

template <> class BandLog<Raw::PerElementRowsJob> : public Raw::PerElementRowsJob {
public:
    using PerElementRowsJob::PerElementRowsJob;
    mutable std::map<Place, std::vector<std::pair<unsigned, unsigned>>> m_bands;

private:
    Error doPerElementRowsCallback(unsigned, const Raw::SurfaceIndex* index, unsigned begin,
                                   unsigned end) const override {
        m_bands[placeOf(*index, 0, 0)].push_back({begin, end});
        return Raw::kErrorNone;
    }
};

template <> class BandLog<Raw::PerBlockRowsJob> : public Raw::PerBlockRowsJob {
public:
    using PerBlockRowsJob::PerBlockRowsJob;
    mutable std::map<Place, std::vector<std::pair<unsigned, unsigned>>> m_bands;

private:
    Error doPerBlockRowsCallback(unsigned, const Raw::SurfaceIndex* index, unsigned begin,
                                 unsigned end) const override {
        m_bands[placeOf(*index, 0, 0)].push_back({begin, end});
        return Raw::kErrorNone;
    }
};

template <typename JobType>
void checkBands(const char* format, unsigned (Raw::ElementProvider::*rows)(unsigned) const) {
    Raw::SerialJobManager serial;
    Raw::Configuration configuration = configurationFor(&serial, 5);
    const TestImage image(makeTexture({"", Vex::kTextureType3d, 3, 37, 4, 6, 0}, formatNamed(format)));
    BandLog<JobType> job(&image, &configuration);
    EXPECT_EQ(serial.submitAndStall(&job), Raw::kErrorNone);
    EXPECT_EQ(job.m_bands.size(), 4u + 2 + 1 + 1 + 1 + 1);
    for (const auto& [place, bands] : job.m_bands) {
        ASSERT_EQ(bands.size(), 5u); // empty ones too
        unsigned next = 0;
        for (const auto& [begin, end] : bands) {
            EXPECT_EQ(begin, next);
            next = end;
        }
        EXPECT_EQ(next, (image.*rows)(std::get<0>(place)));
    }
}

TEST(RowJobs, GiveEveryCallbackABandOfEverySurface) {
    for (const char* format : {"R8Unorm", "Bc1Unorm"}) {
        checkBands<Raw::PerElementRowsJob>(format, &Raw::ElementProvider::getElementsTall);
        checkBands<Raw::PerBlockRowsJob>(format, &Raw::ElementProvider::getBlocksTall);
    }
}

class TexelLog : public Raw::PerTexel {
public:
    using PerTexel::PerTexel;
    mutable std::vector<unsigned> m_counts;
    mutable std::vector<Raw::VectorFloat> m_texels;

private:
    void doTexels(unsigned, const Raw::VectorFloat* texels, unsigned count) const override {
        m_counts.push_back(count);
        m_texels.insert(m_texels.end(), texels, texels + count);
    }
};

TEST(PerTexel, CountsNoPaddingAndAppliesTheModifiers) {
    Raw::SerialJobManager serial;
    Raw::Configuration configuration = configurationFor(&serial);
    configuration.m_decoderConfiguration.m_transform.m_add[1] = 10.0f;
    configuration.m_decoderConfiguration.m_transform.m_power[0] = 5.0f; // not taken: the provider's is
    TestImage image("R32Float", 9, 9);
    for (unsigned i = 0; i < 81; ++i) {
        const float value = static_cast<float>(i);
        std::memcpy(image.bytes().data() + i * 4, &value, 4);
    }
    Raw::Modifiers modifiers;
    modifiers.m_decode.m_multiply[0][0] = 2.0f;
    image.setModifiers(modifiers);
    TexelLog log(&image, &configuration);
    Raw::PerTileJob job(&image, &log, &configuration);
    EXPECT_EQ(serial.submitAndStall(&job), Raw::kErrorNone);
    ASSERT_EQ(log.m_texels.size(), 81u);
    std::sort(log.m_counts.rbegin(), log.m_counts.rend());
    EXPECT_TRUE(log.m_counts.size() == 18 && log.m_counts[0] == 64 && log.m_counts[1] == 1);
    std::set<float> reds;
    for (const Raw::VectorFloat& texel : log.m_texels) {
        reds.insert(texel[0]);
        EXPECT_EQ(texel[1], 10.0f);
    }
    EXPECT_TRUE(reds.size() == 81 && *reds.begin() == 0.0f && *reds.rbegin() == 160.0f);

    const ReportRecorder reports;
    TexelLog without(nullptr, nullptr);
    Raw::PerTileJob failing(&image, &without, &configuration);
    EXPECT_EQ(serial.submitAndStall(&failing), Raw::kErrorFailed);
    EXPECT_EQ(without.perTileCallback(0, nullptr, 0, 0), Raw::kErrorFailed);
    EXPECT_EQ(reports.texts(), "elementProvider must not be NULL.\nconfiguration must not be NULL.\n"
                               "surfaceIndex must not be NULL.\n");
    TestImage empty("B8G8R8G8Unorm", 9, 9); // a format without a row cannot be decoded
    TexelLog undecodable(&empty, &configuration);
    Raw::PerTileJob emptyJob(&empty, &undecodable, &configuration);
    EXPECT_EQ(serial.submitAndStall(&emptyJob), Raw::kErrorFailed);
}

} // namespace
