// The entry points of the BC6H encoder, and how blocks are packed.
#include "raw/blocks/bc6_encoder.h"

#include "qor/vex/data_formats.h"
#include "raw/blocks/bc6_bit_writer.h"
#include "raw/blocks/bc6_group.h"
#include "raw/blocks/bc6_search.h"
#include "raw/blocks/bptc_tables.h"
#include "raw/configuration/external_compressor.h"
#include "raw/frame/check.h"
#include "raw/texels/sides.h"
#include "raw/texels/table_functions.h"

#include <cstring>

namespace qor::Texsmith::Raw {

int g_bc6LogThreshold = 1;
std::atomic<float> g_bc6ErrorSum = 0.0f;
std::atomic<float> g_bc6ErrorMax = 0.0f;

namespace {

constexpr char kSourcePath[] = "raw\\bc6";

// Updates may get lost between threads: these are statistics only.
void countError(float error) {
    g_bc6ErrorSum.store(g_bc6ErrorSum.load(std::memory_order_relaxed) + error, std::memory_order_relaxed);
    if (error > g_bc6ErrorMax.load(std::memory_order_relaxed)) {
        g_bc6ErrorMax.store(error, std::memory_order_relaxed);
    }
}

void report(const Bc6Result& result) {
    const Bc6Mode& mode = kBc6ModeTable[result.m_mode];
    const double error = result.m_error;
    if (mode.m_subsets == 1) {
        toolsWarning(kSourcePath, __LINE__, "mode:%02x ChiSqr:%.7f\n", mode.m_bits, error);
    } else {
        toolsWarning(kSourcePath, __LINE__, "mode:%02x partition:%04x ChiSqr:%.7f\n", mode.m_bits,
                     kBc7Partitions2[result.m_partition], error);
    }
}

Bc6Result search(const ColorRGBA32F* block, const Bc6Plan& plan, const Bc6Kernels& kernels) {
    Bc6Effort effort;
    const Bc6Result result = searchBc6Block(block, plan, kernels, &effort);
    if (effort.m_entries > 0) {
        countError(result.m_error);
    }
    if (g_bc6LogThreshold > 1) {
        report(result);
    }
    return result;
}

void pack(std::uint8_t* destination, const Bc6Result& result) {
    packBc6(destination, result.m_mode, result.m_words, result.m_indices, result.m_partition);
}

void encodeRun(std::uint8_t* destination, const ColorRGBA32F* source,
               const EncoderConfiguration& configuration, std::size_t count) {
    const Bc6Kernels& kernels = bc6Kernels();
    if (configuration.m_effort == kEncoderEffortFast) {
        encodeBc6Groups(destination, source, configuration.isSigned(), kernels, count);
        return;
    }
    const Bc6Plan plan = makeBc6Plan(configuration);
    for (std::size_t i = 0; i < count; ++i) {
        pack(destination + 16 * i, search(source + kTexelsPerBlock * i, plan, kernels));
    }
}

bool hasExternalEncoder(const EncoderConfiguration& configuration) {
    const ExternalCompressor* table = configuration.m_externalCompressor;
    return configuration.m_externalBc6hProfile != nullptr && table != nullptr &&
           table->m_encodeBc6h != nullptr;
}

void encodeOutside(std::uint8_t* destination, const ColorRGBA32F* block,
                   const EncoderConfiguration& configuration) {
    constexpr Vex::DataFormat kHalves = Vex::kDataFormatR16G16B16A16Float;
    VectorFloat texels[kTexelsPerBlock];
    std::memcpy(texels, block, sizeof texels);
    std::uint8_t halves[kTexelsPerBlock * 8];
    packedEncodeTexels(halves, texels, &kHalves, kTexelsPerBlock);
    const ExternalSurface surface = {halves, 4, 4, 32};
    configuration.m_externalCompressor->m_encodeBc6h(&surface, destination,
                                                     configuration.m_externalBc6hProfile);
}

} // namespace

void Bc6BitWriter::write(std::uint16_t value, unsigned first, unsigned last) {
    if (first > 15) {
        toolsAssert(kSourcePath, __LINE__, "start position is out of range.");
        return;
    }
    if (last > 15) {
        toolsAssert(kSourcePath, __LINE__, "end position is out of range.");
        return;
    }
    if (first <= last) {
        append(value >> first & ((2u << (last - first)) - 1), last - first + 1);
        return;
    }
    std::uint64_t reversed = 0;
    for (unsigned bit = first; bit + 1 > last; --bit) {
        reversed |= std::uint64_t{value >> bit & 1u} << (first - bit);
    }
    append(reversed, first - last + 1);
}

void Bc6BitWriter::append(std::uint64_t bits, unsigned count) {
    if (m_position + count > 128) {
        toolsAssert(kSourcePath, __LINE__,
                    "too many bits, can't write more than 16 bits from a uint16_t value.");
        return;
    }
    const unsigned word = m_position / 64, offset = m_position % 64;
    m_words[word] |= bits << offset;
    if (offset + count > 64) {
        m_words[1] |= bits >> (64 - offset);
    }
    m_position += count;
}

void packBc6(std::uint8_t* destination, unsigned mode, const std::uint16_t (&encodedEndpoints)[kBc6Words],
             const std::uint8_t (&indices)[16], unsigned partition) {
    if (mode >= kBc6Modes) {
        toolsAssert(kSourcePath, __LINE__, "Invalid mode. Why we are here???");
        return;
    }
    const Bc6Mode& row = kBc6ModeTable[mode];
    Bc6BitWriter writer;
    writer.write(row.m_bits, 0, row.m_bitCount - 1u);
    const Bc6Layout& layout = kBc6Layouts[mode];
    for (unsigned i = 0; i < layout.m_count; ++i) {
        const Bc6Field field = layout.m_fields[i];
        writer.write(encodedEndpoints[field.m_word], field.m_first, field.m_last);
    }
    const bool hasPartition = row.m_subsets == 2;
    if (hasPartition) {
        writer.write(static_cast<std::uint16_t>(partition & (kBc6Partitions - 1)), 0, 4);
    }
    const unsigned secondAnchor = hasPartition ? kBc7SecondAnchors2[partition & (kBc6Partitions - 1)] : 0;
    for (unsigned texel = 0; texel < kTexelsPerBlock; ++texel) {
        const bool isAnchor = texel == 0 || texel == secondAnchor;
        writer.write(indices[texel], 0, row.indexBits() - (isAnchor ? 2 : 1));
    }
    writer.store(destination);
}

unsigned searchBc6(std::uint16_t (&encodedEndpoints)[kBc6Words], std::uint8_t (&indices)[16],
                   unsigned* partition, const ColorRGBA32F* block,
                   const EncoderConfiguration& configuration) {
    const Bc6Result result = search(block, makeBc6Plan(configuration), bc6Kernels());
    std::memcpy(encodedEndpoints, result.m_words, sizeof encodedEndpoints);
    std::memcpy(indices, result.m_indices, sizeof indices);
    *partition = result.m_partition;
    return result.m_mode;
}

void encodeBc6(std::uint8_t* destination, const ColorRGBA32F* block,
               const EncoderConfiguration& configuration) {
    encodeRun(destination, block, configuration, 1);
}

void encodeBc6Block(std::uint8_t* destination, const ColorRGBA32F* source,
                    const EncoderConfiguration& configuration) {
    encodeBc6Blocks(destination, source, configuration, 1);
}

void encodeBc6Blocks(std::uint8_t* destination, const ColorRGBA32F* source,
                     const EncoderConfiguration& configuration, std::size_t count) {
    if (hasExternalEncoder(configuration)) {
        for (std::size_t i = 0; i < count; ++i) {
            encodeOutside(destination + 16 * i, source + kTexelsPerBlock * i, configuration);
        }
    } else {
        encodeRun(destination, source, configuration, count);
    }
}

} // namespace qor::Texsmith::Raw
