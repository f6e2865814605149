# Builds for Linux on 64-bit ARM with Debian's cross compiler, and runs what was built under QEMU.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc) # for GoogleTest
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# The libraries of the machine that builds are not for this one.
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH) # a user's CMAKE_PREFIX_PATH lies outside the root

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64;-L;/usr/aarch64-linux-gnu)
set(TEXSMITH_DEBIAN_ARCHITECTURE arm64)
