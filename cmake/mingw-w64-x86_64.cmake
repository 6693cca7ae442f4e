# Cross toolchain for the 64-bit Windows DLL with Debian's mingw-w64 compilers
# (posix-threads variants: g++-mingw-w64-x86-64-posix,
# gfortran-mingw-w64-x86-64-posix).
#
#   cmake -S . -B build-win -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake
#
# The C runtime is msvcrt.dll unless QCM_MINGW_CRT=ucrt (see below and
# docs/windows.md for what it means for the host's errno).
# The GCC runtime (libgcc, libstdc++, libgfortran, libquadmath, winpthread) is
# linked statically: the DLL imports only system DLLs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(QCM_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${QCM_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QCM_MINGW_TRIPLE}-g++-posix)
set(CMAKE_Fortran_COMPILER ${QCM_MINGW_TRIPLE}-gfortran-posix)
set(CMAKE_RC_COMPILER ${QCM_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${QCM_MINGW_TRIPLE}-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${QCM_MINGW_TRIPLE}-ranlib CACHE FILEPATH "")
set(CMAKE_OBJDUMP ${QCM_MINGW_TRIPLE}-objdump CACHE FILEPATH "")

# Libraries and headers come from the mingw-w64 sysroot only; programs
# (wine, objdump) from the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${QCM_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The C runtime: msvcrt.dll (QCM_MINGW_CRT=msvcrt, the default) or the
# Universal CRT (QCM_MINGW_CRT=ucrt). Debian's mingw-w64 and its static
# libstdc++, libgfortran and winpthread are built for msvcrt, and its GCC has
# no -mcrtdll switch; the ucrt choice links a copy of the compiler's specs
# with msvcrt replaced by ucrt and declares the UCRT's functions (_UCRT).
# That DLL imports only the UCRT, but the msvcrt-built libstdc++ then crashes
# in file streams (std::ifstream), which the tests use, so the default stays
# msvcrt. docs/windows.md says how a host reads the DLL's errno either way.
set(QCM_MINGW_CRT msvcrt CACHE STRING "C runtime of the Windows build: msvcrt or ucrt")
set_property(CACHE QCM_MINGW_CRT PROPERTY STRINGS msvcrt ucrt)
set(_qcm_crt_flags "")
set(_qcm_crt_link "")
if(QCM_MINGW_CRT STREQUAL "ucrt")
  set(QCM_UCRT_SPECS ${CMAKE_BINARY_DIR}/ucrt.specs)
  if(NOT EXISTS ${QCM_UCRT_SPECS})
    execute_process(COMMAND ${CMAKE_C_COMPILER} -dumpspecs OUTPUT_VARIABLE _qcm_specs RESULT_VARIABLE _qcm_rc)
    if(NOT _qcm_rc EQUAL 0)
      message(FATAL_ERROR "${CMAKE_C_COMPILER} -dumpspecs failed: is g++-mingw-w64-x86-64-posix installed?")
    endif()
    string(REPLACE "-lmsvcrt" "-lucrt" _qcm_specs "${_qcm_specs}")
    file(WRITE ${QCM_UCRT_SPECS} "${_qcm_specs}")
  endif()
  set(_qcm_crt_flags "-specs=${QCM_UCRT_SPECS} -D_UCRT")
  # winpthread calls msvcrt's x64 _setjmp, which the UCRT names __intrinsic_setjmp.
  set(_qcm_crt_link "-Wl,--defsym,_setjmp=__intrinsic_setjmp")
elseif(NOT QCM_MINGW_CRT STREQUAL "msvcrt")
  message(FATAL_ERROR "QCM_MINGW_CRT must be msvcrt or ucrt")
endif()
set(CMAKE_C_FLAGS_INIT "${_qcm_crt_flags}")
set(CMAKE_CXX_FLAGS_INIT "${_qcm_crt_flags}")
set(CMAKE_Fortran_FLAGS_INIT "${_qcm_crt_flags}")

# The GCC runtime linked in statically (libgcc, libstdc++, libgfortran,
# libquadmath, winpthread): the DLL and the test programs import only
# system DLLs.
set(_qcm_link_flags "-static ${_qcm_crt_link}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${_qcm_link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${_qcm_link_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${_qcm_link_flags}")
