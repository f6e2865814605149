// What a report names as its file is a constant in each source. It must agree with the source's place.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace {

namespace fs = std::filesystem;

// Sources of one concern that state another source's path.
const std::map<std::string, std::string> kSharedPaths = {{"raw/job", "raw/job_manager"},
                                                         {"raw/format_names", "raw/helpers"}};

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

// Its own place, or that of NAME for a source NAME_more, or the one in the table.
bool mayState(const std::string& place, const std::string& path) {
    const auto shared = kSharedPaths.find(place);
    return shared != kSharedPaths.end() ? path == shared->second
                                        : path == place || place.rfind(path + "_", 0) == 0;
}

TEST(SourcePaths, AgreeWithTheFilesPlaces) {
    const fs::path root = fs::path(TEXSMITH_SOURCE_DIR) / "src";
    if (!fs::is_directory(root)) {
        GTEST_SKIP() << "the sources are not here: " << root;
    }
    unsigned found = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const std::string path = entry.path().extension() == ".cpp" ? statedPath(entry.path()) : "";
        if (!path.empty()) {
            EXPECT_PRED2(mayState, fs::relative(entry.path(), root).replace_extension().generic_string(),
                         path);
            ++found;
        }
    }
    EXPECT_GT(found, 20u) << "the constants are written in another way than this test looks for";
}

} // namespace
