# Reads the DLL's export and import tables (objdump -p) and checks them:
#  - the export table holds undecorated names of the table of exports and
#    nothing else (every name of the table when REQUIRE_ALL is set),
#  - the DLL imports only system DLLs: the kernel and one C runtime
#    (msvcrt.dll or the Universal CRT), never a GCC runtime DLL
#    (libstdc++, libgcc_s, libgfortran, libwinpthread).
# cmake -DOBJDUMP=... -DLIBRARY=... [-DREQUIRE_ALL=ON] -P check_dll.cmake
include(${CMAKE_CURRENT_LIST_DIR}/../cmake/Exports.cmake)

execute_process(COMMAND ${OBJDUMP} -p ${LIBRARY} OUTPUT_VARIABLE out RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "objdump -p failed on ${LIBRARY}")
endif()
string(REPLACE "\n" ";" rows "${out}")
set(exported "")
set(imported "")
set(in_names FALSE)
foreach(row IN LISTS rows)
  if(row MATCHES "^\\[Ordinal/Name Pointer\\] Table")
    set(in_names TRUE)
  elseif(in_names AND row MATCHES "^\t\\[ *[0-9]+\\] (.+)$")
    list(APPEND exported "${CMAKE_MATCH_1}")
  elseif(in_names)
    set(in_names FALSE)
  endif()
  if(row MATCHES "^\tDLL Name: (.+)$")
    list(APPEND imported "${CMAKE_MATCH_1}")
  endif()
endforeach()
list(SORT exported)

qcm_check_exported("${exported}" "the DLL")

foreach(dll IN LISTS imported)
  string(TOLOWER "${dll}" lower)
  if(NOT lower MATCHES "^(kernel32|advapi32|ntdll|msvcrt|ucrtbase|api-ms-win-crt-[a-z0-9-]+)\\.dll$")
    message(FATAL_ERROR "the DLL imports ${dll}; only system DLLs are allowed")
  endif()
endforeach()

list(LENGTH exported count)
qcm_export_names(expected)
list(LENGTH expected total)
string(REPLACE ";" " " imported "${imported}")
message(STATUS "${count} of ${total} exports, no other name; imports: ${imported}")
