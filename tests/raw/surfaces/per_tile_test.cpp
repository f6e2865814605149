#include "raw/surfaces/copy_tiles.h"
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

Place placeOf(const Index& i, unsigned x, unsigned y) {
    return {i.mip, i.arrayEntry, i.face, i.depth, i.fragment, x, y};
}

class TileLog : public Raw::PerTile {
public:
    mutable std::map<Place, int> m_visits;
    mutable unsigned m_prologues = 0, m_epilogues = 0; // sums of the counts of callbacks
    Place m_failAt = placeOf({0, 9, 9, 9, 9, 9, 0}, 9, 9);
    volatile unsigned* m_setAtFirst = nullptr;

private:
    Error doPrologue(unsigned callbacks) const override {
        m_prologues += callbacks;
        return Raw::kErrorFailed; // is dropped
    }
    Error doPerTileCallback(unsigned, const Index* index, unsigned x, unsigned y) const override {
        const std::scoped_lock lock(m_mutex);
        ++m_visits[placeOf(*index, x, y)];
        if (m_setAtFirst != nullptr) {
            *m_setAtFirst = 1;
        }
        return placeOf(*index, x, y) == m_failAt ? Raw::kErrorFailed : Raw::kErrorNone;
    }
    Error doEpilogue(unsigned callbacks) const override {
        m_epilogues += callbacks;
        return Raw::kErrorNone;
    }

    mutable std::mutex m_mutex;
};

Raw::SerialJobManager g_serial;
Raw::ThreadpoolJobManager g_pool;

// Every place of every surface, where size(mip) tells how many there are across and down.
template <typename Size> std::map<Place, int> onceEach(const TestImage& image, Size size) {
    std::map<Place, int> visits;
    for (int i = 0; i < Raw::getNumberOfSurfaces(&image); ++i) {
        Index index;
        Raw::getSurfaceIndexFromSurfaceNumber(&index, &image, i);
        const auto [wide, tall] = size(index.mip);
        for (unsigned place = 0; place < wide * tall; ++place) {
            visits[placeOf(index, place % wide, place / wide)] = 1;
        }
    }
    return visits;
}

TEST(PerTileJob, VisitsEveryTileOfEverySurfaceOnce) {
    for (const Shape& shape : kShapes) {
        const TestImage image(makeTexture(shape, formatNamed("R8Unorm")));
        const auto expected = onceEach(
            image, [&](unsigned mip) { return std::pair(image.getTilesWide(mip), image.getTilesTall(mip)); });
        for (const unsigned callbacks : {1u, 7u, 32u}) {
            for (Raw::JobManager* manager : std::initializer_list<Raw::JobManager*>{&g_serial, &g_pool}) {
                Raw::Configuration configuration = configurationOf(manager, callbacks);
                TileLog log;
                Raw::PerTileJob job(&image, &log, &configuration);
                EXPECT_EQ(manager->submitAndStall(&job), Raw::kErrorNone);
                EXPECT_EQ(log.m_visits, expected) << shape.m_name;
                EXPECT_TRUE(log.m_prologues == callbacks && log.m_epilogues == callbacks);
            }
        }
    }
}

class BlockRowLog : public Raw::PerBlockRowsJob {
public:
    using PerBlockRowsJob::PerBlockRowsJob;
    mutable std::map<Place, int> m_visits; // of rows

private:
    Error doPerBlockRowsCallback(unsigned, const Index* index, unsigned begin, unsigned end) const override {
        for (unsigned y = begin; y < end; ++y) {
            ++m_visits[placeOf(*index, 0, y)];
        }
        return Raw::kErrorNone;
    }
};

TEST(PerBlockRowsJob, VisitsEveryRowOfBlocksOfEverySurfaceOnce) {
    for (const Shape& shape : kShapes) {
        const TestImage image(makeTexture(shape, formatNamed("R8Unorm")));
        const auto expected =
            onceEach(image, [&](unsigned mip) { return std::pair(1u, image.getBlocksTall(mip)); });
        Raw::Configuration configuration = onThisThread(5);
        BlockRowLog job(&image, &configuration);
        EXPECT_EQ(g_serial.submitAndStall(&job), Raw::kErrorNone);
        EXPECT_EQ(job.m_visits, expected) << shape.m_name;
    }
}

