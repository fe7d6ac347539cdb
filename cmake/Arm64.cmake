# Builds for arm64 on another machine, with the libraries that scripts/test-arm64 lays into
# build/arm64-root, and runs the programs by emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-root)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Nobody has configured the packages there: these two are otherwise found through a choice of the
# system's.
set(algebra /usr/lib/aarch64-linux-gnu/blas:/usr/lib/aarch64-linux-gnu/lapack)
string(REPLACE ":" ":${CMAKE_SYSROOT}" links "${CMAKE_SYSROOT}${algebra}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${links}")
set(CMAKE_CROSSCOMPILING_EMULATOR
  qemu-aarch64-static -L ${CMAKE_SYSROOT} -E LD_LIBRARY_PATH=${algebra})
