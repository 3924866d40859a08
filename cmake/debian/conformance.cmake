# The Debian package of the component "conformance", for cpack.
set(logging2_conformance_package logging2-conformance)
set(logging2_conformance_summary "checks that a back-end of logging2 keeps its promises")

set(CPACK_DEBIAN_CONFORMANCE_PACKAGE_NAME ${logging2_conformance_package})
set(CPACK_DEBIAN_CONFORMANCE_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_CONFORMANCE_PACKAGE_SHLIBDEPS ON)
list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/logging2)
set(CPACK_DEBIAN_CONFORMANCE_PACKAGE_DEPENDS
  "${logging2_devel_package} (= ${PROJECT_VERSION}), libgtest-dev")
set(CPACK_DEBIAN_CONFORMANCE_DESCRIPTION "${logging2_conformance_summary}
The promises that every back-end of logging2 makes, as tests: a program that
loads a back-end from a shared library, and a library for your own tests.")

# The program's manual page, which Debian requires.
set(page ${PROJECT_BINARY_DIR}/debian/logging2-conformance.1)
add_custom_command(OUTPUT ${page}.gz
  COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:logging2_conformance_program>
    -DSUMMARY=${logging2_conformance_summary} -DOUTPUT=${page}
    -P ${CMAKE_CURRENT_LIST_DIR}/man_page.cmake
  COMMAND ${LOGGING2_GZIP} --best --no-name --force ${page}
  DEPENDS logging2_conformance_program ${CMAKE_CURRENT_LIST_DIR}/man_page.cmake VERBATIM)
add_custom_target(logging2_conformance_manual ALL DEPENDS ${page}.gz)
install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
  COMPONENT conformance-package EXCLUDE_FROM_ALL)
