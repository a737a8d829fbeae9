# Asks the built tool for its completion script for one shell and writes it
# to OUTPUT. Run as a build step: cmake -DTOOL=... -DSHELL_NAME=bash
# -DOUTPUT=... -P GenerateCompletionScript.cmake
foreach(required TOOL SHELL_NAME OUTPUT)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "GenerateCompletionScript.cmake needs -D${required}=...")
  endif()
endforeach()

# The tool reads the host when no machine folder is named; the script does not
# depend on the machine at all.
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env --unset=CVDIAG_MACHINE
          "${TOOL}" --generate-completion-script "${SHELL_NAME}"
  OUTPUT_VARIABLE script
  ERROR_VARIABLE errors
  RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR script STREQUAL "")
  message(FATAL_ERROR
    "${TOOL} --generate-completion-script ${SHELL_NAME} failed (${status}): ${errors}")
endif()
file(WRITE "${OUTPUT}" "${script}")
