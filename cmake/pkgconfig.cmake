# Files for pkg-config, which find everything from where they are themselves, so that what was
# installed can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pc_prefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE pc_includedir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE pc_libdir)

# Neither Boost nor CppMicroServices has a file of its own to refer to.
get_target_property(pc_directories Boost::headers INTERFACE_INCLUDE_DIRECTORIES)
set(pc_cflags "-I\${includedir}")
set(pc_libs "-L\${libdir} -llogging2")
if(logging2_registry STREQUAL "OWN")
  string(APPEND pc_cflags " -I\${includedir}/logging2/registry")
else()
  list(APPEND pc_directories $<TARGET_PROPERTY:CppMicroServices,INTERFACE_INCLUDE_DIRECTORIES>)
  string(APPEND pc_libs " $<TARGET_FILE:CppMicroServices>")
endif()
list(REMOVE_ITEM pc_directories ${CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES})
if(pc_directories)
  string(APPEND pc_cflags " -I$<JOIN:${pc_directories}, -I>")
endif()

set(pc_component_of_logging2 devel)
set(pc_component_of_logging2-builtin devel)
set(pc_component_of_logging2-checked devel)
set(pc_component_of_logging2-conformance conformance)
set(pc_packages logging2 logging2-builtin logging2-checked)
if(LOGGING2_BUILD_CONFORMANCE)
  list(APPEND pc_packages logging2-conformance)
endif()
foreach(package IN LISTS pc_packages)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in
    ${PROJECT_BINARY_DIR}/${package}.pc.generate @ONLY)
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/${package}.pc
    INPUT ${PROJECT_BINARY_DIR}/${package}.pc.generate)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${pc_component_of_${package}})
endforeach()