TEST(PerTileJob, RunsAChainOfAtMostSixteen) {
    Raw::Configuration configuration = onThisThread(1);
    const TestImage image(makeFlat("R8Unorm", 9, 9));
    for (const unsigned length : {16u, 17u}) {
        const ReportRecorder reports;
        TileLog logs[17];
        Raw::PerTile* chain[17];
        std::transform(std::begin(logs), std::end(logs), chain, [](TileLog& log) { return &log; });
        Raw::PerTileJob job(&image, chain, &configuration, length);
        EXPECT_EQ(g_serial.submitAndStall(&job), length == 16 ? Raw::kErrorNone : Raw::kErrorFailed);
        EXPECT_EQ(reports.texts(),
                  length == 16 ? ""
                               : "maximum length of PerTile chain is 16 but a chain of 17 was attempted\n");
        EXPECT_TRUE(logs[15].m_visits.size() == (length == 16 ? 4 : 0) &&
                    logs[15].m_epilogues == (length == 16 ? 1 : 0));
        EXPECT_TRUE(logs[16].m_visits.empty() && logs[16].m_prologues == 0);
    }
    const ReportRecorder reports;
    Raw::PerTileJob job(nullptr, static_cast<Raw::PerTile*>(nullptr), &configuration);
    EXPECT_EQ(g_serial.submitAndStall(&job), Raw::kErrorFailed);
    EXPECT_EQ(reports.texts(), "elementProvider must not be NULL.\nperTile must not be NULL.\n");
}

TEST(PerTileJob, PassesOfAChainSeeWhatEarlierOnesWrote) {
    TestImage first(makeFlat("R8Unorm", 29, 21), 1), second(makeFlat("R8Unorm", 29, 21)),
        third(makeFlat("R8Unorm", 29, 21));
    TilesOnly firstTiles(first), secondTiles(second);
    Raw::CopyPerTile byTiles(&secondTiles, &firstTiles), byRows(&second, &first), reader(&third, &second);
    for (Raw::PerTile* writer : std::initializer_list<Raw::PerTile*>{&byTiles, &byRows}) {
        second.bytes().assign(second.bytes().size(), 0);
        third.bytes().assign(third.bytes().size(), 0);
        Raw::PerTile* chain[] = {writer, &reader};
        Raw::Configuration configuration = onThisThread(2);
        Raw::PerTileJob job(&first, chain, &configuration, 2);
        EXPECT_EQ(g_serial.submitAndStall(&job), Raw::kErrorNone);
        EXPECT_EQ(third.bytes(), first.bytes());
    }
}

TEST(PerTileJob, StopsAtTheAbortWordAndAtFailures) {
    const TestImage image(makeFlat("R8Unorm", 24, 80)); // 3 x 10 tiles, in two bands
    const auto run = [&](TileLog& log, volatile unsigned* abort) {
        Raw::Configuration configuration = onThisThread(2);
        configuration.m_abort = abort;
        Raw::PerTileJob job(&image, &log, &configuration);
        EXPECT_EQ(g_serial.submitAndStall(&job), Raw::kErrorFailed);
        EXPECT_EQ(log.m_epilogues, 0u);
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

class TexelLog : public Raw::PerTexel {
public:
    using PerTexel::PerTexel;
    mutable std::multiset<unsigned> m_counts;
    mutable std::set<std::pair<float, float>> m_texels;

private:
    void doTexels(unsigned, const Raw::VectorFloat* texels, unsigned count) const override {
        m_counts.insert(count);
        for (unsigned i = 0; i < count; ++i) {
            m_texels.insert({texels[i][0], texels[i][1]});
        }
    }
};

TEST(PerTexel, CountsNoPaddingAndAppliesTheModifiers) {
    Raw::Configuration configuration = onThisThread(1);
    configuration.m_decoderConfiguration.m_transform.m_add[1] = 10.0f;  // after the provider's
    configuration.m_decoderConfiguration.m_transform.m_power[0] = 5.0f; // not taken: the provider's is
    TestImage image(makeFlat("R32Float", 9, 9));
    std::set<std::pair<float, float>> expected;
    for (unsigned i = 0; i < 81; ++i) {
        const float value = static_cast<float>(i);
        std::memcpy(image.bytes().data() + i * 4, &value, 4);
        expected.insert({(value + 1) * 2, 10.0f});
    }
    configuration.m_decoderConfiguration.m_transform.m_multiply[0][0] = 2.0f;
    Raw::Modifiers modifiers;
    modifiers.m_decode.m_add[0] = 1.0f;
    image.setModifiers(modifiers);
    TexelLog log(&image, &configuration);
    Raw::PerTileJob job(&image, &log, &configuration);
    EXPECT_EQ(g_serial.submitAndStall(&job), Raw::kErrorNone);
    EXPECT_EQ(log.m_texels, expected);
    EXPECT_TRUE(log.m_counts.count(64) == 1 && log.m_counts.count(1) == 17 && log.m_counts.size() == 18);

    const ReportRecorder reports;
    EXPECT_EQ(log.perTileCallback(0, nullptr, 0, 0), Raw::kErrorFailed);
    EXPECT_EQ(reports.texts(), "surfaceIndex must not be NULL.\n");
    const TestImage empty(makeFlat("B8G8R8G8Unorm", 9, 9)); // a format that nothing can decode
    EXPECT_EQ(TexelLog(&empty, &configuration).perTileCallback(0, &kFirstSurface, 0, 0), Raw::kErrorFailed);
}

} // namespace
