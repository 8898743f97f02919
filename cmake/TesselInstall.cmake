# SPDX-License-Identifier: MIT
# Installs what is built, in four components, one for each package: runtime, development, tools and documentation. An
# application includes headers by the same paths as from the source tree. Nothing that is installed contains the prefix,
# so that an installation may be moved as a whole.
include(CMakePackageConfigHelpers)

set(TESSEL_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)
set(TESSEL_DOCUMENT_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/tessel)

install(DIRECTORY interfaces/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")
install(TARGETS tessel_interfaces EXPORT TesselTargets)

# The place decides: a library's public headers lie in its root folder, those of typed records in tessel/records/.
# What lies deeper is private.
function(tessel_install_headers)
  foreach(folder ${ARGN})
    file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
    if(headers)
      install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT development)
    endif()
  endforeach()
endfunction()

set(TESSEL_PUBLIC_FOLDERS tessel tessel/records)
if(TESSEL_OWN_COMMUNICATOR)
  list(APPEND TESSEL_PUBLIC_FOLDERS communicator)
endif()
if(TESSEL_OWN_ZEPHSERIALIZER)
  list(APPEND TESSEL_PUBLIC_FOLDERS zephserializer)
endif()
foreach(component operations simulator testing)
  if(TARGET tessel_${component})
    list(APPEND TESSEL_PUBLIC_FOLDERS ${component})
  endif()
endforeach()
tessel_install_headers(${TESSEL_PUBLIC_FOLDERS})

# tessel_install_pkgconfig(NAME DESCRIPTION REQUIRES LIBS [CFLAGS])
function(tessel_install_pkgconfig name description requires libs)
  file(RELATIVE_PATH to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
  set(cflags ${ARGN})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/tessel.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endfunction()

# The package is complete only when it brings both platform libraries along.
if(TESSEL_OWN_COMMUNICATOR AND TESSEL_OWN_ZEPHSERIALIZER)
  install(EXPORT TesselTargets NAMESPACE tessel:: DESTINATION ${TESSEL_PACKAGE_DIR} COMPONENT development)
  foreach(component operations simulator testing)
    if(TARGET tessel_${component})
      install(EXPORT Tessel_${component} NAMESPACE tessel:: DESTINATION ${TESSEL_PACKAGE_DIR} COMPONENT development)
    endif()
  endforeach()
  configure_package_config_file(cmake/TesselConfig.cmake.in ${PROJECT_BINARY_DIR}/TesselConfig.cmake
    INSTALL_DESTINATION ${TESSEL_PACKAGE_DIR} NO_CHECK_REQUIRED_COMPONENTS_MACRO)
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/TesselConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/TesselConfig.cmake ${PROJECT_BINARY_DIR}/TesselConfigVersion.cmake
    DESTINATION ${TESSEL_PACKAGE_DIR} COMPONENT development)

  # For builds by other means than CMake: pkg-config and qmake.
  set(promises "-I\${includedir}/tessel/qtpromise/include")
  if(TESSEL_QTPROMISE_INSTALLED)
    set(promises "")
  endif()
  tessel_install_pkgconfig(tessel "${PROJECT_DESCRIPTION}" Qt${TESSEL_QT}Core
    "-ltessel -lcommunicator -lzephserializer" "-fPIC -I\${includedir} ${promises}")
  if(TARGET tessel_operations)
    tessel_install_pkgconfig(tessel-operations "Calls the operations of Tessel by name" tessel "-ltessel_operations")
  endif()
  if(TARGET tessel_simulator)
    tessel_install_pkgconfig(tessel-simulator "A controller in software, for tests" "tessel, openssl >= 3"
      "-ltessel_simulator -pthread")
  endif()
  tessel_install_pkgconfig(tessel-testing "An engine that records requests, for tests" tessel "-ltessel_testing")

  file(RELATIVE_PATH TESSEL_PRI_TO_INCLUDE ${CMAKE_INSTALL_FULL_DATADIR}/tessel ${CMAKE_INSTALL_FULL_INCLUDEDIR})
  file(RELATIVE_PATH TESSEL_PRI_TO_LIB ${CMAKE_INSTALL_FULL_DATADIR}/tessel ${CMAKE_INSTALL_FULL_LIBDIR})
  configure_file(cmake/tessel.pri.in ${PROJECT_BINARY_DIR}/tessel.pri @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/tessel.pri DESTINATION ${CMAKE_INSTALL_DATADIR}/tessel COMPONENT development)
endif()

# Another project installs with its own documents what it has of ours.
if(PROJECT_IS_TOP_LEVEL)
  install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE DESTINATION ${TESSEL_DOCUMENT_DIR}
    COMPONENT documentation)
  install(DIRECTORY docs DESTINATION ${TESSEL_DOCUMENT_DIR} COMPONENT documentation
    FILES_MATCHING PATTERN "*.md" PATTERN "*.schema.json" PATTERN "*.svg" PATTERN "introduction.md" EXCLUDE)
  install(FILES api/openapi.json DESTINATION ${TESSEL_DOCUMENT_DIR}/api COMPONENT documentation)
  install(DIRECTORY examples DESTINATION ${TESSEL_DOCUMENT_DIR} COMPONENT documentation)
  include(TesselManual)
  include(TesselPackages)
endif()
