# SPDX-License-Identifier: MIT
# Installs headers and the CMake package. An application includes them by the same paths as from the source tree.
include(CMakePackageConfigHelpers)

install(DIRECTORY interfaces/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(TARGETS tessel_interfaces EXPORT TesselTargets)

# The place decides: a library's public headers lie in its root folder, those of typed records in tessel/records/.
# What lies deeper is private.
function(tessel_install_headers)
  foreach(folder ${ARGN})
    file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.h)
    if(headers)
      install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
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
if(TESSEL_BUILD_OPERATIONS)
  list(APPEND TESSEL_PUBLIC_FOLDERS operations)
endif()
if(TESSEL_BUILD_SIMULATOR)
  list(APPEND TESSEL_PUBLIC_FOLDERS simulator)
endif()
tessel_install_headers(${TESSEL_PUBLIC_FOLDERS})

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
