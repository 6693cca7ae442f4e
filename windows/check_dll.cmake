# Reads the DLL's export and import tables (objdump -p) and checks them:
#  - the export table holds undecorated names of the table of exports and
#    nothing else (every name of the table when REQUIRE_ALL is set),
#  - the DLL imports only system DLLs: the kernel and one C runtime
#    (msvcrt.dll or the Universal CRT), never a GCC runtime DLL
#    (libstdc++, libgcc_s, libgfortran, libwinpthread).
# cmake -DOBJDUMP=... -DLIBRARY=... -DTABLE=... [-DREQUIRE_ALL=ON] -P check_dll.cmake
file(STRINGS ${TABLE} lines REGEX "^QCM_EXPORT\\(")
set(expected "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^QCM_EXPORT\\(([A-Za-z0-9_]+),.*" "\\1" name "${line}")
  list(APPEND expected ${name})
endforeach()
list(SORT expected)

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

set(extra ${exported})
list(REMOVE_ITEM extra ${expected})
set(missing ${expected})
list(REMOVE_ITEM missing ${exported})
if(extra)
  message(FATAL_ERROR "the DLL exports names that are not in the table: ${extra}")
endif()
if(missing AND REQUIRE_ALL)
  message(FATAL_ERROR "exports of the table missing from the DLL: ${missing}")
endif()

foreach(dll IN LISTS imported)
  string(TOLOWER "${dll}" lower)
  if(NOT lower MATCHES "^(kernel32|advapi32|ntdll|msvcrt|ucrtbase|api-ms-win-crt-[a-z0-9-]+)\\.dll$")
    message(FATAL_ERROR "the DLL imports ${dll}; only system DLLs are allowed")
  endif()
endforeach()

list(LENGTH exported count)
list(LENGTH expected total)
string(REPLACE ";" " " imported "${imported}")
message(STATUS "${count} of ${total} exports, no other name; imports: ${imported}")
