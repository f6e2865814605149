#include "classic_benchmarks.h"

#include "surface_benchmarks.h"

#include <cstring>
#include <vector>

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kSize = 2048;
constexpr char kGroup[] = "classic 2048";

// Smooth numbers with some noise, as bytes and as a classic picture.
struct Pictures {
    std::unique_ptr<Raw::MemoryMappedImage> m_bytes = makeImage("R8G8B8A8Unorm", kSize);
    Texsmith::Image m_planes{kSize, kSize, 4};

    Pictures() {
        std::uint8_t* texel = m_bytes->getMemoryRegion().begin;
        std::vector<float> rows[4];
        for (unsigned y = 0; y < kSize; ++y) {
            for (std::vector<float>& row : rows) {
                row.clear();
            }
            for (unsigned x = 0; x < kSize; ++x) {
                for (unsigned channel = 0; channel < 4; ++channel, ++texel) {
                    const unsigned value = (x >> (channel + 2)) + (y >> 3) + (*texel & 7);
                    *texel = static_cast<std::uint8_t>(value);
                    rows[channel].push_back(static_cast<float>(*texel) / 255.0f);
                }
            }
            for (unsigned channel = 0; channel < 4; ++channel) {
                m_planes.setScanline(rows[channel].data(), kSize, y, channel);
            }
        }
    }
};

void addCompression(const char* format) {
    const std::string baseline = std::string("reformat to ") + format;
    const double work = double{kSize} * kSize;
    addOperation(kGroup, baseline, work, "", [=] {
        const auto pictures = std::make_shared<Pictures>();
        const auto destination = std::shared_ptr(makeImage(format, kSize));
        return [=](Configuration* configuration) {
            return Raw::reformat(pictures->m_bytes.get(), destination.get(), configuration);
        };
    });
    addOperation(
        kGroup, std::string("compressPixels to ") + format, work, std::string(kGroup) + "/" + baseline, [=] {
            const auto pictures = std::make_shared<Pictures>();
            const Vex::DataFormat wanted = formatNamed(format);
            const auto bytes =
                std::make_shared<std::vector<std::uint8_t>>(pictures->m_planes.getBufferSizeRequired(wanted));
            return [=](Configuration*) {
                pictures->m_planes.compressPixels(bytes->data(), wanted);
                return Raw::Error(Raw::kErrorNone);
            };
        });
}

template <typename Filter> void addResize(const std::string& name, const Filter& filter) {
    const double work = 2.0 * kSize * kSize * 4 * sizeof(float);
    addOperation(kGroup, "resize to a quarter, " + name, work, memcpyOf(work), [=] {
        const auto pictures = std::make_shared<Pictures>();
        const auto destination = std::make_shared<Texsmith::Image>(kSize / 2, kSize / 2, 4);
        return [=](Configuration* configuration) {
            ImageHelper::resizeImage(pictures->m_planes, destination.get(), filter,
                                     configuration->m_jobManager);
            return Raw::Error(Raw::kErrorNone);
        };
    });
}

} // namespace

void registerClassicBenchmarks() {
    addCompression("Bc1UnormNoAlpha");
    addCompression("Bc3Unorm");
    addResize("box", Filters::BoxFilter());
    addResize("triangle", Filters::TriangleFilter());
    addResize("cubic", Filters::CubicFilter(-0.5f));
    addResize("lanczos", Filters::LanczosFilter());
}

} // namespace Bench
