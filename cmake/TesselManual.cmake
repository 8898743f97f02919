# SPDX-License-Identifier: MIT
# The manual page and the completions of each program, made from its --help; where programs of the target do not run,
# they are left out.
set(folder ${PROJECT_BINARY_DIR}/manual)
# What a distribution packs has a folder of its own for zsh in Debian.
set(zsh_folder ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND EXISTS /etc/debian_version)
  set(zsh_folder ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
endif()

function(tessel_manual program)
  if(NOT TARGET ${program} OR (CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR))
    return()
  endif()
  set(made ${folder}/${program}.1.gz ${folder}/${program}.bash ${folder}/_${program} ${folder}/${program}.fish)
  add_custom_command(OUTPUT ${made}
    COMMAND ${CMAKE_COMMAND} -E env ${tessel_test_environment}
      ${PROJECT_SOURCE_DIR}/packaging/help-pages $<TARGET_FILE:${program}> ${folder} ${ARGN}
    DEPENDS ${program} ${PROJECT_SOURCE_DIR}/packaging/help-pages VERBATIM)
  add_custom_target(${program}_manual ALL DEPENDS ${made})
  install(FILES ${folder}/${program}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${folder}/${program}.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ${program} COMPONENT tools)
  install(FILES ${folder}/_${program} DESTINATION ${zsh_folder} COMPONENT tools)
  install(FILES ${folder}/${program}.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tools)
endfunction()

tessel_manual(tesselctl --operations)
tessel_manual(tessel-sim)
