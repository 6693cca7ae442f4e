# The 64-bit Windows DLL, cross-built with mingw-w64 (cmake/mingw-w64-x86_64.cmake)
# and tested under wine. Included by the top-level CMakeLists.txt before it
# looks for Boost; provides:
#   - a folder that holds only the Boost headers, for the cross compiler,
#   - LAPACK_LIBRARIES: a static LAPACK/BLAS subset built from Debian's LAPACK
#     source package (QCM_LAPACK_SOURCE_DIR), with the library's own xerbla,
#   - googletest cross-built from Debian's source (/usr/src/googletest),
#   - wine as the emulator that CTest runs every test program through,
#   - qcm_windows_dll(<target>): names and links the DLL.
# scripts/windows.sh sets all of this up from a fresh machine.
include_guard(GLOBAL)

set(QCM_WINDOWS_DIR ${CMAKE_CURRENT_LIST_DIR})

# The DLL and every test program in one folder, where Windows looks for a
# program's DLLs first.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

# glibc declares M_PI and friends under -std=c++17; mingw-w64's math.h only
# when asked.
add_compile_definitions(_USE_MATH_DEFINES)

# Boost is header-only for this library: the cross compiler sees the Boost
# headers through a folder holding nothing else, never the build machine's
# whole /usr/include.
set(QCM_BOOST_HEADERS /usr/include/boost CACHE PATH "The Boost header folder to build against")
set(QCM_BOOST_ROOT ${PROJECT_BINARY_DIR}/boost-headers)
if(NOT EXISTS ${QCM_BOOST_ROOT}/boost/version.hpp)
  file(MAKE_DIRECTORY ${QCM_BOOST_ROOT})
  file(CREATE_LINK ${QCM_BOOST_HEADERS} ${QCM_BOOST_ROOT}/boost SYMBOLIC)
endif()
set(Boost_NO_BOOST_CMAKE ON)
set(Boost_NO_SYSTEM_PATHS ON)
set(Boost_INCLUDE_DIR ${QCM_BOOST_ROOT} CACHE PATH "Boost headers only" FORCE)

# LAPACK and BLAS: the double-precision routines the linear algebra calls,
# and everything they call in turn, compiled from the reference sources into
# a static library that goes into the DLL. The reference xerbla is replaced
# by one that returns (xerbla.c).
set(QCM_LAPACK_SOURCE_DIR "" CACHE PATH "Unpacked Debian LAPACK source package (apt-get source lapack)")
if(NOT EXISTS ${QCM_LAPACK_SOURCE_DIR}/SRC/dgeqrf.f)
  message(FATAL_ERROR "QCM_LAPACK_SOURCE_DIR must name an unpacked LAPACK source tree "
                      "(scripts/windows.sh fetches it with apt-get source lapack)")
endif()
enable_language(Fortran)
include(${QCM_WINDOWS_DIR}/LapackSubset.cmake)
set(QCM_LAPACK_ROUTINES dgeqrf dgeqp3 dormqr dorgqr dtrtrs dgesdd dgels dgelsy ilaenv dlamch dnrm2 dswap
    dcopy dlarfg dlarf dtrsm)
qcm_lapack_subset(${QCM_LAPACK_SOURCE_DIR} "${QCM_LAPACK_ROUTINES}" "xerbla" QCM_LAPACK_FILES)
add_library(qcm_lapack STATIC ${QCM_LAPACK_FILES} ${QCM_WINDOWS_DIR}/xerbla.c)
set_target_properties(qcm_lapack PROPERTIES Fortran_MODULE_DIRECTORY ${PROJECT_BINARY_DIR}/lapack-modules)
# The reference build's flags: recursive (stack) locals, no optimisation that
# changes the IEEE arithmetic the routines rely on.
target_compile_options(qcm_lapack PRIVATE $<$<COMPILE_LANGUAGE:Fortran>:-O2 -frecursive -w>)
# The runtime DLL's pow instead of mingw-w64's (crt_pow.c), for the library
# and the internal tests alike.
add_library(qcm_windows_runtime STATIC ${QCM_WINDOWS_DIR}/crt_pow.c)
target_compile_options(qcm_windows_runtime PRIVATE -fno-builtin -Wall -Wextra)
set(LAPACK_LIBRARIES qcm_lapack qcm_windows_runtime)
set(LAPACK_FOUND TRUE)

# googletest and googlemock built with the cross compiler from Debian's
# source; the tests' find_package(GTest) is skipped when these targets exist.
if(QCM_BUILD_TESTS AND NOT TARGET GTest::gtest_main)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()

# Every test program runs under wine through this wrapper: its own prefix in
# the build tree, headless, warm server, and a gtest program that ends before
# its tests finished fails even with exit status 0.
find_program(QCM_WINE64 NAMES wine64 PATHS /usr/lib/wine NO_DEFAULT_PATH)
find_program(QCM_WINE64 NAMES wine64)
find_program(QCM_WINESERVER NAMES wineserver PATHS /usr/lib/wine)
set(QCM_WINE_PREFIX ${PROJECT_BINARY_DIR}/wineprefix CACHE PATH "Wine prefix for the test runs")
configure_file(${QCM_WINDOWS_DIR}/wine-run.sh.in ${PROJECT_BINARY_DIR}/wine-run.sh @ONLY
               FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                WORLD_READ WORLD_EXECUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR ${PROJECT_BINARY_DIR}/wine-run.sh)

# The DLL: Quillon.Core.Math.dll with the import library Quillon.Core.Math.lib
# and a module-definition file of its exports beside it (for hosts that make
# their own import library). Only the functions marked QCM_API are exported:
# nothing from the statically linked runtimes or from Boost is.
function(qcm_windows_dll target)
  set_target_properties(${target} PROPERTIES PREFIX "" IMPORT_PREFIX "" IMPORT_SUFFIX ".lib")
  target_link_options(${target} PRIVATE "LINKER:--exclude-all-symbols"
                      "LINKER:--output-def,${PROJECT_BINARY_DIR}/bin/Quillon.Core.Math.def")
endfunction()
