// Converts a file into another type, and tells why when it cannot.
#include <qor/texsmith/texsmith.h>

#include <cstdio>

using namespace qor::Texsmith;

// convert_file SOURCE DESTINATION
int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: convert_file SOURCE DESTINATION\n");
        return 2;
    }
    setAssertCallback(&throwMessageWhenFalse); // failed checks are thrown; without this they are printed
    try {
        Configuration configuration; // work runs on all cores
        const Raw::Error error = Raw::convertWithResult(argv[1], argv[2], &configuration);
        return error == Raw::kErrorNone ? 0 : 1; // a warning on the standard output said why
    } catch (const char* message) {
        std::fprintf(stderr, "%s\n", message);
        return 1;
    }
}
