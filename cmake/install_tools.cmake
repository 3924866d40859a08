# Installs the component "tools": the command `logging2`, its manual pages, and what lets bash complete
# its command lines.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR} OUTPUT_VARIABLE libraries_of_programs)
set_target_properties(logging2_command PROPERTIES
  INSTALL_RPATH "$ORIGIN/${libraries_of_programs}"
  INSTALL_RPATH_USE_LINK_PATH ON)
install(TARGETS logging2_command RUNTIME COMPONENT tools)
install(FILES tools/completion/logging2.bash RENAME logging2
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)

find_program(LOGGING2_GZIP gzip)
if(NOT LOGGING2_GZIP)
  return()
endif()
# A page for the command as a whole, and one for each of its commands, as --help explains them.
set(logging2_tools_summary "shows, compares, exports and repairs the runs of simulations")
set(commands "" ${logging2_tool_commands})
list(TRANSFORM commands PREPEND "logging2 " OUTPUT_VARIABLE names)
list(TRANSFORM names STRIP)
list(TRANSFORM names REPLACE " " "-")
set(pages)
foreach(name command IN ZIP_LISTS names commands)
  # A page leads to the one above it and to those below it.
  string(REGEX REPLACE "-[a-z]+$" "" above ${name})
  set(related ${names})
  list(FILTER related INCLUDE REGEX "^(${above}|${name}-[a-z]+)$")
  list(REMOVE_ITEM related ${name})
  list(JOIN related " " related)
  set(page ${PROJECT_BINARY_DIR}/man/${name}.1)
  add_custom_command(OUTPUT ${page}.gz
    COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:logging2_command> -DCOMMAND=${command}
      -DSUMMARY=${logging2_tools_summary} -DRELATED=${related} -DOUTPUT=${page}
      -P ${PROJECT_SOURCE_DIR}/cmake/debian/man_page.cmake
    COMMAND ${LOGGING2_GZIP} --best --no-name --force ${page}
    DEPENDS logging2_command ${PROJECT_SOURCE_DIR}/cmake/debian/man_page.cmake VERBATIM)
  list(APPEND pages ${page}.gz)
endforeach()
add_custom_target(logging2_manual ALL DEPENDS ${pages})
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
