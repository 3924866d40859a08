# Counts the instructions of PROGRAM's counted_section() per row and compares them with the line of
# NAME in the file COUNTS. Needs VALGRIND and ROW_COUNT as well.
set(tolerance_percent 5)

set(output ${CMAKE_CURRENT_BINARY_DIR}/${NAME}.callgrind)
execute_process(
  COMMAND ${VALGRIND} --tool=callgrind --collect-atstart=no "--toggle-collect=*counted_section(*"
    --callgrind-out-file=${output} ${PROGRAM}
  RESULT_VARIABLE result
  ERROR_VARIABLE messages)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "callgrind failed: ${messages}")
endif()

file(STRINGS ${output} totals REGEX "^(summary|totals): [0-9]+")
list(GET totals 0 total)
string(REGEX MATCH "[0-9]+" total "${total}")
math(EXPR count "${total} / ${ROW_COUNT}")
if(count EQUAL 0)
  message(FATAL_ERROR "nothing was counted")
endif()

file(STRINGS ${COUNTS} line REGEX "^${NAME} [0-9]+$")
string(REGEX MATCH "[0-9]+$" stored "${line}")
if(stored STREQUAL "")
  message(FATAL_ERROR "${COUNTS} has no line for ${NAME}; it takes ${count} instructions per row")
endif()

math(EXPR limit "${stored} * (100 + ${tolerance_percent}) / 100")
message(STATUS "${NAME}: ${count} instructions per row, ${stored} stored, ${limit} allowed")
if(count GREATER limit)
  message(FATAL_ERROR "${NAME} takes more instructions than it did")
endif()
