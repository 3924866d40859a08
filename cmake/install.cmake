# Installs these components:
# - "runtime": the shared library, which a linked program needs;
# - "registry": the shared library of the tree's own service registry, unless CppMicroServices is used;
# - "runs", "columnar" and "recording": the shared libraries that read runs, keep them in memory and record
#   them;
# - "tools": the command `logging2`;
# - "python": the Python module `logging2`;
# - "devel": the headers, the packages for find_package(logging2 CONFIG) and pkg-config, and the static
#   libraries of the back-ends, which are needed to build a program.
include(CMakePackageConfigHelpers)

set(logging2_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/logging2)

install(TARGETS logging2 EXPORT logging2Targets
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT devel
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel
  FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel)
if(logging2_registry STREQUAL "OWN")
  install(TARGETS logging2_registry EXPORT logging2Targets
    LIBRARY COMPONENT registry NAMELINK_COMPONENT devel
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/logging2/registry COMPONENT devel
    FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel)
endif()
set(logging2_parts runs)
if(LOGGING2_BUILD_COLUMNAR)
  list(APPEND logging2_parts columnar)
endif()
if(LOGGING2_BUILD_RECORDING)
  list(APPEND logging2_parts recording)
endif()
foreach(part IN LISTS logging2_parts)
  install(TARGETS logging2_${part} EXPORT logging2Targets
    LIBRARY COMPONENT ${part} NAMELINK_COMPONENT devel
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel
    FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel)
endforeach()
install(TARGETS logging2_builtin logging2_checked EXPORT logging2Targets
  ARCHIVE COMPONENT devel
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel)
if(LOGGING2_BUILD_CONFORMANCE)
  include(cmake/install_conformance.cmake)
endif()
if(LOGGING2_BUILD_TOOLS)
  include(cmake/install_tools.cmake)
endif()
if(LOGGING2_BUILD_PYTHON)
  include(cmake/install_python.cmake)
endif()
install(EXPORT logging2Targets NAMESPACE logging2:: DESTINATION ${logging2_package_dir}
  COMPONENT devel)

configure_package_config_file(cmake/logging2Config.cmake.in logging2Config.cmake
  INSTALL_DESTINATION ${logging2_package_dir})
write_basic_package_version_file(logging2ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/logging2Config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/logging2ConfigVersion.cmake
  DESTINATION ${logging2_package_dir} COMPONENT devel)

find_program(LOGGING2_DPKG dpkg)
if(LOGGING2_DPKG)
  include(cmake/debian/packages.cmake)
endif()
