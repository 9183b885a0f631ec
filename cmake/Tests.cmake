# vrax_add_tests(NAME SOURCES ... [LIBRARIES ...] [LINK_LIBRARY] [WAITS] [TABLE]
#                [TIMEOUT seconds])
#
# One test program; ctest runs each of its cases in a process of its own, in a private mount
# namespace with its own /dev and lock directory, so cases never meet each other or a real port.
# LINK_LIBRARY links libvrax.so and sees the public header alone; without it the program links the
# library's objects and may look inside. WAITS marks cases that hardly compute: four of them run in
# the place of another one. TABLE labels what repeats one path of the library for many rows of data:
# CI runs it without sanitizers only.

find_package(GTest REQUIRED)
include(GoogleTest)

function(vrax_add_tests name)
  cmake_parse_arguments(ARG "LINK_LIBRARY;WAITS;TABLE" "TIMEOUT" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  set(places 4)
  if(ARG_WAITS)
    set(places 1)
  endif()
  set(labels "")
  if(ARG_TABLE)
    set(labels LABELS table)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE vrax_flags ${ARG_LIBRARIES} GTest::gtest GTest::gtest_main
                                        Threads::Threads)
  if(ARG_LINK_LIBRARY)
    target_link_libraries(${name} PRIVATE vrax)
  else()
    target_link_libraries(${name} PRIVATE vrax_core)
  endif()
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  # The library is what has to be fast; a test is compiled oftener than it runs.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests
    CROSSCOMPILING_EMULATOR "$<TARGET_FILE:vrax-instrument>;--none;--")
  add_dependencies(${name} vrax-instrument)
  # The cases that may take longest start first, so that none is waited for at the end.
  gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT ${ARG_TIMEOUT} COST ${ARG_TIMEOUT} PROCESSORS ${places} ${labels})
endfunction()
