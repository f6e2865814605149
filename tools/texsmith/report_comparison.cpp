#include "report_comparison.h"

#include "float_image.h"
#include "image_pair.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace Tool {

using namespace qor::Texsmith;

namespace {

constexpr unsigned kWorstTexels = 12;

// A row for all mips, and one for each where there are several. `tell` makes the text of a channel of errors.
template <typename Tell> Json rowsOf(const Comparison& comparison, Tell tell) {
    Json rows = Json::array();
    const auto add = [&](const std::string& name, const Errors& errors) {
        Json row = Json::array({name});
        for (unsigned channel = 0; channel < 4; ++channel) {
            row.push_back(tell(errors, channel));
        }
        rows.push_back(row);
    };
    add("all", comparison.whole());
    for (unsigned mip = 0; mip < comparison.m_mips.size() && comparison.m_mips.size() > 1; ++mip) {
        add("mip " + std::to_string(mip), comparison.m_mips[mip]);
    }
    return rows;
}

Json tableOf(const char* name, Json rows) {
    return {{"heads", Json::array({name, "R", "G", "B", "A"})}, {"rows", std::move(rows)}};
}

Json tablesOf(const Comparison& comparison, const ImagePair& pair) {
    Json tables = Json::array();
    tables.push_back(tableOf("MSE", rowsOf(comparison, [](const Errors& errors, unsigned channel) {
                                 return numberText(errors.meanSquare(channel), "%.3g");
                             })));
    if (pair.peak()) {
        const auto tell = [peak = *pair.peak()](const Errors& errors, unsigned channel) {
            const double error = errors.meanSquare(channel);
            return error == 0 ? "same" : numberText(psnrOf(error, peak), "%.2f");
        };
        tables.push_back(tableOf("dB", rowsOf(comparison, tell)));
    }
    if (comparison.whole().m_similarity.m_windows != 0) {
        tables.push_back(tableOf("SSIM", rowsOf(comparison, [](const Errors& errors, unsigned channel) {
                                     const double similarity = errors.similarity(channel);
                                     return std::isnan(similarity) ? "-" : numberText(similarity, "%.4f");
                                 })));
    }
    return tables;
}

Json notesOf(const ImagePair& pair) {
    Json notes = Json::array();
    notes.push_back(pair.isAsStored() ? "Values of sRGB are compared as they are stored."
                                      : "Values are compared as they are read: those of sRGB as light.");
    notes.push_back(pair.peak() ? "dB is the PSNR."
                                : "No PSNR: the values of this type have no range of their own.");
    if (pair.hasMoreMips()) {
        notes.push_back("One of the files has more mips, which were not compared.");
    }
    return notes;
}

Json linkTo(const Difference& difference, const Raw::Image& image) {
    const Raw::SurfaceCount count = image.getSurfaceCount();
    const Raw::SurfaceIndex& index = difference.m_index;
    std::string text = numberText(difference.m_value, "%.5g") + " in " + kChannelNames[difference.m_channel] +
                       " at " + std::to_string(difference.m_x) + ", " + std::to_string(difference.m_y);
    const auto add = [&text](const char* name, unsigned value, bool matters) {
        text += matters ? std::string(", ") + name + " " + std::to_string(value) : "";
    };
    add("mip", index.mip, count.mips > 1);
    add("slice", index.arrayEntry, count.arrayEntries > 1);
    add("face", index.face, count.faces > 1);
    add("depth", index.depth, image.getDepth(0) > 1);
    add("sample", index.fragment, count.fragments > 1);
    return {{"text", text},
            {"place",
             {{"mip", index.mip},
              {"slice", index.arrayEntry},
              {"face", index.face},
              {"depth", index.depth},
              {"fragment", index.fragment},
              {"x", difference.m_x},
              {"y", difference.m_y}}}};
}

} // namespace

Json compareForReport(const LoadedFile& file, const LoadedFile& reference) {
    const ImagePair pair({&file.m_image, file.m_info.m_name, file.m_transfer},
                         {&reference.m_image, reference.m_info.m_name, reference.m_transfer});
    const Comparison comparison = pair.compare({});
    Json worst = Json::array();
    const std::vector<Difference> differences = pair.worst(kWorstTexels);
    for (const Difference& difference : differences) {
        worst.push_back(linkTo(difference, pair.a()));
    }
    return {{"asStored", pair.isAsStored()},
            {"largest", differences.empty() ? 0.0 : differences.front().m_value},
            {"tables", tablesOf(comparison, pair)},
            {"notes", notesOf(pair)},
            {"worst", worst}};
}

} // namespace Tool
