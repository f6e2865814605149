// Whole tiles added to a MinMaxMean by a kernel.
#pragma once

#include "qor/texsmith/raw/statistics.h"
#include "raw/analysis/tile_kernels.h"

namespace qor::Texsmith::Raw {

void addTiles(MinMaxMean& total, const Tile* tiles, unsigned count, AddRangeAndSum add);

} // namespace qor::Texsmith::Raw
