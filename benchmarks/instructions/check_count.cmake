# Counts the instructions per row in PROGRAM's counted_section(), and compares the count with the
# line of NAME in the file COUNTS. VALGRIND and ROW_COUNT must also be set.
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
  message(FATAL_ERROR "callgrind counted no instructions in counted_section() of ${PROGRAM}")
endif()

file(STRINGS ${COUNTS} line REGEX "^${NAME} [0-9]+$")
string(REGEX MATCH "[0-9]+$" stored "${line}")
if(stored STREQUAL "")
  message(FATAL_ERROR "${COUNTS} has no line for ${NAME}; it takes ${count} instructions per row")
endif()

math(EXPR limit "${stored} * (100 + ${tolerance_percent}) / 100")
message(STATUS "${NAME}: ${count} instructions per row, ${stored} stored, ${limit} allowed")
if(count GREATER limit)
  message(FATAL_ERROR "${NAME} takes ${count} instructions per row, but only ${limit} are allowed")
endif()
