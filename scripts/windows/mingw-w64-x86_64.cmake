# Cross-compiling Pictova for 64-bit Windows with Debian's mingw-w64 (posix
# threads). scripts/windows/build.sh passes PICTOVA_WINDOWS_QT, the Qt it
# built for Windows, and PICTOVA_WINDOWS_PREFIXES, the folders of the static
# libraries; programs built here run under Wine through wine-run.sh (the
# tests, the artwork generator).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(PICTOVA_MINGW x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${PICTOVA_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PICTOVA_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${PICTOVA_MINGW}-windres)

# try_compile() reads this file again in a project of its own.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PICTOVA_WINDOWS_QT PICTOVA_WINDOWS_PREFIXES)

set(CMAKE_FIND_ROOT_PATH /usr/${PICTOVA_MINGW} ${PICTOVA_WINDOWS_QT} ${PICTOVA_WINDOWS_PREFIXES})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config sees only the Windows libraries, and their static link lines:
# libheif pulls in libde265 and x265 only through its private requirements.
set(pictova_pc_path "")
foreach(prefix IN LISTS PICTOVA_WINDOWS_PREFIXES)
  string(APPEND pictova_pc_path "${prefix}/lib/pkgconfig:")
endforeach()
set(ENV{PKG_CONFIG_LIBDIR} "${pictova_pc_path}")
set(ENV{PKG_CONFIG_PATH} "")
set(PKG_CONFIG_ARGN --static)

# The runtime DLLs of the compiler, found beside the programs under Wine.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libstdc++-6.dll
                OUTPUT_VARIABLE pictova_libstdcxx OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(pictova_gcc_dlls "${pictova_libstdcxx}" DIRECTORY)
set(PICTOVA_MINGW_DLL_DIRS ${pictova_gcc_dlls} /usr/${PICTOVA_MINGW}/lib)

set(PICTOVA_WINDOWS_DLL_DIRS ${PICTOVA_MINGW_DLL_DIRS} ${PICTOVA_WINDOWS_QT}/bin)
string(REPLACE ";" ":" pictova_dll_path "${PICTOVA_WINDOWS_DLL_DIRS}")
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh
    "--dlls=${pictova_dll_path}" "--plugins=${PICTOVA_WINDOWS_QT}/plugins")
