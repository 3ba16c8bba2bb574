# cmake -DINPUT=charset_aliases.csv -DOUTPUT=charset_aliases.inc -P AliasTable.cmake
file(STRINGS ${INPUT} ROWS ENCODING UTF-8)
list(POP_FRONT ROWS)  # the titles
set(TEXT "// Made from charset_aliases.csv by AliasTable.cmake.\n")
foreach(ROW IN LISTS ROWS)
  if(NOT ROW MATCHES "^([0-9]+),([^,\"]+)")
    message(FATAL_ERROR "not an id and an alias: ${ROW}")
  endif()
  string(APPEND TEXT "{${CMAKE_MATCH_1}, \"${CMAKE_MATCH_2}\"},\n")
endforeach()
file(WRITE ${OUTPUT} "${TEXT}")
