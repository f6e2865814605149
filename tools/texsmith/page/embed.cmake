# Writes OUTPUT, a C++ source with the page of reports as bytes: page.html of FOLDER with its style sheet and scripts
# inside it.
cmake_policy(VERSION 3.25)

file(READ ${FOLDER}/page.html page)
foreach(name IN ITEMS page.css blocks.js texels.js view.js page.js)
    file(READ ${FOLDER}/${name} text)
    string(REPLACE "<link rel=\"stylesheet\" href=\"${name}\">" "<style>\n${text}</style>" page "${page}")
    string(REPLACE "<script src=\"${name}\"></script>" "<script>\n${text}</script>" page "${page}")
endforeach()
string(HEX "${page}" bytes)
string(REGEX REPLACE "(................................................)" "\\1\n    " bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${OUTPUT} "// Made from the files in page/ by embed.cmake.
#include \"report_page.h\"

namespace Tool {

static const unsigned char s_bytes[] = {
    ${bytes}
};

std::string_view pageTemplate() { return {reinterpret_cast<const char*>(s_bytes), sizeof s_bytes}; }

} // namespace Tool
")
