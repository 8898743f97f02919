# SPDX-License-Identifier: MIT
# cmake -DPREFIX=... -DCOPY=... -P: what is installed of a build without the simulator, as far as CMake reads it.
file(REMOVE_RECURSE ${COPY})
file(GLOB_RECURSE config RELATIVE ${PREFIX} ${PREFIX}/*/Tessel*.cmake)
if(NOT config)
  message(FATAL_ERROR "${PREFIX} has no package for CMake")
endif()
foreach(file ${config})
  if(NOT file MATCHES "Tessel_simulator")
    get_filename_component(folder ${file} DIRECTORY)
    file(COPY ${PREFIX}/${file} DESTINATION ${COPY}/${folder})
  endif()
endforeach()
