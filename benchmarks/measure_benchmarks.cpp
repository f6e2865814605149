#include "measure_benchmarks.h"

#include "ratio_reporter.h"
#include "surface_benchmarks.h"

#include <cstring>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kSize = 2048;
constexpr char kGroup[] = "measures 2048";
constexpr char kBytes[] = "R8G8B8A8Unorm";
constexpr char kMemcmp[] = "measures 2048/memcmp of two surfaces";

// Two surfaces of the same bytes, in different places.
struct Pair {
    std::unique_ptr<Raw::MemoryMappedImage> m_a, m_b;

    explicit Pair(const char* format) : m_a(makeImage(format, kSize)), m_b(makeImage(format, kSize)) {
        Raw::copy(m_b->getMemoryRegion(), m_a->getMemoryRegion());
    }
};

using Measure = Raw::Error (*)(const Pair& images, Configuration* configuration);

Raw::Error measureRange(const Pair& images, Configuration* configuration) {
    Raw::MinMaxMean range;
    return Raw::getMinMaxMean(images.m_a.get(), &range, configuration);
}

Raw::Error takeFastHistogram(const Pair& images, Configuration* configuration) {
    const auto perTexel = std::make_unique<Raw::FastHistogramPerTexel>(images.m_a.get(), configuration);
    Raw::PerTileJob job(images.m_a.get(), perTexel.get(), configuration);
    const Raw::Error error = configuration->m_jobManager->submitAndStall(&job);
    Raw::FastHistogram histogram;
    perTexel->getHistogram(&histogram, static_cast<unsigned>(job.getCallbacks()));
    return error;
}

Raw::Error takeHistogram(const Pair& images, Configuration* configuration) {
    Raw::Histogram histogram;
    const Raw::MinMax range = {{{0, 0, 0, 0}}, {{1, 1, 1, 1}}};
    return Raw::getHistogram(images.m_a.get(), &histogram, &range, configuration);
}

Raw::Error compareByStandardMetric(const Pair& images, Configuration* configuration) {
    const Raw::StandardSquaredErrorCalculator calculator;
    Raw::VectorFloat mean;
    return Raw::compare(&mean, images.m_a.get(), images.m_b.get(), configuration, &calculator);
}

Raw::Error areImagesEqual(const Pair& images, Configuration* configuration) {
    const Raw::Image *a = images.m_a.get(), *b = images.m_b.get();
    return Raw::areBitwiseEqual(a, b, configuration);
}

Raw::Error areProvidersEqual(const Pair& images, Configuration* configuration) {
    const Raw::ElementProvider *a = images.m_a.get(), *b = images.m_b.get();
    return Raw::areBitwiseEqual(a, b, configuration);
}

// `work` is in bytes, as the baseline counts them.
void add(const char* name, const char* format, double work, const std::string& baseline, Measure measure) {
    addOperation(kGroup, std::string(name) + " " + format, work, baseline, [=] {
        const auto images = std::make_shared<Pair>(format);
        return [=](Configuration* configuration) { return measure(*images, configuration); };
    });
}

void addMemcmp(double bytes) {
    benchmark::RegisterBenchmark(kMemcmp, [=](benchmark::State& state) {
        const Pair images(kBytes);
        const Raw::MemoryRegion a = images.m_a->getMemoryRegion(), b = images.m_b->getMemoryRegion();
        for (auto _ : state) {
            benchmark::DoNotOptimize(std::memcmp(a.begin, b.begin, static_cast<std::size_t>(a.length())));
        }
        compareWith(state, bytes);
    })->UseRealTime();
}

} // namespace

void registerMeasureBenchmarks() {
    for (const char* format : {kBytes, "R32G32B32A32Float"}) {
        const double work = 2.0 * kSize * kSize * formatNamed(format).getBytesPerElement();
        add("range and mean", format, work, memcpyOf(work), &measureRange);
        add("fast histogram", format, work, memcpyOf(work), &takeFastHistogram);
        add("histogram", format, work, memcpyOf(work), &takeHistogram);
        add("compare", format, work, memcpyOf(work), &compareByStandardMetric);
    }
    const double bytes = 4.0 * kSize * kSize;
    addMemcmp(bytes);
    add("equality of images", kBytes, bytes, kMemcmp, &areImagesEqual);
    add("equality of providers", kBytes, bytes, kMemcmp, &areProvidersEqual);
}

} // namespace Bench
