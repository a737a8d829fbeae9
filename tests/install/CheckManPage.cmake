# Runs the manual page generator on a recorded tool description with
# subcommands, hidden arguments and text that roff would misread, with
# the tool's own environment entries and files, and compares the page with
# the expected one.
foreach(required SOURCE_DIR WORK_DIR)
  if(NOT DEFINED ${required})
    message(FATAL_ERROR "CheckManPage.cmake needs -D${required}=...")
  endif()
endforeach()

# A stand-in for the tool that prints the recorded description.
file(MAKE_DIRECTORY "${WORK_DIR}")
set(tool "${WORK_DIR}/print_dump")
file(WRITE "${tool}" "#!/bin/sh\nexec cat '${SOURCE_DIR}/tests/install/dump_of_a_tree.json'\n")
file(CHMOD "${tool}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)

execute_process(
  COMMAND "${CMAKE_COMMAND}" -DTOOL=${tool} -DVERSION=2.0 -DOUTPUT=${WORK_DIR}/tree.1
          -DENVIRONMENT_ROFF=${SOURCE_DIR}/tests/install/tree.environment
          -DFILES_ROFF=${SOURCE_DIR}/tests/install/tree.files
          -P "${SOURCE_DIR}/cmake/GenerateManPage.cmake"
  RESULT_VARIABLE status
  ERROR_VARIABLE errors)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "the generator failed: ${errors}")
endif()
file(READ "${WORK_DIR}/tree.1" page)
file(READ "${SOURCE_DIR}/tests/install/tree.1" expected)
if(NOT page STREQUAL expected)
  message(FATAL_ERROR "the page differs from tests/install/tree.1:\n${page}")
endif()
