# Locale data made by nlsc while the project is built: the full set as build/<preset>/home, the
# small fixed set of the unit tests as build/<preset>/testdata/home and, in the other byte order,
# testdata/big. An upstream file that changes is noticed by its digest, so only our own definitions
# are dependencies.
file(GLOB_RECURSE KESTRA_DEFINITIONS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/data/*)
set(KESTRA_HOME_DIR ${CMAKE_BINARY_DIR}/home)
add_custom_command(OUTPUT ${KESTRA_HOME_DIR}/nls/data/lx1boot.nlb
  COMMAND nlsc build --quiet --definitions ${CMAKE_SOURCE_DIR}/data
          --output ${KESTRA_HOME_DIR}/nls/data
  DEPENDS nlsc ${KESTRA_DEFINITIONS} COMMENT "Compiling the locale data" VERBATIM)
set(KESTRA_DATA_FILES ${KESTRA_HOME_DIR}/nls/data/lx1boot.nlb)

file(GLOB_RECURSE KESTRA_TEST_DEFINITIONS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/data/nlsc/*)
if(KESTRA_TEST_DEFINITIONS)
  foreach(set home big)
    set(order little)
    if(set STREQUAL big)
      set(order big)
    endif()
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/testdata/${set}/nls/data/lx1boot.nlb
      COMMAND nlsc build --quiet --definitions ${CMAKE_SOURCE_DIR}/tests/data/nlsc/definitions
              --sources ${CMAKE_SOURCE_DIR}/tests/data/nlsc/sources --byte-order=${order}
              --output ${CMAKE_BINARY_DIR}/testdata/${set}/nls/data
      DEPENDS nlsc ${KESTRA_TEST_DEFINITIONS} COMMENT "Compiling the test data (${order}-endian)"
      VERBATIM)
    list(APPEND KESTRA_DATA_FILES ${CMAKE_BINARY_DIR}/testdata/${set}/nls/data/lx1boot.nlb)
  endforeach()
endif()
add_custom_target(kestra_data ALL DEPENDS ${KESTRA_DATA_FILES})
