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
file(STRINGS "${man_page}" machine REGEX "^\\.B CVDIAG_MACHINE$")
file(STRINGS "${man_page}" files REGEX "^\\.SH FILES$")
if(title STREQUAL "" OR options STREQUAL "" OR machine STREQUAL "" OR files STREQUAL "")
  message(FATAL_ERROR "${man_page} lacks its title, the --all-diagnostics entry, CVDIAG_MACHINE or FILES")
endif()
find_program(MAN_PROGRAM man)
if(MAN_PROGRAM)
  execute_process(
    COMMAND "${MAN_PROGRAM}" -M "${PREFIX}/share/man" -w CVDiag
    OUTPUT_VARIABLE found
    OUTPUT_STRIP_TRAILING_WHITESPACE
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0 OR NOT found STREQUAL man_page)
    message(FATAL_ERROR "man does not find the page below ${PREFIX}/share/man: '${found}'")
  endif()
endif()
# The shells find the scripts by their own search rules below the prefix.
find_program(FISH_PROGRAM fish)
if(FISH_PROGRAM)
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env "XDG_DATA_DIRS=${PREFIX}/share" "PATH=${PREFIX}/bin:$ENV{PATH}"
            "${FISH_PROGRAM}" -c "complete -C 'CVDiag --all'"
    OUTPUT_VARIABLE found)
  if(NOT found STREQUAL "--all-diagnostics\tRun all diagnostics\n")
    message(FATAL_ERROR "fish does not find the installed completions: '${found}'")
  endif()
endif()
find_program(ZSH_PROGRAM zsh)
if(ZSH_PROGRAM)
  execute_process(
    COMMAND "${ZSH_PROGRAM}" -f -c
            "fpath=(${PREFIX}/share/zsh/vendor-completions $fpath); autoload -U compinit; compinit -D -u; print -r -- $_comps[CVDiag]"
    OUTPUT_VARIABLE found)
  if(NOT found STREQUAL "_CVDiag\n")
    message(FATAL_ERROR "zsh's compinit does not find _CVDiag: '${found}'")
  endif()
endif()
set(bash_completion /usr/share/bash-completion/bash_completion)
if(EXISTS "${bash_completion}")
  execute_process(
    COMMAND "${CMAKE_COMMAND}" -E env "XDG_DATA_DIRS=${PREFIX}/share"
            bash -c "source ${bash_completion}; _completion_loader CVDiag; complete -p CVDiag"
    OUTPUT_VARIABLE found)
  if(NOT found STREQUAL "complete -F _CVDiag CVDiag\n")
    message(FATAL_ERROR "bash-completion does not load the installed script: '${found}'")
  endif()
endif()

file(REMOVE_RECURSE "${PREFIX}")
