// Recipes: files that say which options the files of a batch get. docs/recipes.md describes them.
#pragma once

#include "command.h"
#include "options.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool {

struct RecipeRule {
    std::vector<std::string> m_patterns;
    bool m_isSkipped = false;
    std::string m_extension;              // empty: that of the command line
    std::string m_name;                   // a pattern; empty: that of the command line
    std::vector<std::string> m_arguments; // options as they would stand on the command line
};

// Reads a recipe whose options are those of `groups`, each checked with its value. Throws UsageFailure with
// the place of what is wrong, Failure for a file that cannot be read.
std::vector<RecipeRule> readRecipe(const std::string& file, std::span<const OptionGroup> groups);

// The first rule for a file at that place; null when there is none. Patterns without a separator are compared
// with the name, others with the whole place.
const RecipeRule* ruleFor(const std::string& place, const std::vector<RecipeRule>& rules);

} // namespace Tool
