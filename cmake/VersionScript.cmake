# Writes the linker version script and the list of exported names from src/exports.txt.
# usage: cmake -DEXPORTS=... -DOUTPUT=... -P VersionScript.cmake
file(STRINGS ${EXPORTS} rows REGEX "^[A-Za-z]")
set(names "")
foreach(row IN LISTS rows)
  string(REGEX MATCH "^[A-Za-z0-9_]+" name "${row}")
  string(APPEND names "    ${name};\n")
endforeach()
if(names)
  set(names "  global:\n${names}")
endif()
file(WRITE ${OUTPUT} "KESTRA_19 {\n${names}  local:\n    *;\n};\n")
