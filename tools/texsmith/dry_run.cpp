#include "dry_run.h"

#include "console.h"
#include "content_hash.h"
#include "conversion_estimate.h"
#include "file_info.h"
#include "paths.h"
#include "update_record.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>

namespace Tool {
namespace {

ConversionEstimate estimateOf(const BatchFile& file, const Batch& batch) {
    return estimateConversion(file.m_source, file.m_destination, batch.m_settings[file.m_settings].m_options);
}

// With three digits, by powers of 1024.
std::string sizeText(std::uint64_t bytes) {
    constexpr const char* kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
    double value = static_cast<double>(bytes);
    unsigned unit = 0;
    for (; value >= 1000 && unit + 1 < std::size(kUnits); ++unit) {
        value /= 1024;
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", value, kUnits[unit]);
    return text;
}

std::string shapeText(const ConversionEstimate& estimate) {
    if (estimate.m_width == 0) {
        return "of unknown size";
    }
    std::string text = std::to_string(estimate.m_width) + " x " + std::to_string(estimate.m_height);
    text += estimate.m_surfaces > 1 ? " x " + std::to_string(estimate.m_surfaces) : "";
    text += estimate.m_mips > 1 ? ", " + std::to_string(estimate.m_mips) + " mips" : "";
    text += estimate.m_format.m_word != 0 ? ", " + formatName(estimate.m_format) : "";
    return text + (estimate.m_resultBytes != 0 ? ", about " + sizeText(estimate.m_resultBytes) : "");
}

// What a run would make of a file.
enum class Fate { kIsNew, kReplaces, kStays, kIsUpToDate };

class Foresight {
public:
    Foresight(const Batch& batch, const BatchOptions& options) : m_batch(batch), m_options(options) {}

    Fate of(const BatchFile& file) {
        if (!isThere(file.m_destination)) {
            return Fate::kIsNew;
        }
        if (m_options.m_keepsExisting) {
            return Fate::kStays;
        }
        const auto source = m_options.m_updates ? contentHash(file.m_source) : std::nullopt;
        const bool isUpToDate =
            source &&
            m_record.isUpToDate(file.m_destination, {*source, m_batch.m_settings[file.m_settings].text()});
        return isUpToDate ? Fate::kIsUpToDate : Fate::kReplaces;
    }

private:
    const Batch& m_batch;
    const BatchOptions& m_options;
    UpdateRecord m_record{UpdateRecord::Access::kReading};
};

bool isWritten(Fate fate) { return fate == Fate::kIsNew || fate == Fate::kReplaces; }

const char* textOf(Fate fate) {
    switch (fate) {
    case Fate::kReplaces:
        return "; replaces what is there";
    case Fate::kStays:
        return "; is there and stays";
    case Fate::kIsUpToDate:
        return "; is up to date";
    default:
        return "";
    }
}

} // namespace

void printDryRun(const Batch& batch, const BatchOptions& options) {
    std::uint64_t total = 0;
    std::size_t written = 0;
    Foresight foresight(batch, options);
    for (const BatchFile& file : batch.m_files) {
        const ConversionEstimate estimate = estimateOf(file, batch);
        const Fate fate = foresight.of(file);
        total += isWritten(fate) ? estimate.m_resultBytes : 0;
        written += isWritten(fate) ? 1 : 0;
        std::printf("%s -> %s: %s%s\n", shownName(file.m_source).c_str(),
                    shownName(file.m_destination).c_str(), shapeText(estimate).c_str(), textOf(fate));
    }
    for (const std::string& name : batch.m_passedOver) {
        std::printf("%s: left out by the recipe\n", shownName(name).c_str());
    }
    std::printf("%zu to write, about %s where the type tells\n", written, sizeText(total).c_str());
}

Json dryRunAsJson(const Batch& batch, const BatchOptions& options) {
    Json files = Json::array();
    Foresight foresight(batch, options);
    for (const BatchFile& file : batch.m_files) {
        const ConversionEstimate estimate = estimateOf(file, batch);
        const bool isKnown = estimate.m_width != 0;
        files.push_back({{"source", file.m_source},
                         {"destination", file.m_destination},
                         {"width", isKnown ? Json(estimate.m_width) : Json()},
                         {"height", isKnown ? Json(estimate.m_height) : Json()},
                         {"mips", isKnown ? Json(estimate.m_mips) : Json()},
                         {"bytes", estimate.m_resultBytes != 0 ? Json(estimate.m_resultBytes) : Json()},
                         {"replaces", foresight.of(file) == Fate::kReplaces}});
    }
    return {{"files", files}, {"leftOut", batch.m_passedOver}};
}

} // namespace Tool
