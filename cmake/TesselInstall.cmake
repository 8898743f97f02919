# SPDX-License-Identifier: MIT
# Installs headers and the CMake package. An application includes them by the same paths as from the source tree.
include(CMakePackageConfigHelpers)

install(DIRECTORY interfaces/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(TARGETS tessel_interfaces EXPORT TesselTargets)

# What the operators and envelope records stand on stays inside.
install(DIRECTORY tessel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h"
  PATTERN "request.h" EXCLUDE
  PATTERN "promiserequest.h" EXCLUDE
  PATTERN "applicationend.h" EXCLUDE
  PATTERN "fanout.h" EXCLUDE
  PATTERN "deviceevents.h" EXCLUDE
  PATTERN "routebyprotocol.h" EXCLUDE
  PATTERN "screenproperty.h" EXCLUDE
  PATTERN "nested.h" EXCLUDE
  PATTERN "*response.h" EXCLUDE)

if(TESSEL_OWN_COMMUNICATOR)
  install(FILES communicator/httpengine.h communicator/deviceendpoint.h communicator/exchangeobserver.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/communicator)
endif()

# The package is complete only when it brings both platform libraries along.
if(TESSEL_OWN_COMMUNICATOR AND TESSEL_OWN_ZEPHSERIALIZER)
  set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)
  install(EXPORT TesselTargets NAMESPACE tessel:: DESTINATION ${package_dir})
  configure_package_config_file(cmake/TesselConfig.cmake.in ${PROJECT_BINARY_DIR}/TesselConfig.cmake
    INSTALL_DESTINATION ${package_dir})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/TesselConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/TesselConfig.cmake ${PROJECT_BINARY_DIR}/TesselConfigVersion.cmake
    DESTINATION ${package_dir})
endif()
