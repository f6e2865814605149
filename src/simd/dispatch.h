// Which instruction set the wide kernels may use, and which stores, decided at run time.
//
// Kernels that need more than the base line stand in files whose suffix names the instruction set. Such a
// file is compiled for that set alone, includes no header with inline functions that other files share (the
// linker might keep its copy for everybody), and hands its kernels out through functions that return null
// where the build has none. Every kernel gives the bits of the scalar code, so the choice is one of speed.
#pragma once

#include <cstdint>

namespace qor::Texsmith::Simd {

// The machine has AVX2 and F16C, the build has kernels for it, and they are not switched off. Asked once per
// operation.
bool mayUseAvx2();

// For tests and benchmarks: false makes mayUseAvx2 false until it is set back. Not while a job runs.
void allowAvx2(bool allowed);

// Whether to write past the caches what has as many bytes, when it pays from `least` on.
bool mayStream(std::uint64_t bytes, std::uint64_t least);

// For tests: true makes it pay always, until it is set back. Not while a job runs.
void streamAlways(bool always);

} // namespace qor::Texsmith::Simd
