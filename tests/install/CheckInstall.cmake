# Installs the build in BUILD_DIR into the scratch PREFIX and checks that
# every file stands where bash, zsh, fish and man look for it, and that the
# installed scripts are the ones the installed tool writes.
foreach(required BUILD_DIR PREFIX)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "CheckInstall.cmake needs -D${required}=...")
  endif()
endforeach()

file(REMOVE_RECURSE "${PREFIX}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}"
  OUTPUT_QUIET
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cmake --install failed (${status}): ${errors}")
endif()

set(tool "${PREFIX}/bin/CVDiag")
set(expected_scripts
  "bash=${PREFIX}/share/bash-completion/completions/CVDiag"
  "zsh=${PREFIX}/share/zsh/vendor-completions/_CVDiag"
  "fish=${PREFIX}/share/fish/vendor_completions.d/CVDiag.fish")
set(man_page "${PREFIX}/share/man/man1/CVDiag.1")

if(NOT EXISTS "${tool}" OR IS_DIRECTORY "${tool}")
  message(FATAL_ERROR "missing executable ${tool}")
endif()
foreach(entry IN LISTS expected_scripts)
  string(REGEX MATCH "^([a-z]+)=(.*)$" matched "${entry}")
  set(shell "${CMAKE_MATCH_1}")
  set(path "${CMAKE_MATCH_2}")
  if(NOT EXISTS "${path}")
    message(FATAL_ERROR "missing ${shell} completion script ${path}")
  endif()
  file(READ "${path}" installed)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env --unset=CVDIAG_MACHINE
            "${tool}" --generate-completion-script ${shell}
    OUTPUT_VARIABLE written
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0 OR NOT installed STREQUAL written)
    message(FATAL_ERROR "${path} is not what the installed tool writes for ${shell}")
  endif()
endforeach()

if(NOT EXISTS "${man_page}")
  message(FATAL_ERROR "missing manual page ${man_page}")
endif()
file(STRINGS "${man_page}" title REGEX "^\\.TH CVDIAG 1 ")
file(STRINGS "${man_page}" options REGEX "^\\\\fB\\\\-\\\\-all\\\\-diagnostics\\\\fR")
if(title STREQUAL "" OR options STREQUAL "")
  message(FATAL_ERROR "${man_page} lacks its title or the --all-diagnostics entry")
endif()
file(REMOVE_RECURSE "${PREFIX}")
