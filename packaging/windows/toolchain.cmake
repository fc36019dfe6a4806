# Builds for 64-bit Windows with Debian's MinGW-w64 compilers and the libraries that ./dependencies made.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

if(DEFINED ENV{VORTA_WINDOWS_PREFIX})
  set(VORTA_WINDOWS_PREFIX $ENV{VORTA_WINDOWS_PREFIX})
elseif(DEFINED ENV{XDG_CACHE_HOME})
  set(VORTA_WINDOWS_PREFIX $ENV{XDG_CACHE_HOME}/vorta-studio/windows)
else()
  set(VORTA_WINDOWS_PREFIX $ENV{HOME}/.cache/vorta-studio/windows)
endif()

set(triple x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)
set(CMAKE_RC_COMPILER ${triple}-windres)

# The compiler keeps 32-byte vectors at stack addresses that are aligned to 16 bytes only; moves that ask for no
# alignment cost nothing on the processors that have such vectors.
set(CMAKE_C_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")

set(CMAKE_PREFIX_PATH ${VORTA_WINDOWS_PREFIX})
set(CMAKE_FIND_ROOT_PATH ${VORTA_WINDOWS_PREFIX} /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${VORTA_WINDOWS_PREFIX}/lib/pkgconfig)

# Programs that run during the build, and the tests, run under Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine)
