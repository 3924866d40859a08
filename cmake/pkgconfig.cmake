# Makes the files for pkg-config. Their paths are relative to the files themselves, so that an installation
# can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE pc_prefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE pc_includedir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE pc_libdir)

set(pc_packages logging2 logging2-builtin logging2-checked logging2-runs)
if(LOGGING2_BUILD_COLUMNAR)
  list(APPEND pc_packages logging2-columnar)
endif()
if(LOGGING2_BUILD_RECORDING)
  list(APPEND pc_packages logging2-recording)
endif()
set(pc_requires)
set(pc_cflags "-I\${includedir}")
set(pc_libs "-L\${libdir} -llogging2")

# Neither Boost nor CppMicroServices has a file for pkg-config, so their flags are written out.
get_target_property(boost_directories Boost::headers INTERFACE_INCLUDE_DIRECTORIES)
list(REMOVE_ITEM boost_directories ${CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES})
if(boost_directories)
  string(APPEND pc_cflags " -I$<JOIN:${boost_directories}, -I>")
endif()
if(logging2_registry STREQUAL "OWN")
  list(APPEND pc_packages logging2-registry)
  set(pc_requires "logging2-registry = ${PROJECT_VERSION}")
else()
  # The headers of CppMicroServices raise warnings, so they are system headers. An rpath names the folder
  # of its library, unless the loader searches that folder anyway.
  set(service_directories $<TARGET_PROPERTY:CppMicroServices,INTERFACE_INCLUDE_DIRECTORIES>)
  set(service_library_directory $<TARGET_FILE_DIR:CppMicroServices>)
  set(is_known $<IN_LIST:${service_library_directory},${CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES}>)
  string(APPEND pc_cflags " -isystem $<JOIN:${service_directories}, -isystem >")
  string(APPEND pc_libs " $<TARGET_LINKER_FILE:CppMicroServices>"
    "$<$<NOT:${is_known}>: -Wl,-rpath,${service_library_directory}>")
endif()

foreach(package IN LISTS pc_packages)
  set(pc_component_of_${package} devel)
endforeach()
if(LOGGING2_BUILD_CONFORMANCE)
  list(APPEND pc_packages logging2-conformance)
  set(pc_component_of_logging2-conformance conformance)
endif()
foreach(package IN LISTS pc_packages)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in
    ${PROJECT_BINARY_DIR}/${package}.pc.generate @ONLY)
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/${package}.pc
    INPUT ${PROJECT_BINARY_DIR}/${package}.pc.generate)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${pc_component_of_${package}})
endforeach()
