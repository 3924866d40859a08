# Installs the component "conformance": the suite that checks back-ends, as a library and as a program.
# It is a separate package component, so that find_package() finds logging2 itself without GoogleTest.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR} OUTPUT_VARIABLE libraries_of_programs)
set_target_properties(logging2_conformance_program PROPERTIES
  INSTALL_RPATH "$ORIGIN/${libraries_of_programs}"
  INSTALL_RPATH_USE_LINK_PATH ON)

install(TARGETS logging2_conformance EXPORT logging2ConformanceTargets
  ARCHIVE COMPONENT conformance
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT conformance)
install(TARGETS logging2_conformance_program RUNTIME COMPONENT conformance)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/logging2-conformance.cmake
  DESTINATION ${logging2_package_dir} COMPONENT conformance)
install(EXPORT logging2ConformanceTargets NAMESPACE logging2:: DESTINATION ${logging2_package_dir}
  COMPONENT conformance)
