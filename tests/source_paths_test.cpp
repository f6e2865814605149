// What a report names as its file is a constant in each source. It must agree with the source's place.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path kSources = fs::path(TEXSMITH_SOURCE_DIR) / "src";

// The constant that a source states, with slashes for its double backslashes. Empty when there is none.
std::string statedPath(const fs::path& source) {
    std::ifstream stream(source, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    const std::string begin = "char kSourcePath[] = \"";
    const std::size_t at = text.find(begin);
    if (at == std::string::npos) {
        return {};
    }
    const std::size_t from = at + begin.size();
    std::string path = text.substr(from, text.find('"', from) - from);
    for (std::size_t i = path.find("\\\\"); i != std::string::npos; i = path.find("\\\\")) {
        path.replace(i, 2, "/");
    }
    return path;
}

// Its own place, that of NAME for a source NAME_more, or that of the door which a room's source stands
// behind.
bool mayState(const std::string& place, const std::string& path) {
    const fs::path door = kSources / (path + ".cpp");
    const bool isBehindDoor =
        place.rfind("raw/", 0) == 0 && fs::path(path).parent_path() == "raw" && fs::exists(door);
    return path == place || place.rfind(path + "_", 0) == 0 || isBehindDoor;
}

TEST(SourcePaths, AgreeWithTheFilesPlaces) {
    if (!fs::is_directory(kSources)) {
        GTEST_SKIP() << "the sources are not here: " << kSources;
    }
    unsigned found = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kSources)) {
        const std::string path = entry.path().extension() == ".cpp" ? statedPath(entry.path()) : "";
        if (!path.empty()) {
            EXPECT_PRED2(mayState, fs::relative(entry.path(), kSources).replace_extension().generic_string(),
                         path);
            ++found;
        }
    }
    EXPECT_GT(found, 20u) << "the constants are written in another way than this test looks for";
}

} // namespace
