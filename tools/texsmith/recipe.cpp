#include "recipe.h"

#include "conversion_options.h"
#include "failure.h"
#include "json_text.h"
#include "near_miss.h"
#include "paths.h"
#include "wildcards.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

namespace Tool {
namespace {

using Kind = JsonValue::Kind;

constexpr std::string_view kRecipeKeys[] = {"schema", "rules"};
constexpr std::string_view kRuleKeys[] = {"match", "to", "name", "options", "skip"};
constexpr std::string_view kSchema = "1";

std::string readWhole(const std::string& file) {
    std::error_code error;
    if (std::filesystem::is_directory(toPath(file), error)) {
        throw Failure("it is a folder, and no recipe", kExitUnreadable, file);
    }
    std::ifstream stream(toPath(file), std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.good()) {
        throw Failure("the recipe cannot be read", kExitUnreadable, file);
    }
    return text;
}

class Reader {
public:
    Reader(const std::string& file, std::span<const OptionGroup> groups)
        : m_text(file, readWhole(file)), m_command{.m_name = "convert", .m_summary = {}, .m_groups = groups} {
    }

    std::vector<RecipeRule> rules() const {
        const JsonValue& recipe = m_text.root();
        expect(recipe, Kind::kObject, "a recipe is an object");
        checkKeys(recipe, kRecipeKeys);
        const JsonValue* schema = valueOf(recipe, "schema");
        if (schema != nullptr && (schema->m_kind != Kind::kNumber || schema->m_text != kSchema)) {
            m_text.complain(schema->m_offset, "this tool reads recipes of schema " + std::string(kSchema));
        }
        const JsonValue* rules = valueOf(recipe, "rules");
        if (rules == nullptr) {
            m_text.complain(recipe.m_offset, "a recipe has 'rules'");
        }
        expect(*rules, Kind::kArray, "'rules' is an array");
        std::vector<RecipeRule> result;
        for (const JsonValue& rule : rules->m_values) {
            result.push_back(ruleOf(rule));
        }
        return result;
    }

private:
    void expect(const JsonValue& value, Kind kind, const char* complaint) const {
        if (value.m_kind != kind) {
            m_text.complain(value.m_offset, complaint);
        }
    }

    void checkKeys(const JsonValue& object, std::span<const std::string_view> known) const {
        for (std::size_t i = 0; i < object.m_keys.size(); ++i) {
            if (std::find(known.begin(), known.end(), object.m_keys[i]) == known.end()) {
                m_text.complain(object.m_values[i].m_offset,
                                "unknown key '" + object.m_keys[i] + "'" +
                                    suggestion(object.m_keys[i], known, "see the guide to recipes"));
            }
        }
    }

    static const JsonValue* valueOf(const JsonValue& object, std::string_view key) {
        const auto found = std::find(object.m_keys.begin(), object.m_keys.end(), key);
        return found == object.m_keys.end()
                   ? nullptr
                   : &object.m_values[static_cast<std::size_t>(found - object.m_keys.begin())];
    }

    RecipeRule ruleOf(const JsonValue& value) const {
        expect(value, Kind::kObject, "a rule is an object");
        checkKeys(value, kRuleKeys);
        RecipeRule rule;
        rule.m_patterns = patternsOf(value);
        rule.m_extension = textOf(value, "to");
        rule.m_name = textOf(value, "name");
        if (const JsonValue* skip = valueOf(value, "skip")) {
            expect(*skip, Kind::kBoolean, "'skip' is true or false");
            rule.m_isSkipped = skip->m_text == "true";
        }
        if (const JsonValue* options = valueOf(value, "options")) {
            rule.m_arguments = argumentsOf(*options);
        }
        return rule;
    }

    std::vector<std::string> patternsOf(const JsonValue& rule) const {
        const JsonValue* match = valueOf(rule, "match");
        if (match == nullptr) {
            m_text.complain(rule.m_offset, "a rule has a 'match'");
        }
        if (match->m_kind == Kind::kText) {
            return {match->m_text};
        }
        constexpr char kComplaint[] = "'match' is a pattern such as \"*_n.png\", or an array of them";
        expect(*match, Kind::kArray, kComplaint);
        std::vector<std::string> patterns;
        for (const JsonValue& pattern : match->m_values) {
            expect(pattern, Kind::kText, kComplaint);
            patterns.push_back(pattern.m_text);
        }
        if (patterns.empty()) {
            m_text.complain(match->m_offset, kComplaint);
        }
        return patterns;
    }

