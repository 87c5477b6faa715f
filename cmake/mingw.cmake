# Toolchain: builds for 64-bit Windows by mingw-w64; what is built runs under Wine. KVUTILITIES_WINDOWS_PREFIX, a variable or
# one of the environment, is the folder of the libraries that scripts/windows/dependencies.sh made.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
foreach(language_and_compiler IN ITEMS "C gcc" "CXX g++")
  separate_arguments(pair UNIX_COMMAND "${language_and_compiler}")
  list(GET pair 0 language)
  list(GET pair 1 compiler)
  # "posix" is the thread model of std::thread.
  set(CMAKE_${language}_COMPILER x86_64-w64-mingw32-${compiler}-posix)
endforeach()
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT KVUTILITIES_WINDOWS_PREFIX)
  set(KVUTILITIES_WINDOWS_PREFIX "$ENV{KVUTILITIES_WINDOWS_PREFIX}")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KVUTILITIES_WINDOWS_PREFIX)
set(CMAKE_PREFIX_PATH "${KVUTILITIES_WINDOWS_PREFIX}")
set(CMAKE_FIND_ROOT_PATH "${KVUTILITIES_WINDOWS_PREFIX}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind IN ITEMS LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_LIBDIR} "${KVUTILITIES_WINDOWS_PREFIX}/lib/pkgconfig")

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/windows/wine-run;${KVUTILITIES_WINDOWS_PREFIX}/bin")
