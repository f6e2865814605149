// Loads a file that may be damaged, in the two ways to learn of a failure: by results, and by exceptions.
#include <qor/texsmith/texsmith.h>

#include <cstdio>
#include <stdexcept>

using namespace qor::Texsmith;

namespace {

Raw::Error load(const char* file) {
    Configuration configuration;
    Raw::MemoryMappedImage image;
    return Raw::loadWithResult(&image, file, &configuration, 0);
}

void throwText(const char*, int, const char* format, ArgumentList* arguments) {
    char text[1024];
    std::vsnprintf(text, sizeof text, format, *arguments);
    throw std::runtime_error(text);
}

} // namespace

// handling_errors FILE
int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: handling_errors FILE\n");
        return 2;
    }
    const Raw::Error error = load(argv[1]); // at first reports are printed
    std::printf("result: %s\n", error == Raw::kErrorNone ? "good" : "failed");

    setAssertCallback(&throwText);  // what is wrong with a call
    setWarningCallback(&throwText); // what is wrong with a file
    try {
        load(argv[1]);
    } catch (const std::runtime_error& failure) {
        std::printf("exception: %s\n", failure.what());
    }
    return error == Raw::kErrorNone ? 0 : 1;
}
