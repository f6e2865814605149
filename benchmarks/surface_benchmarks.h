// Benchmarks of whole surfaces, each beside a memcpy that moves as many bytes in all.
#pragma once

#include "qor/texsmith/texsmith.h"

#include <functional>
#include <memory>
#include <string>

namespace Bench {

// Changes of format and order at 2048 x 2048 and 8192 x 8192, memory operations, shortcuts between files.
void registerSurfaceBenchmarks();
// An empty job on the pool beside a round trip through a condition variable.
void registerJobBenchmarks();

// For the benchmarks of other areas.

qor::Vex::DataFormat formatNamed(const char* name);
// A picture of random bytes; as floats of all kinds only where the operation takes any.
std::unique_ptr<qor::Texsmith::Raw::MemoryMappedImage>
makeImage(const char* format, unsigned size, qor::Vex::TileMode tileMode = qor::Vex::kTileModeThin_1dThin);
// "memcpy/... bytes", which reads and writes `bytesInAll` together, whole and in two halves: registered at
// the first call.
std::string memcpyOf(double bytesInAll);

using Operation = std::function<qor::Texsmith::Raw::Error(qor::Texsmith::Raw::Configuration* configuration)>;
// Makes the operation anew for each run, so that its surfaces live no longer than the run.
using MakeOperation = std::function<Operation()>;
// Registers "group/one thread/name" and "group/two threads/name", beside `baseline`.
void addOperation(const std::string& group, const std::string& name, double work, const std::string& baseline,
                  MakeOperation make);

} // namespace Bench
