// 1 / sqrt(x) with 12 bits behind the point of the mantissa.
//
// The processors' own estimates of that precision differ from maker to maker. This one is the same
// everywhere: the root and the quotient, each rounded to single precision, then the last 11 bits rounded away
// to nearest, ties to even. 0 gives infinity, and infinity 0.
#pragma once

namespace qor::Texsmith::Simd {

// Below 0 and a NaN give a NaN.
float fastRsqrt(float x);

} // namespace qor::Texsmith::Simd
