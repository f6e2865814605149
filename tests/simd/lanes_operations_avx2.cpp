#include "simd/lanes_operations.h"

#if defined(__AVX2__)
#    include "simd/lanes8_avx2.h"

namespace LanesTest {
RunOperations getOperationsAvx2() { return &runOperations<qor::Texsmith::Simd::Avx2::Lanes8>; }
} // namespace LanesTest

#else

namespace LanesTest {
RunOperations getOperationsAvx2() { return nullptr; }
} // namespace LanesTest

#endif
