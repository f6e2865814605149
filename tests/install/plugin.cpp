// Runs a job on the library's pool.

#include <qor/texsmith/texsmith.h>

#include <vector>

extern "C" int runJob() {
    using namespace qor::Texsmith;
    std::vector<unsigned char> from(1 << 20, 7), to(1 << 20);
    MemoryRegion source, destination;
    source.build(from.data(), 1 << 20);
    destination.build(to.data(), 1 << 20);
    Configuration configuration;
    return Raw::multicoreMemcpy(destination, source, 1 << 20, &configuration) == Raw::kErrorNone &&
           from == to;
}
