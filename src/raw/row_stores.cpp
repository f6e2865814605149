#include "raw/row_stores.h"

#include <cstring>

namespace qor::Texsmith::Raw {

void copyRow(void* destination, const void* source, std::size_t bytes, RowStores) {
    if (bytes != 0) {
        std::memcpy(destination, source, bytes);
    }
}

} // namespace qor::Texsmith::Raw
