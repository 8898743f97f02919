# SPDX-License-Identifier: MIT
# Run by CPack before it packs what was installed: archives lose their debug symbols, which neither installing nor CPack
# takes from them.
file(GLOB_RECURSE archives ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*.a)
if(archives)
  find_program(STRIP_PROGRAM strip REQUIRED)
  execute_process(COMMAND ${STRIP_PROGRAM} --strip-debug --enable-deterministic-archives ${archives}
    COMMAND_ERROR_IS_FATAL ANY)
endif()
