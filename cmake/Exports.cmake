# Reads the one table of exports (src/boundary/export_table.def).
set(QCM_EXPORT_TABLE ${CMAKE_CURRENT_LIST_DIR}/../src/boundary/export_table.def)

function(qcm_export_names out)
  file(STRINGS ${QCM_EXPORT_TABLE} lines REGEX "^QCM_EXPORT\\(")
  set(names "")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^QCM_EXPORT\\(([A-Za-z0-9_]+),.*" "\\1" name "${line}")
    list(APPEND names ${name})
  endforeach()
  set(${out} ${names} PARENT_SCOPE)
endfunction()

# ELF version script: the exports global, everything else local.
function(qcm_write_version_script path)
  qcm_export_names(names)
  set(text "{\n  global:\n")
  foreach(name IN LISTS names)
    string(APPEND text "    ${name};\n")
  endforeach()
  string(APPEND text "  local:\n    *;\n};\n")
  file(GENERATE OUTPUT ${path} CONTENT "${text}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${QCM_EXPORT_TABLE})
endfunction()
