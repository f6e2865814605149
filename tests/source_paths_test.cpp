// What a report names as its file is a constant in each source. It must agree with the source's place.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>

namespace {

namespace fs = std::filesystem;

// Sources of one concern that state another source's path.
const std::map<std::string, std::string>& sharedPaths() {
    static const std::map<std::string, std::string> map = {{"raw\\job", "raw\\job_manager"},
                                                           {"raw\\format_names", "raw\\helpers"}};
    return map;
}

std::string readFile(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string placeOf(const fs::path& source, const fs::path& root) {
    std::string place = fs::relative(source, root).replace_extension().generic_string();
    std::replace(place.begin(), place.end(), '/', '\\');
    return place;
}

// Its own place, or that of NAME for a source NAME_more, or the one in the table.
bool mayState(const std::string& place, const std::string& path) {
    const auto shared = sharedPaths().find(place);
    if (shared != sharedPaths().end()) {
        return path == shared->second;
    }
    return path == place || place.rfind(path + "_", 0) == 0;
}

// The constant that `text` states, with its backslashes single.
std::optional<std::string> statedPath(const std::string& text) {
    const std::string begin = "char kSourcePath[] = \"";
    const std::size_t at = text.find(begin);
    if (at == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t from = at + begin.size();
    std::string path = text.substr(from, text.find('"', from) - from);
    for (std::size_t i = path.find("\\\\"); i != std::string::npos; i = path.find("\\\\", i + 1)) {
        path.erase(i, 1);
    }
    return path;
}

TEST(SourcePaths, AgreeWithTheFilesPlaces) {
    const fs::path root = fs::path(TEXSMITH_SOURCE_DIR) / "src";
    if (!fs::is_directory(root)) {
        GTEST_SKIP() << "the sources are not here: " << root;
    }
    unsigned found = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const bool isSource = entry.path().extension() == ".cpp";
        const std::optional<std::string> path = isSource ? statedPath(readFile(entry.path())) : std::nullopt;
        if (path) {
            EXPECT_PRED2(mayState, placeOf(entry.path(), root), *path);
            ++found;
        }
    }
    EXPECT_GT(found, 5u) << "the constants are written in another way than this test looks for";
}

} // namespace
