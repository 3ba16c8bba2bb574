# Compiler flags of the whole tree, and of the runtime library.
find_program(KESTRA_CCACHE ccache)
if(KESTRA_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${KESTRA_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${KESTRA_CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Werror
                    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=." -fno-omit-frame-pointer)
# At -O3 g++ 12 takes std::string's own copying for overlapping and endless (GCC bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>
                      $<$<COMPILE_LANGUAGE:CXX>:-Wno-stringop-overread>)
endif()
if(KESTRA_SANITIZE)
  add_compile_options(-fsanitize=${KESTRA_SANITIZE} -fno-sanitize-recover=all -g)
  add_link_options(-fsanitize=${KESTRA_SANITIZE})
endif()
if(KESTRA_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# The runtime library: no exceptions, no run-time type information, nothing visible by default.
add_library(kestra_runtime_flags INTERFACE)
# A callback that throws passes through the library; the thread sanitizer counts the frames it leaves
# only where these know of exceptions.
if(NOT KESTRA_SANITIZE STREQUAL "thread")
  set(KESTRA_NO_EXCEPTIONS -fno-exceptions)
endif()
target_compile_options(kestra_runtime_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:${KESTRA_NO_EXCEPTIONS} -fno-rtti -fno-threadsafe-statics>
  # Tables computed by the compiler: clang counts steps.
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fconstexpr-steps=100000000>
  -ffunction-sections -fdata-sections)
