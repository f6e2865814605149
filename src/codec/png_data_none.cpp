// Without libdeflate: libpng unpacks and packs by zlib.
#include "codec/png_data.h"

namespace qor::Texsmith::Raw {

bool StoredPng::unpack(const MemoryRegion&, std::uint64_t) { return false; }

bool canCompressQuickly() { return false; }

std::vector<std::uint8_t> compressQuickly(const std::uint8_t*, std::size_t, EncoderEffort) { return {}; }

} // namespace qor::Texsmith::Raw
