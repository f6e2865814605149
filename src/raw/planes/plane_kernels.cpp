// The kernels of planes for every machine: over four lanes, and elements of two and three words one by one.
#include "raw/planes/plane_kernels.h"

#include "raw/planes/plane_kernels_lanes.h"
#include "simd/lanes4.h"

#include <cstring>

namespace qor::Texsmith::Raw {
namespace {

template <unsigned kWords> void gatherWords(std::uint32_t* words, const void* source, std::size_t count) {
    const auto* from = static_cast<const std::uint8_t*>(source);
    for (std::size_t i = 0; i < count; ++i, from += 4 * kWords) {
        for (unsigned word = 0; word < kWords; ++word) {
            std::memcpy(&words[word * kPlaneTexels + i], from + 4 * word, 4);
        }
    }
}

template <unsigned kWords>
void scatterWords(void* destination, const std::uint32_t* words, std::size_t count) {
    auto* to = static_cast<std::uint8_t*>(destination);
    for (std::size_t i = 0; i < count; ++i, to += 4 * kWords) {
        for (unsigned word = 0; word < kWords; ++word) {
            std::memcpy(to + 4 * word, &words[word * kPlaneTexels + i], 4);
        }
    }
}

constexpr PlaneKernels makeBaseKernels() {
    PlaneKernels kernels = Planes::makeKernels<Simd::Lanes4>();
    kernels.m_gather[8] = &gatherWords<2>;
    kernels.m_gather[12] = &gatherWords<3>;
    kernels.m_scatter[8] = &scatterWords<2>;
    kernels.m_scatter[12] = &scatterWords<3>;
    return kernels;
}

} // namespace

constinit const PlaneKernels g_planeKernels = makeBaseKernels();

} // namespace qor::Texsmith::Raw
