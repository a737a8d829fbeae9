# Writes the information dictionary values into OUTPUT, touching it only when
# they change. Outside a git checkout the source revision is empty text.
execute_process(
  COMMAND git -C "${SOURCE_DIR}" rev-parse --short HEAD
  OUTPUT_VARIABLE SOURCE_VERSION
  OUTPUT_STRIP_TRAILING_WHITESPACE
  ERROR_QUIET
  RESULT_VARIABLE git_result)
if(NOT git_result EQUAL 0)
  set(SOURCE_VERSION "")
endif()
set(content "// Generated at build time; do not edit.
#define CVDIAG_SHORT_VERSION \"${SHORT_VERSION}\"
#define CVDIAG_PROJECT_VERSION \"${PROJECT_VERSION}\"
#define CVDIAG_SOURCE_VERSION \"${SOURCE_VERSION}\"
#define CVDIAG_MINIMUM_SYSTEM_VERSION \"${MINIMUM_SYSTEM_VERSION}\"
")
if(EXISTS "${OUTPUT}")
  file(READ "${OUTPUT}" old)
else()
  set(old "")
endif()
if(NOT old STREQUAL content)
  file(WRITE "${OUTPUT}" "${content}")
endif()
