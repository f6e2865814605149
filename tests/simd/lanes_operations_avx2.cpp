#include "simd/lanes_operations.h"

#if defined(__AVX2__)
#    include "simd/words16_avx2.h"

namespace LanesTest {
RunOperations getOperationsAvx2() { return &runOperations<qor::Texsmith::Simd::Avx2::Lanes8>; }
RunWordOperations getWordOperationsAvx2() { return &runWordOperations<qor::Texsmith::Simd::Avx2::Words16>; }
} // namespace LanesTest

#else

namespace LanesTest {
RunOperations getOperationsAvx2() { return nullptr; }
RunWordOperations getWordOperationsAvx2() { return nullptr; }
} // namespace LanesTest

#endif
