#include "near_miss.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Tool {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// How many letters must be put in, taken out or changed (Levenshtein's distance), whatever their case.
std::size_t editsBetween(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = diagonal + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
        }
    }
    return row[b.size()];
}

constexpr std::size_t kLongestTyped = 64;

} // namespace

std::string suggestion(std::string_view typed, std::span<const std::string_view> names,
                       const std::string& otherwise) {
    if (typed.size() > kLongestTyped) {
        return "; " + otherwise;
    }
    std::size_t fewest = typed.size() / 3 + 2; // more than that is another word
    std::string_view nearest;
    for (const std::string_view name : names) {
        const std::size_t edits = editsBetween(typed, name);
        if (edits < fewest) {
            fewest = edits;
            nearest = name;
        }
    }
    return nearest.empty() ? "; " + otherwise : "; did you mean '" + std::string(nearest) + "'?";
}

} // namespace Tool
