// Which room may include which is a table in docs/architecture.md. Every include of a source must agree with
// it.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

const fs::path kRoot = TEXSMITH_SOURCE_DIR;
using Rooms = std::map<std::string, std::set<std::string>>;

// The rows `| room | may include the private headers of |`, up to the next line that is no row.
Rooms readTable() {
    std::ifstream document(kRoot / "docs" / "architecture.md");
    Rooms rooms;
    bool inTable = false;
    for (std::string line; std::getline(document, line);) {
        if (!inTable || line.rfind("|--", 0) == 0) {
            inTable |= line.rfind("| room | may include", 0) == 0;
            continue;
        }
        if (line.rfind("| ", 0) != 0) {
            break;
        }
        const std::size_t end = line.find(" | ", 2);
        std::set<std::string>& allowed = rooms[line.substr(2, end - 2)];
        std::istringstream words(line.substr(end + 3, line.rfind('|') - end - 3));
        for (std::string word; words >> word;) {
            allowed.insert(word);
        }
    }
    return rooms;
}

// Of a path below src/: sources right in raw/ are the doors, those right in src/ the classic interface.
std::string roomOf(const fs::path& source) {
    auto folder = source.begin();
    const auto depth = std::distance(source.begin(), source.end());
    if (*folder == "raw") {
        return depth == 2 ? "doors" : (++folder)->string();
    }
    return depth == 1 ? "classic" : folder->string();
}

// The files that a source includes by a name in quotes.
std::set<std::string> includesOf(const fs::path& source) {
    std::ifstream stream(source);
    std::set<std::string> includes;
    for (std::string line; std::getline(stream, line);) {
        const std::size_t hash = line.find_first_not_of(' '), name = line.find("include \"");
        if (name != std::string::npos && line[hash] == '#') {
            includes.insert(line.substr(name + 9, line.find('"', name + 9) - name - 9));
        }
    }
    return includes;
}

// Of the system, in a source that has no business with it.
bool includesSystem(const fs::path& source, const std::string& place) {
    std::ifstream stream(source);
    const bool mayKnow = place.rfind("src/platform/", 0) == 0 ||
                         (place.rfind("src/codec/", 0) == 0 && place.find("_windows.") != std::string::npos);
    bool isFound = false;
    for (std::string line; !mayKnow && std::getline(stream, line);) {
        for (const char* name :
             {"windows.h", "objbase.h", "wincodec.h", "unistd.h", "fcntl.h", "pthread.h", "sys/"}) {
            isFound |= line.find(std::string("include <") + name) != std::string::npos;
        }
    }
    return isFound;
}

bool isSource(const fs::path& path) { return path.extension() == ".cpp" || path.extension() == ".h"; }

TEST(Includes, RunAsTheTableOfRoomsSays) {
    if (!fs::is_directory(kRoot / "src")) {
        GTEST_SKIP() << "the sources are not here: " << kRoot;
    }
    const Rooms rooms = readTable();
    unsigned arrows = 0;
    for (const char* folder : {"src", "tools"}) {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kRoot / folder)) {
            if (!isSource(entry.path())) {
                continue;
            }
            const std::string place = fs::relative(entry.path(), kRoot).generic_string();
            const std::string from =
                folder == std::string("tools") ? folder : roomOf(fs::relative(entry.path(), kRoot / "src"));
            EXPECT_FALSE(includesSystem(entry.path(), place)) << place;
            ASSERT_TRUE(rooms.count(from)) << place << " lies in a room that the table does not name";
            for (const std::string& include : includesOf(entry.path())) {
                if (fs::exists(kRoot / "src" / include) && roomOf(include) != from) {
                    EXPECT_TRUE(rooms.at(from).count(roomOf(include))) << place << " includes " << include;
                    ++arrows;
                }
            }
        }
    }
    EXPECT_GT(arrows, 200u) << "the includes are written in another way than this test looks for";
}

TEST(Includes, EveryPublicHeaderIsPartOfTheWholeAndOfTheReference) {
    const fs::path root = kRoot / "include";
    if (!fs::is_directory(root)) {
        GTEST_SKIP() << "the headers are not here: " << root;
    }
    const std::string whole = "qor/texsmith/texsmith.h";
    const std::set<std::string> includes = includesOf(root / whole);
    std::ifstream topics(kRoot / "docs" / "reference" / "topics.dox");
    const std::set<std::string> words(std::istream_iterator<std::string>(topics), {});
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = fs::relative(entry.path(), root).generic_string();
        if (isSource(entry.path())) {
            EXPECT_TRUE(name == whole || includes.count(name)) << whole << " lacks " << name;
            EXPECT_TRUE(words.count(name.substr(4))) << "topics.dox lacks " << name;
        }
    }
}

} // namespace
