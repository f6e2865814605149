// The entry on Windows, whose arguments are wide.
#include "application.h"

#include "qor/texsmith/raw/process.h"

int wmain(int argc, wchar_t** argv) {
    using namespace qor::Texsmith::Raw;
    return main_utf8(argc, argv, &Tool::runApplication, g_mallocAllocator);
}
