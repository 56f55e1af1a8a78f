# Runs TOOL (with ARGUMENT, if given) and fails unless its output equals the file EXPECTED.
execute_process(COMMAND ${TOOL} ${ARGUMENT} OUTPUT_VARIABLE actual RESULT_VARIABLE status)
file(READ ${EXPECTED} expected)
if(NOT status EQUAL 0 OR NOT actual STREQUAL expected)
  message(FATAL_ERROR "output of ${TOOL} differs from ${EXPECTED}:\n${actual}")
endif()