    std::string textOf(const JsonValue& rule, std::string_view key) const {
        const JsonValue* value = valueOf(rule, key);
        if (value == nullptr) {
            return {};
        }
        if (value->m_kind != Kind::kText || value->m_text.empty()) {
            m_text.complain(value->m_offset, "'" + std::string(key) + "' is a text");
        }
        return value->m_text;
    }

    std::vector<std::string> argumentsOf(const JsonValue& options) const {
        expect(options, Kind::kObject, "'options' is an object");
        std::vector<std::string> arguments;
        for (std::size_t i = 0; i < options.m_keys.size(); ++i) {
            const JsonValue& value = options.m_values[i];
            checkName(options.m_keys[i], value.m_offset);
            const std::vector<std::string> added = argumentsFor("--" + options.m_keys[i], value);
            check(value.m_offset, [&] { static_cast<void>(Options(m_command, added)); });
            arguments.insert(arguments.end(), added.begin(), added.end());
        }
        checkTogether(options, arguments);
        return arguments;
    }

    void checkName(const std::string& name, std::size_t offset) const {
        std::vector<std::string_view> known;
        for (const OptionGroup& group : m_command.m_groups) {
            for (const Option& option : group.m_options) {
                known.push_back(option.m_name.substr(2));
            }
        }
        if (std::find(known.begin(), known.end(), name) == known.end()) {
            m_text.complain(offset, "unknown option '" + name + "'" +
                                        suggestion(name, known, "see texsmith convert --help"));
        }
    }

    std::vector<std::string> argumentsFor(const std::string& option, const JsonValue& value) const {
        switch (value.m_kind) {
        case Kind::kBoolean:
            return value.m_text == "true" ? std::vector{option} : std::vector<std::string>();
        case Kind::kNumber:
        case Kind::kText:
            return {option + "=" + value.m_text};
        case Kind::kArray: {
            std::vector<std::string> all;
            for (const JsonValue& entry : value.m_values) {
                const std::vector<std::string> one = argumentsFor(option, entry);
                all.insert(all.end(), one.begin(), one.end());
            }
            return all;
        }
        default:
            m_text.complain(value.m_offset,
                            "an option is true, false, a number, a text or an array of these");
        }
    }

    // What only shows when all options are known is told at the option whose name or value is complained of.
    void checkTogether(const JsonValue& options, const std::vector<std::string>& arguments) const {
        try {
            conversionOptionsOf(Options(m_command, arguments));
        } catch (const UsageFailure& failure) {
            const std::string_view complaint = failure.what();
            std::size_t place = options.m_offset;
            for (std::size_t i = 0; i < options.m_keys.size(); ++i) {
                const JsonValue& value = options.m_values[i];
                if (complaint.find("--" + options.m_keys[i]) != complaint.npos ||
                    complaint.find("'" + value.m_text + "'") != complaint.npos) {
                    place = value.m_offset;
                    break;
                }
            }
            m_text.complain(place, failure.what());
        }
    }

    template <typename Body> void check(std::size_t offset, Body body) const {
        try {
            body();
        } catch (const UsageFailure& failure) {
            m_text.complain(offset, failure.what());
        }
    }

    JsonText m_text;
    Command m_command;
};

bool matches(const std::string& place, const std::string& pattern) {
    const bool isOfName = pattern.find('/') == pattern.npos;
    const std::string_view text = std::string_view(place).substr(isOfName ? nameOffset(place) : 0);
    return matchesPattern(text, pattern);
}

} // namespace

std::vector<RecipeRule> readRecipe(const std::string& file, std::span<const OptionGroup> groups) {
    return Reader(file, groups).rules();
}

const RecipeRule* ruleFor(const std::string& place, const std::vector<RecipeRule>& rules) {
    for (const RecipeRule& rule : rules) {
        for (const std::string& pattern : rule.m_patterns) {
            if (matches(place, pattern)) {
                return &rule;
            }
        }
    }
    return nullptr;
}

} // namespace Tool
