# SPDX-License-Identifier: MIT
# Installs headers and the CMake package. An application includes them by the same paths as from the source tree.
install(DIRECTORY interfaces/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
