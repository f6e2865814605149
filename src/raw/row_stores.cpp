#include "raw/row_stores.h"

#include <cstring>

namespace qor::Texsmith::Raw {

void copyRow(void* destination, const void* source, std::size_t bytes, RowStores stores) {
    if (bytes == 0) {
        return;
    }
    if (stores == RowStores::kStreaming) {
        streamBytes(destination, source, bytes);
        finishStreaming();
    } else {
        std::memcpy(destination, source, bytes);
    }
}

} // namespace qor::Texsmith::Raw
