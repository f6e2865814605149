#include "mip_benchmarks.h"

#include "surface_benchmarks.h"

namespace Bench {
namespace {

using namespace qor;
using namespace qor::Texsmith;

constexpr unsigned kSize = 2048;
constexpr char kGroup[] = "mips 2048";

struct Chain {
    std::unique_ptr<Raw::MemoryMappedImage> m_source;
    Raw::MemoryMappedImage m_chain;

    explicit Chain(const char* format) : m_source(makeImage(format, kSize)) {
        Configuration configuration;
        const auto bytes = makeImage("R8G8B8A8Unorm", kSize);
        Raw::reformat(bytes.get(), m_source.get(), &configuration); // numbers of 0 to 1 as floats too
        Raw::reallocateAndAddMips(m_source.get(), &m_chain, m_source->getDataFormat());
    }

    Raw::Error makeSmallerMips(Configuration* configuration) {
        Raw::SurfaceIndex from, to;
        Raw::Error error = Raw::kErrorNone;
        for (to.mip = 1; to.mip < m_chain.getSurfaceCount().mips && error == Raw::kErrorNone; ++to.mip) {
            from.mip = to.mip - 1;
            Raw::ElementProvider* source = &m_chain;
            error = static_cast<Raw::Error>(Raw::surfaceDownsample2d(to.mip == 1 ? m_source.get() : source,
                                                                     from, &m_chain, to, configuration));
        }
        return error;
    }
};

void addChain(const char* format) {
    const double work = 2.0 * kSize * kSize * formatNamed(format).getBytesPerElement();
    addOperation(kGroup, std::string("chain ") + format, work, memcpyOf(work), [=] {
        const auto chain = std::make_shared<Chain>(format);
        return [=](Configuration* configuration) {
            return static_cast<Raw::Error>(
                Raw::makeMipMaps(chain->m_source.get(), &chain->m_chain, configuration));
        };
    });
    addOperation(kGroup, std::string("without the top level ") + format, work, memcpyOf(work), [=] {
        const auto chain = std::make_shared<Chain>(format);
        return [=](Configuration* configuration) { return chain->makeSmallerMips(configuration); };
    });
}

} // namespace

void registerMipBenchmarks() {
    for (const char* format : {"R8G8B8A8Unorm", "R8G8B8A8UnormSrgb", "R32G32B32A32Float"}) {
        addChain(format);
    }
}

} // namespace Bench
