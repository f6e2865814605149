// The shared pictures that tests read where they are.
#pragma once

#include <cstdlib>
#include <filesystem>

namespace TestSupport {

inline std::filesystem::path corpus() {
    const char* path = std::getenv("TEXSMITH_CORPUS");
    return path != nullptr ? path : TEXSMITH_SOURCE_DIR "/../shared/corpus";
}

} // namespace TestSupport
