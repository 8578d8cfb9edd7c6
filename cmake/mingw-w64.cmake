# Cross-building for 64-bit Windows with Debian's mingw-w64 (posix threads):
#   cmake -S . -B build-windows -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake
# mingw-w64-i686.cmake sets BREVANT_MINGW first for 32-bit Windows.
set(CMAKE_SYSTEM_NAME Windows)
if(NOT BREVANT_MINGW)
  set(BREVANT_MINGW x86_64-w64-mingw32)
  set(CMAKE_SYSTEM_PROCESSOR x86_64)
endif()
set(CMAKE_C_COMPILER ${BREVANT_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${BREVANT_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${BREVANT_MINGW}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${BREVANT_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
