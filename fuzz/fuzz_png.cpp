#include "fuzz_target.h"

#include "raw/files/png_checksum.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return Fuzz::loadAndUse(data, size, ".png");
}

#if defined(TEXSMITH_FUZZER)

namespace {

//   u32 length, type of four characters, data, u32 sum
void repairSums(std::uint8_t* file, std::size_t size) {
    constexpr std::size_t kSignature = 8, kFrame = 12;
    std::size_t length = 0;
    for (std::size_t at = kSignature; at + kFrame <= size; at += kFrame + length) {
        length = std::size_t{file[at]} << 24 | file[at + 1] << 16 | file[at + 2] << 8 | file[at + 3];
        if (length > size - at - kFrame) {
            return;
        }
        const std::uint32_t sum = qor::Texsmith::Raw::pngChecksum({file + at + 4, file + at + 8 + length});
        for (unsigned i = 0; i < 4; ++i) {
            file[at + 8 + length + i] = static_cast<std::uint8_t>(sum >> (24 - 8 * i));
        }
    }
}

} // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t most);

// Readers look no further where the sum of a chunk is wrong, so most inputs have right ones.
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned seed) {
    const std::size_t mutated = LLVMFuzzerMutate(data, size, most);
    if (seed % 8 != 0) {
        repairSums(data, mutated);
    }
    return mutated;
}

#endif
