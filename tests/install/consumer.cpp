#define SNAN "the client's"
#include <qor/texsmith/texsmith.h>

#include <cstdio>

static_assert(sizeof SNAN == sizeof "the client's", "the headers leave the client's macros alone");

// consumer SOURCE DESTINATION
int main(int argc, char** argv) {
    using namespace qor::Texsmith;
    if (argc != 3) {
        return 2;
    }
    if (getLibraryVersion() != QOR_TEXSMITH_VERSION) {
        return 3;
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
