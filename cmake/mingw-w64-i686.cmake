# Cross-building for 32-bit Windows (the platform of the first clients: 32-bit
# Office and script hosts) with Debian's mingw-w64 for i686:
#   cmake -S . -B build-windows-i686 -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-i686.cmake
set(BREVANT_MINGW i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
