// Loads a file that may be damaged, in the two ways to learn of a failure: by results, and by exceptions.
#include <qor/texsmith/texsmith.h>

#include <cstdio>
#include <stdexcept>

using namespace qor::Texsmith;

namespace {

// What is wrong with a file comes as a warning, what is wrong with a call as a failed check.
void keepText(const char*, int, const char* format, ArgumentList* arguments) {
    std::printf("result: ");
    std::vprintf(format, *arguments);
    std::printf("\n");
}

void throwText(const char*, int, const char* format, ArgumentList* arguments) {
    char text[1024];
    std::vsnprintf(text, sizeof text, format, *arguments);
    throw std::runtime_error(text);
}

Raw::Error load(const char* file) {
    Configuration configuration;
    Raw::MemoryMappedImage image;
    return Raw::loadWithResult(&image, file, &configuration, 0);
}

} // namespace

// handling_errors FILE
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: handling_errors FILE\n");
        return 2;
    }
    setAssertCallback(&keepText);
    setWarningCallback(&keepText);
    const Raw::Error error = load(argv[1]);
    setAssertCallback(&throwText);
    setWarningCallback(&throwText);
    try {
        load(argv[1]);
    } catch (const std::runtime_error& failure) {
        std::printf("exception: %s\n", failure.what());
    }
    return error == Raw::kErrorNone ? 0 : 1;
}
