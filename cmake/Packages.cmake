# Debian packages with CPack, one for each component of Install.cmake. scripts/package makes them.

option(VRAX_DEBIAN_PACKAGES "Install what only a Debian package needs (scripts/package)" OFF)
set(VRAX_PACKAGE_MAINTAINER "vrax developers <maintainers@vrax.invalid>"
    CACHE STRING "Who answers for the Debian packages, as NAME <ADDRESS>")
set(VRAX_PACKAGE_REVISION 1
    CACHE STRING "Revision of the Debian packages of one version of the sources")

set(VRAX_DEBIAN_VERSION ${PROJECT_VERSION}-${VRAX_PACKAGE_REVISION})
set(runtime ${VRAX_RUNTIME_NAME})
set(development libvrax-dev)
set(tools vrax-tools)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vrax)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "${VRAX_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${VRAX_PACKAGE_REVISION})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The programs find the library of this build; who depends on it is said below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

# Each description begins with its own summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(about "An instrument on a USB port that plays ECG, and with plug-in modules
respiration and PPG signals, to patient monitors under test.
")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS ${tools})
# A program built with this version may use what an older one does not export.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "USB patient-signal simulator, shared library
${about}
This is the library, which computes every sample and streams it.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} (= ${VRAX_DEBIAN_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS ${tools})
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "USB patient-signal simulator, development files
${about}
This is the header of the library, the files for find_package() and
pkg-config, documents and examples.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${tools})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (= ${VRAX_DEBIAN_VERSION})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "USB patient-signal simulator, programs
${about}
These are the program that drives the instrument, a simulated instrument,
and a template of the udev rule that lets users reach the hardware.")

# Run by dpkg after the files are there.
set(debian ${PROJECT_BINARY_DIR}/debian)
configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/postinst.in ${debian}/postinst @ONLY
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                   WORLD_EXECUTE)
configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/triggers ${debian}/triggers COPYONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${debian}/postinst;${debian}/triggers")

# Manual pages are compressed in a package.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/compress.cmake)

# Each package has its own copyright and changelog. The date is that of the sources where
# SOURCE_DATE_EPOCH gives it, so that the same sources make the same packages.
if(VRAX_DEBIAN_PACKAGES)
  string(TIMESTAMP VRAX_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
  configure_file(${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in ${debian}/changelog.Debian
    @ONLY)
  execute_process(COMMAND gzip -9nf ${debian}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
  foreach(component runtime development tools)
    install(FILES ${PROJECT_BINARY_DIR}/copyright ${debian}/changelog.Debian.gz
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${${component}} COMPONENT ${component})
  endforeach()
endif()

include(CPack)
