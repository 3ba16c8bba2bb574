# Locale data and time zones, made by nlsc while the project is built:
#   build/<preset>/home              the full set, which libkciei.so embeds
#   build/<preset>/home-english      the small set, which libkciicus.so embeds
#   build/<preset>/testdata/home     the fixed set of the unit tests; testdata/big: big-endian
# A change of an upstream file is refused by the manifest, so only our own definitions, whose part
# the manifest is, are dependencies.
file(GLOB_RECURSE KESTRA_DEFINITIONS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/data/*)
file(GLOB_RECURSE KESTRA_TEST_DEFINITIONS CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tests/data/nlsc/*)

# kestra_compile_data(HOME DESCRIPTION INPUTS ARGUMENTS...): HOME/nls/data from the definitions.
set(KESTRA_DATA_FILES "")
function(kestra_compile_data home description inputs)
  add_custom_command(OUTPUT ${home}/nls/data/lx1boot.nlb
    COMMAND nlsc build --quiet --output ${home}/nls/data ${ARGN}
    DEPENDS nlsc ${${inputs}} COMMENT "Compiling ${description}" VERBATIM)
  list(APPEND KESTRA_DATA_FILES ${home}/nls/data/lx1boot.nlb)
  set(KESTRA_DATA_FILES ${KESTRA_DATA_FILES} PARENT_SCOPE)
endfunction()

set(KESTRA_HOME_DIR ${CMAKE_BINARY_DIR}/home)
kestra_compile_data(${KESTRA_HOME_DIR} "the locale data" KESTRA_DEFINITIONS
  --definitions ${CMAKE_SOURCE_DIR}/data)
kestra_compile_data(${CMAKE_BINARY_DIR}/home-english "the small locale data" KESTRA_DEFINITIONS
  --definitions ${CMAKE_SOURCE_DIR}/data --only ${CMAKE_SOURCE_DIR}/data/english.list)
foreach(order little big)
  set(home ${CMAKE_BINARY_DIR}/testdata/home)
  if(order STREQUAL big)
    set(home ${CMAKE_BINARY_DIR}/testdata/big)
  endif()
  kestra_compile_data(${home} "the test data (${order}-endian)" KESTRA_TEST_DEFINITIONS
    --definitions ${CMAKE_SOURCE_DIR}/tests/data/nlsc/definitions
    --sources ${CMAKE_SOURCE_DIR}/tests/data/nlsc/sources --byte-order=${order})
endforeach()

function(kestra_zone_stamp variable home)
  file(RELATIVE_PATH name ${CMAKE_BINARY_DIR} ${home})
  string(MAKE_C_IDENTIFIER ${name} name)
  set(${variable} ${CMAKE_BINARY_DIR}/generated/zones_${name}.stamp PARENT_SCOPE)
endfunction()

# kestra_compile_zones(HOME DESCRIPTION INPUTS ARGUMENTS...): HOME/kescore/zoneinfo. The release is
# part of the files' names, so a stamp stands for them.
function(kestra_compile_zones home description inputs)
  kestra_zone_stamp(stamp ${home})
  add_custom_command(OUTPUT ${stamp}
    COMMAND nlsc zones --quiet --output ${home}/kescore/zoneinfo ${ARGN}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS nlsc ${${inputs}} COMMENT "Compiling ${description}" VERBATIM)
  list(APPEND KESTRA_DATA_FILES ${stamp})
  set(KESTRA_DATA_FILES ${KESTRA_DATA_FILES} PARENT_SCOPE)
endfunction()

set(KESTRA_ZONE_INPUTS ${CMAKE_SOURCE_DIR}/data/zones.csv)
if(EXISTS /usr/share/zoneinfo/tzdata.zi)
  list(APPEND KESTRA_ZONE_INPUTS /usr/share/zoneinfo/tzdata.zi)
endif()
set(KESTRA_TEST_ZONE_SOURCE ${CMAKE_SOURCE_DIR}/tests/data/nlsc/sources/usr/share/zoneinfo/tzdata.zi)
kestra_compile_zones(${KESTRA_HOME_DIR} "the time zones" KESTRA_ZONE_INPUTS
  --definitions ${CMAKE_SOURCE_DIR}/data)
kestra_compile_zones(${CMAKE_BINARY_DIR}/home-english "the common time zones" KESTRA_ZONE_INPUTS
  --definitions ${CMAKE_SOURCE_DIR}/data --common)
kestra_compile_zones(${CMAKE_BINARY_DIR}/testdata/home "the test zones" KESTRA_TEST_DEFINITIONS
  --definitions ${CMAKE_SOURCE_DIR}/tests/data/nlsc/definitions --source ${KESTRA_TEST_ZONE_SOURCE})
add_custom_target(kestra_data ALL DEPENDS ${KESTRA_DATA_FILES})

# The data libraries hold one archive each; they need no other library.
foreach(library kciei kciicus)
  set(home ${KESTRA_HOME_DIR})
  if(library STREQUAL kciicus)
    set(home ${CMAKE_BINARY_DIR}/home-english)
  endif()
  kestra_zone_stamp(stamp ${home})
  set(KESTRA_DATA_LIBRARY ${library})
  set(KESTRA_DATA_ARCHIVE ${CMAKE_BINARY_DIR}/generated/${library}.archive)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/data_library.S.in
    ${CMAKE_BINARY_DIR}/generated/${library}.S @ONLY)
  add_custom_command(OUTPUT ${KESTRA_DATA_ARCHIVE}
    COMMAND nlsc pack ${home} --output ${KESTRA_DATA_ARCHIVE}
    DEPENDS nlsc ${home}/nls/data/lx1boot.nlb
            ${stamp} COMMENT "Packing lib${library}" VERBATIM)
  set_source_files_properties(${CMAKE_BINARY_DIR}/generated/${library}.S PROPERTIES
    OBJECT_DEPENDS ${KESTRA_DATA_ARCHIVE})
  add_library(${library} SHARED ${CMAKE_BINARY_DIR}/generated/${library}.S)
  add_dependencies(${library} kestra_data)
  set_target_properties(${library} PROPERTIES LINKER_LANGUAGE C COMPILE_OPTIONS ""
    LINK_OPTIONS "-nostdlib;-Wl,--build-id=none" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
  install(TARGETS ${library} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endforeach()

install(TARGETS nlsc RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${KESTRA_HOME_DIR}/nls ${KESTRA_HOME_DIR}/kescore
  DESTINATION ${CMAKE_INSTALL_DATADIR}/kestra
  FILES_MATCHING PATTERN "*.nlb" PATTERN "*.dat" PATTERN ".*" EXCLUDE)
install(FILES ${CMAKE_SOURCE_DIR}/THIRD_PARTY.md DESTINATION ${CMAKE_INSTALL_DATADIR}/kestra)
