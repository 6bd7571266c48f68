# Cross-builds TimeKernel.dll for 64-bit Windows with Debian's MinGW-w64 compilers (the POSIX thread model
# variants: g++-mingw-w64-x86-64-posix, gfortran-mingw-w64-x86-64-posix), and runs what it builds under wine64.
#
#   cmake -S . -B build-windows -G Ninja --toolchain cmake/mingw-w64-x86_64.cmake
#
# Tests, the example and the tools then run through CMAKE_CROSSCOMPILING_EMULATOR, so ctest runs them unchanged.
# Wine keeps its Windows installation (the prefix) inside the build directory and prints none of its own traces.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(TIMEKERNEL_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${TIMEKERNEL_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TIMEKERNEL_MINGW_TRIPLE}-g++-posix)
set(CMAKE_Fortran_COMPILER ${TIMEKERNEL_MINGW_TRIPLE}-gfortran-posix)
set(CMAKE_RC_COMPILER ${TIMEKERNEL_MINGW_TRIPLE}-windres)

# Libraries and headers come from the MinGW-w64 tree only; programs (the emulator, objdump) from the host.
set(CMAKE_FIND_ROOT_PATH /usr/${TIMEKERNEL_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Debian 12 installs wine64 outside the PATH.
find_program(TIMEKERNEL_WINE64 NAMES wine64 PATHS /usr/lib/wine)
if(TIMEKERNEL_WINE64)
  # WINEDLLOVERRIDES: no .NET or HTML engine is wanted, so Wine does not offer to install them.
  set(CMAKE_CROSSCOMPILING_EMULATOR
      ${CMAKE_COMMAND} -E env WINEDEBUG=-all WINEPREFIX=${CMAKE_BINARY_DIR}/wineprefix
      "WINEDLLOVERRIDES=mscoree,mshtml=" ${TIMEKERNEL_WINE64})
endif()
