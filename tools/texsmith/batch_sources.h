// Which files a conversion of many takes.
#pragma once

#include <string>
#include <vector>

namespace Tool {

struct BatchSource {
    std::string m_name; // as it is opened
    std::string
        m_place; // where it lies below its folder, or in its list: what is kept below an output folder
    bool m_isFound = false; // in a folder, and not named by the user
};

struct SourceRequest {
    std::vector<std::string> m_names; // files, URLs, folders, patterns such as "art/*.png"
    std::vector<std::string> m_lists; // files with a name in each line; "-" is the standard input
    bool m_entersFolders = false;
    std::string m_outputFolder; // not entered, so that results do not become sources; may be empty
};

struct SourceList {
    std::vector<BatchSource> m_files;
    std::vector<std::string> m_folders; // in which they were looked for
};

// In the order of the request, those of one folder or pattern sorted, each file once. In folders files and
// folders whose names begin with a dot are left out, and types of file that cannot be read. Throws
// UsageFailure for folders that are not to be entered and patterns that nothing matches, Failure for what
// cannot be listed.
SourceList collectSources(const SourceRequest& request);

} // namespace Tool
