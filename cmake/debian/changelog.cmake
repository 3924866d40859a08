# Makes Debian's changelog from the newest section of CHANGELOG.md, and compresses it as Debian requires.
find_program(LOGGING2_FMT fmt REQUIRED)
find_program(LOGGING2_GZIP gzip REQUIRED)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

file(READ ${PROJECT_SOURCE_DIR}/CHANGELOG.md changes)
if(NOT changes MATCHES "\n## ${PROJECT_VERSION}[^\n]*\n(.*)")
  message(FATAL_ERROR "CHANGELOG.md has no section \"## ${PROJECT_VERSION}\"")
endif()
string(REGEX REPLACE "\n## .*" "" changes "${CMAKE_MATCH_1}")
string(REPLACE "\n" "\n  " changes "${changes}")
string(REPLACE "\n  - " "\n\n  * " changes "${changes}")
file(WRITE ${PROJECT_BINARY_DIR}/debian/changes "${changes}")
execute_process(COMMAND ${LOGGING2_FMT} --tagged-paragraph --width=74 debian/changes
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR} OUTPUT_VARIABLE changes COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "\n\n+" "\n" changes "${changes}")
# fmt does not indent what it breaks off an entry that was one line.
string(REGEX REPLACE "\n([^ \n])" "\n    \\1" changes "${changes}")
string(STRIP "${changes}" changes)

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in debian/changelog @ONLY)
execute_process(COMMAND ${LOGGING2_GZIP} --best --no-name --force --keep debian/changelog
  WORKING_DIRECTORY ${PROJECT_BINARY_DIR} COMMAND_ERROR_IS_FATAL ANY)
