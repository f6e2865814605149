#include <qor/texsmith/texsmith.h>

#include <cstdio>

// consumer SOURCE DESTINATION
int main(int argc, char** argv) {
    using namespace qor::Texsmith;
    if (argc != 3) {
        return 2;
    }
    setAssertCallback(&throwMessageWhenFalse);
    try {
        Configuration configuration;
        return Raw::convert(argv[1], argv[2], &configuration);
    } catch (char* text) {
        std::fprintf(stderr, "%s\n", text);
        return 1;
    }
}
