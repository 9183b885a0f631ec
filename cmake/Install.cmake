# What `cmake --install` puts where. Three components, one Debian package each: `runtime` (the
# shared library), `development` (what a program is built with), `tools` (the programs).

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# In /usr the loader and the compiler look by themselves; anywhere else the tree finds its own parts
# by their place next to each other, so that it can be moved.
set(VRAX_IS_SYSTEM_PREFIX OFF)
set(VRAX_PC_PREFIX "\${pcfiledir}")
string(REGEX REPLACE "[^/]+" ".." pcAscent ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
string(APPEND VRAX_PC_PREFIX "/${pcAscent}")
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(VRAX_IS_SYSTEM_PREFIX ON)
  set(VRAX_PC_PREFIX /usr)
endif()

# vrax_install_program(TARGET)
function(vrax_install_program target)
  if(NOT VRAX_IS_SYSTEM_PREFIX)
    file(RELATIVE_PATH toLibrary ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${toLibrary}")
  endif()
  install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endfunction()

# The library. The name without a number is for the linker of a build.
install(TARGETS vrax EXPORT vraxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# Named by the SONAME: the next one can be installed beside it.
set(VRAX_RUNTIME_NAME libvrax${PROJECT_VERSION_MAJOR})
install(FILES ${PROJECT_SOURCE_DIR}/packaging/tmpfiles.conf
  DESTINATION lib/tmpfiles.d RENAME ${VRAX_RUNTIME_NAME}.conf COMPONENT runtime)

# What programs are built with.
install(FILES ${PROJECT_SOURCE_DIR}/src/api/vrax.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
set(vraxCmakeDir ${CMAKE_INSTALL_LIBDIR}/cmake/vrax)
install(EXPORT vraxTargets NAMESPACE vrax:: FILE vrax-targets.cmake
  DESTINATION ${vraxCmakeDir} COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vrax-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_SOURCE_DIR}/packaging/vrax-config.cmake
  ${PROJECT_BINARY_DIR}/vrax-config-version.cmake
  DESTINATION ${vraxCmakeDir} COMPONENT development)
configure_file(${PROJECT_SOURCE_DIR}/packaging/vrax.pc.in ${PROJECT_BINARY_DIR}/vrax.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vrax.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# What people read.
install(FILES ${PROJECT_SOURCE_DIR}/README.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING REGEX "\\.(md|png|svg|c|cpp|h|py|txt)$"
  PATTERN draw_ecg EXCLUDE PATTERN __pycache__ EXCLUDE
  # What draws and makes the documents, not what they are.
  PATTERN docs/reference EXCLUDE REGEX "/docs/.*\\.py$" EXCLUDE PATTERN CMakeLists.txt EXCLUDE)
install(CODE "set(docs \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DOCDIR}\")"
  COMPONENT development)
install(SCRIPT ${PROJECT_SOURCE_DIR}/cmake/InstalledLinks.cmake COMPONENT development)
set(VRAX_RECORDS_COPYRIGHT "")
if(VRAX_EC13_RECORDS OR VRAX_NOISE_RECORDS)
  file(READ ${PROJECT_SOURCE_DIR}/packaging/copyright-records VRAX_RECORDS_COPYRIGHT)
endif()
configure_file(${PROJECT_SOURCE_DIR}/packaging/copyright.in ${PROJECT_BINARY_DIR}/copyright @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/copyright
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)

# The programs, as far as this build makes them, and what a site fills in for its instruments.
foreach(program vrax_program vrax-instrument)
  if(TARGET ${program})
    vrax_install_program(${program})
  endif()
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/packaging/70-vrax.rules.in
  DESTINATION ${CMAKE_INSTALL_DATADIR}/vrax COMPONENT tools)
if(TARGET vrax-instrument)
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/vrax-instrument.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endif()
