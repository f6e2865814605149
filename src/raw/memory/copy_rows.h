// Copies a rectangle of bytes between two pitches.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qor::Texsmith::Raw {

struct RowCopy {
    std::uint8_t* m_destination;
    std::size_t m_destinationPitch;
    const std::uint8_t* m_source;
    std::size_t m_sourcePitch;
    unsigned m_rows;

    template <typename CopyRow> void run(CopyRow copyRow) const {
        std::uint8_t* destination = m_destination;
        const std::uint8_t* source = m_source;
        for (unsigned row = 0; row < m_rows; ++row) {
            copyRow(destination, source);
            destination += m_destinationPitch;
            source += m_sourcePitch;
        }
    }
    // A row of known size is moved without a call.
    template <std::size_t kBytes> void runFixed() const {
        run([](std::uint8_t* destination, const std::uint8_t* source) {
            std::memcpy(destination, source, kBytes);
        });
    }
};

// The sizes of a whole row of a tile or block are chosen once, outside the loop.
inline void copyRows(const RowCopy& rows, std::size_t rowBytes) {
    switch (rowBytes) {
    case 8:
        return rows.runFixed<8>();
    case 16:
        return rows.runFixed<16>();
    case 32:
        return rows.runFixed<32>();
    case 64:
        return rows.runFixed<64>();
    case 128:
        return rows.runFixed<128>();
    default:
        return rows.run([rowBytes](std::uint8_t* destination, const std::uint8_t* source) {
            std::memcpy(destination, source, rowBytes);
        });
    }
}

} // namespace qor::Texsmith::Raw
