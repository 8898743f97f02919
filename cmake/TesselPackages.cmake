# SPDX-License-Identifier: MIT
# The Debian packages, one for each component of the installation. They are packed from a build for /usr, as the preset
# package makes one:
#   cmake --preset package && cmake --build --preset package && cpack --preset package
# packaging/check-debs does this and tries them in a clean system.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tessel)
set(CPACK_PACKAGE_VENDOR "The Tessel authors")
set(CPACK_PACKAGE_CONTACT "The Tessel authors")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# What is packed is stripped, and the debug symbols of libraries and programs go into packages of their own (-dbgsym);
# those of the archives go to nobody.
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/StripArchives.cmake)
# Each package describes itself.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# Our own libraries are named among the dependencies below; they are in no package yet when the programs are packed.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY "=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR}/tessel ${PROJECT_BINARY_DIR}/communicator ${PROJECT_BINARY_DIR}/zephserializer)

set(major ${PROJECT_VERSION_MAJOR})
set(same_version "(= ${PROJECT_VERSION})")

# The transport loads libcurl.so.4 and libuv.so.1 when it is first used and is not linked with them, so nothing but this
# line says that it needs them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtessel${major})
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Library that drives LED display controllers
Tessel connects a desktop application to the controllers of LED walls, over
their HTTP/JSON device API and the events that they push.
.
This package has the libraries.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libcurl4 (>= 7.85), libuv1")

set(qt_development_5 "qtbase5-dev (>= 5.15)")
set(qt_development_6 "qt6-base-dev (>= 6.4)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtessel-dev)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Library that drives LED display controllers (development files)
Tessel connects a desktop application to the controllers of LED walls, over
their HTTP/JSON device API and the events that they push.
.
This package has the headers, a simulated controller and a recording engine to
test applications with, and what CMake, pkg-config and qmake need.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libtessel${major} ${same_version}, ${qt_development_${TESSEL_QT}}, libssl-dev (>= 3)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS tessel-doc)

if(TARGET tesselctl OR TARGET tessel-sim)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME tessel-tools)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Programs that drive and simulate LED display controllers
tesselctl drives controllers of LED walls from the command line, tessel-sim
simulates them.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libtessel${major} ${same_version}")

list(APPEND CPACK_COMPONENTS_ALL documentation)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME tessel-doc)
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION "Library that drives LED display controllers (documents and examples)
The documents of Tessel, the description of the device API, and examples.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOCUMENTATION_DEBUGINFO_PACKAGE OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_DEBUGINFO_PACKAGE OFF)

# Debian wants the licence in each package; the other installations have it once.
foreach(component runtime development tools documentation)
  string(TOUPPER ${component} upper)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
    RENAME copyright COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
include(CPack)
