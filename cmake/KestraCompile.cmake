# Compiler flags of the whole tree, and of the runtime library.
find_program(KESTRA_CCACHE ccache)
if(KESTRA_CCACHE)
  set(CMAKE_C_COMPILER_LAUNCHER ${KESTRA_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${KESTRA_CCACHE})
endif()

add_compile_options(-Wall -Wextra -Wconversion -Wshadow -Werror
                    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=." -fno-omit-frame-pointer)
if(KESTRA_SANITIZE)
  add_compile_options(-fsanitize=${KESTRA_SANITIZE} -fno-sanitize-recover=all -g)
  add_link_options(-fsanitize=${KESTRA_SANITIZE})
endif()
if(KESTRA_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# The runtime library: no exceptions, no run-time type information, nothing visible by default.
add_library(kestra_runtime_flags INTERFACE)
target_compile_options(kestra_runtime_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  # Tables computed by the compiler: clang counts steps.
  $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-fconstexpr-steps=100000000>
  -ffunction-sections -fdata-sections)
