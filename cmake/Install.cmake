# Installation and packaging: the executable, its shell completion scripts and
# its manual page. The scripts and the page are not kept in the source tree:
# the built tool writes them during the build, so they always describe the
# command line of the executable that is installed with them.
include(GNUInstallDirs)

set(CVDIAG_INSTALL_FILES_DIR ${CMAKE_BINARY_DIR}/install-files)
set(CVDIAG_INSTALL_FILES)

# The executable TOOL (a target), its completion scripts and its manual page.
function(cvdiag_install_tool tool)
  set(bash ${CVDIAG_INSTALL_FILES_DIR}/${tool}.bash)
  set(zsh ${CVDIAG_INSTALL_FILES_DIR}/_${tool})
  set(fish ${CVDIAG_INSTALL_FILES_DIR}/${tool}.fish)
  set(man ${CVDIAG_INSTALL_FILES_DIR}/${tool}.1)
  foreach(shell bash zsh fish)
    add_custom_command(
      OUTPUT ${${shell}}
      COMMAND ${CMAKE_COMMAND}
        -DTOOL=$<TARGET_FILE:${tool}>
        -DSHELL_NAME=${shell}
        -DOUTPUT=${${shell}}
        -P ${CMAKE_SOURCE_DIR}/cmake/GenerateCompletionScript.cmake
      DEPENDS ${tool} ${CMAKE_SOURCE_DIR}/cmake/GenerateCompletionScript.cmake
      COMMENT "Generating the ${shell} completion script of ${tool}"
      VERBATIM)
  endforeach()
  # The tool's own ENVIRONMENT entries and FILES, when cmake/man has them.
  set(man_texts)
  set(man_arguments)
  foreach(part environment files)
    set(text ${CMAKE_SOURCE_DIR}/cmake/man/${tool}.${part})
    if(EXISTS ${text})
      string(TOUPPER ${part} variable)
      list(APPEND man_texts ${text})
      list(APPEND man_arguments -D${variable}_ROFF=${text})
    endif()
  endforeach()
  add_custom_command(
    OUTPUT ${man}
    COMMAND ${CMAKE_COMMAND}
      -DTOOL=$<TARGET_FILE:${tool}>
      -DVERSION=${CVDIAG_SHORT_VERSION}
      -DOUTPUT=${man}
      ${man_arguments}
      -P ${CMAKE_SOURCE_DIR}/cmake/GenerateManPage.cmake
    DEPENDS ${tool} ${CMAKE_SOURCE_DIR}/cmake/GenerateManPage.cmake ${man_texts}
    COMMENT "Generating the manual page of ${tool}"
    VERBATIM)
  set(CVDIAG_INSTALL_FILES ${CVDIAG_INSTALL_FILES} ${bash} ${zsh} ${fish} ${man} PARENT_SCOPE)

  install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${bash} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${tool})
  install(FILES ${zsh} DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
  install(FILES ${fish} DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  install(FILES ${man} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endfunction()

cvdiag_install_tool(CVDiag)
cvdiag_install_tool(cvdiag-machine)
add_custom_target(cvdiag_install_files ALL DEPENDS ${CVDIAG_INSTALL_FILES})
# The recording script runs on the Mac; it is installed to be handed to users.
install(PROGRAMS scripts/cvdiag-record DESTINATION ${CMAKE_INSTALL_DATADIR}/cvdiag)

# An install into a scratch prefix puts every file where the shells and man
# look for them.
if(CVDIAG_BUILD_TESTS)
  # Building the tests alone also makes what the install test installs.
  add_dependencies(cvdiag_tests cvdiag_install_files)
  add_test(NAME install.layout
    COMMAND ${CMAKE_COMMAND}
      -DBUILD_DIR=${CMAKE_BINARY_DIR}
      -DPREFIX=${CMAKE_BINARY_DIR}/install-test
      -P ${CMAKE_SOURCE_DIR}/tests/install/CheckInstall.cmake)
  # The manual page of a recorded tree with subcommands.
  add_test(NAME install.man_page
    COMMAND ${CMAKE_COMMAND}
      -DSOURCE_DIR=${CMAKE_SOURCE_DIR}
      -DWORK_DIR=${CMAKE_BINARY_DIR}/man-page-test
      -P ${CMAKE_SOURCE_DIR}/tests/install/CheckManPage.cmake)
endif()

# A Debian package: cpack -G DEB in the build directory.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME cvdiag)
set(CPACK_PACKAGE_VERSION ${CVDIAG_SHORT_VERSION})
set(CPACK_PACKAGE_VENDOR "Tamarlin")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Tamarlin diagnostics tool for Corvane")
set(CPACK_PACKAGE_CONTACT "Tamarlin <support@tamarlin.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CVDIAG_PROJECT_VERSION})
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion")
include(CPack)
