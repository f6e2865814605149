#include "raw/plane_conversion.h"

namespace qor::Texsmith::Raw {

PlaneConversion::PlaneConversion(const TileConversion&) {}

bool PlaneConversion::isUsable() const { return false; }

void PlaneConversion::convert(void*, const void*, std::size_t) const {}

} // namespace qor::Texsmith::Raw
