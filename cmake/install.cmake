# Installs the library, its headers and a package for find_package(logging2 CONFIG).
include(CMakePackageConfigHelpers)

set(logging2_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/logging2)
set(logging2_header_sets
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILE_SET generated_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(logging2_registry STREQUAL "OWN")
  list(APPEND logging2_header_sets
    FILE_SET service_headers DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/logging2/host/services)
endif()

install(TARGETS logging2 EXPORT logging2Targets ${logging2_header_sets})
install(TARGETS logging2_builtin EXPORT logging2Targets
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT logging2Targets NAMESPACE logging2:: DESTINATION ${logging2_package_dir})

configure_package_config_file(cmake/logging2Config.cmake.in logging2Config.cmake
  INSTALL_DESTINATION ${logging2_package_dir})
write_basic_package_version_file(logging2ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/logging2Config.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/logging2ConfigVersion.cmake
  DESTINATION ${logging2_package_dir})
