// In which order the rows of a surface lie in memory.
#pragma once

namespace qor::Texsmith::Raw {

enum class RowOrder { kTopDown, kBottomUp };

} // namespace qor::Texsmith::Raw
