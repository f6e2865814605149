# Builds for Windows (x86-64) with the MinGW cross compiler, and runs what was built under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The variant with POSIX threads: the other one has no std::thread and no std::mutex.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix) # for GoogleTest
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# The stack is aligned to 16 bytes only, and this compiler spills 32-byte registers as if it were to 32.
set(CMAKE_CXX_FLAGS_INIT -Wa,-muse-unaligned-vector-move)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH) # a user's CMAKE_PREFIX_PATH lies outside the root

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../scripts/wine)
