# Warnings, sanitizers and code-generation flags, as one interface target that every target of the
# project links.

add_library(vrax_flags INTERFACE)
target_compile_options(vrax_flags INTERFACE -Wall -Wextra -Wshadow -Wconversion)
# Multiplications and additions are never fused: a sample is the same on every machine.
target_compile_options(vrax_flags INTERFACE -ffp-contract=off)
if(VRAX_WERROR)
  target_compile_options(vrax_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(vrax_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wthread-safety>
    $<$<COMPILE_LANGUAGE:CXX>:-Wthread-safety-beta>)
endif()
if(VRAX_SANITIZE)
  target_compile_options(vrax_flags INTERFACE -fsanitize=${VRAX_SANITIZE} -fno-omit-frame-pointer)
  target_link_options(vrax_flags INTERFACE -fsanitize=${VRAX_SANITIZE})
  if(VRAX_SANITIZE MATCHES "undefined")
    target_compile_options(vrax_flags INTERFACE -fno-sanitize-recover=all)
  endif()
endif()
if(VRAX_COVERAGE)
  target_compile_options(vrax_flags INTERFACE --coverage)
  target_link_options(vrax_flags INTERFACE --coverage)
endif()

# Link-time optimisation for the library and the benchmarks alone: objects carry both forms, so the
# tests link the ordinary code quickly. The path of a sample crosses several rooms.
add_library(vrax_lto_compile INTERFACE)
add_library(vrax_lto_link INTERFACE)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Release"
   AND NOT VRAX_SANITIZE AND NOT VRAX_COVERAGE)
  target_compile_options(vrax_lto_compile INTERFACE -flto=auto -ffat-lto-objects)
  target_link_options(vrax_lto_link INTERFACE -flto=auto -O3)
endif()
