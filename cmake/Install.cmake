# Installation and packaging: the executable, its shell completion scripts and
# its manual page. The scripts and the page are not kept in the source tree:
# the built tool writes them during the build, so they always describe the
# command line of the executable that is installed with them.
include(GNUInstallDirs)

set(CVDIAG_INSTALL_FILES_DIR ${CMAKE_BINARY_DIR}/install-files)
set(CVDIAG_BASH_COMPLETION ${CVDIAG_INSTALL_FILES_DIR}/CVDiag.bash)
set(CVDIAG_ZSH_COMPLETION ${CVDIAG_INSTALL_FILES_DIR}/_CVDiag)
set(CVDIAG_FISH_COMPLETION ${CVDIAG_INSTALL_FILES_DIR}/CVDiag.fish)
set(CVDIAG_MAN_PAGE ${CVDIAG_INSTALL_FILES_DIR}/CVDiag.1)

foreach(shell bash zsh fish)
  string(TOUPPER ${shell} upper)
  add_custom_command(
    OUTPUT ${CVDIAG_${upper}_COMPLETION}
    COMMAND ${CMAKE_COMMAND}
      -DTOOL=$<TARGET_FILE:CVDiag>
      -DSHELL_NAME=${shell}
      -DOUTPUT=${CVDIAG_${upper}_COMPLETION}
      -P ${CMAKE_SOURCE_DIR}/cmake/GenerateCompletionScript.cmake
    DEPENDS CVDiag ${CMAKE_SOURCE_DIR}/cmake/GenerateCompletionScript.cmake
    COMMENT "Generating the ${shell} completion script"
    VERBATIM)
endforeach()

add_custom_command(
  OUTPUT ${CVDIAG_MAN_PAGE}
  COMMAND ${CMAKE_COMMAND}
    -DTOOL=$<TARGET_FILE:CVDiag>
    -DVERSION=${CVDIAG_SHORT_VERSION}
    -DOUTPUT=${CVDIAG_MAN_PAGE}
    -P ${CMAKE_SOURCE_DIR}/cmake/GenerateManPage.cmake
  DEPENDS CVDiag ${CMAKE_SOURCE_DIR}/cmake/GenerateManPage.cmake
  COMMENT "Generating the manual page"
  VERBATIM)

add_custom_target(cvdiag_install_files ALL
  DEPENDS ${CVDIAG_BASH_COMPLETION} ${CVDIAG_ZSH_COMPLETION} ${CVDIAG_FISH_COMPLETION}
          ${CVDIAG_MAN_PAGE})

install(TARGETS CVDiag RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CVDIAG_BASH_COMPLETION}
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME CVDiag)
install(FILES ${CVDIAG_ZSH_COMPLETION}
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
install(FILES ${CVDIAG_FISH_COMPLETION}
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
install(FILES ${CVDIAG_MAN_PAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

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
