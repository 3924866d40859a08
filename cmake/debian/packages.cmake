# `cpack` makes a Debian package for each component: liblogging2-<soversion>, liblogging2-dev,
# liblogging2-runs<soversion>, liblogging2-columnar<soversion>, logging2-conformance, if SQLite is found
# liblogging2-recording<soversion>, logging2-tools and python3-logging2, and, if the tree's own service
# registry is used, liblogging2-registry<soversion>.
set(logging2_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(logging2_components runtime devel)
set(logging2_runtime_package liblogging2-${logging2_soversion})
set(logging2_devel_package liblogging2-dev)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "logging2 developers <logging2@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/strip.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${logging2_runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# A trigger updates the loader's cache. CPack would also make two scripts that do this. It does not make
# them if they are named here, although they do not exist; it only warns that they are missing.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/triggers postinst postrm)
set(logging2_description "The library keeps what a simulation logs while it runs, in memory or in
files, takes rejected solver steps back, and gives times and values of each
logged path back afterwards.")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "storage for the logged signals of a simulation
${logging2_description}")

set(logging2_libraries "${logging2_runtime_package} (= ${PROJECT_VERSION})")
if(logging2_registry STREQUAL "OWN")
  list(APPEND logging2_components registry)
  set(logging2_registry_package liblogging2-registry${logging2_soversion})
  string(APPEND logging2_libraries ", ${logging2_registry_package} (= ${PROJECT_VERSION})")
  # dpkg-shlibdeps finds the library where it was built, but it finds no package that contains it.
  get_target_property(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS logging2_registry BINARY_DIR)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${logging2_registry_package} (>= ${PROJECT_VERSION})")

  set(CPACK_DEBIAN_REGISTRY_PACKAGE_NAME ${logging2_registry_package})
  set(CPACK_DEBIAN_REGISTRY_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_REGISTRY_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_REGISTRY_PACKAGE_CONTROL_EXTRA ${CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA})
  set(CPACK_DEBIAN_REGISTRY_DESCRIPTION "storage for the logged signals of a simulation - service registry
${logging2_description}
.
This package has the registry in which back-ends are registered and found by
name.")
endif()

set(logging2_runs_purpose "reading runs
${logging2_description}
.
This package has what programs read stored runs with.")
set(logging2_columnar_purpose "runs in memory
${logging2_description}
.
This package has the back-end that keeps runs in memory, column by column.")
set(logging2_recording_purpose "recordings
${logging2_description}
.
This package has the back-end that records runs on disk.")
foreach(part IN LISTS logging2_parts)
  string(TOUPPER ${part} PART)
  list(APPEND logging2_components ${part})
  set(logging2_${part}_package liblogging2-${part}${logging2_soversion})
  set(CPACK_DEBIAN_${PART}_PACKAGE_NAME ${logging2_${part}_package})
  set(CPACK_DEBIAN_${PART}_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_${PART}_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_${PART}_PACKAGE_DEPENDS "${logging2_libraries}")
  set(CPACK_DEBIAN_${PART}_PACKAGE_CONTROL_EXTRA ${CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA})
  set(CPACK_DEBIAN_${PART}_DESCRIPTION
    "storage for the logged signals of a simulation - ${logging2_${part}_purpose}")
  string(APPEND logging2_libraries ", ${logging2_${part}_package} (= ${PROJECT_VERSION})")
  get_target_property(directory logging2_${part} BINARY_DIR)
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${directory})
endforeach()
get_target_property(directory logging2 BINARY_DIR)
list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${directory})

set(CPACK_DEBIAN_DEVEL_PACKAGE_NAME ${logging2_devel_package})
set(CPACK_DEBIAN_DEVEL_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVEL_PACKAGE_DEPENDS
  "${logging2_libraries}, libboost-dev (>= 1.74), libboost-dev (<< 1.86)")
set(CPACK_DEBIAN_DEVEL_DESCRIPTION "storage for the logged signals of a simulation - development files
${logging2_description}
.
This package has the headers, the built-in back-ends as services, and what
CMake and pkg-config need to find them.")

# Only packages contain these files; `cmake --install` leaves them out.
include(${CMAKE_CURRENT_LIST_DIR}/changelog.cmake)
if(LOGGING2_BUILD_CONFORMANCE)
  list(APPEND logging2_components conformance)
  include(${CMAKE_CURRENT_LIST_DIR}/conformance.cmake)
endif()
if(LOGGING2_BUILD_TOOLS)
  list(APPEND logging2_components tools)
  include(${CMAKE_CURRENT_LIST_DIR}/tools.cmake)
endif()
if(LOGGING2_BUILD_PYTHON)
  list(APPEND logging2_components python)
  include(${CMAKE_CURRENT_LIST_DIR}/python.cmake)
endif()
foreach(component IN LISTS logging2_components)
  install(FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz ${CMAKE_CURRENT_LIST_DIR}/copyright
    DESTINATION share/doc/${logging2_${component}_package}
    COMPONENT ${component}-package EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
foreach(component IN LISTS logging2_components)
  cpack_add_component_group(${component})
  cpack_add_component(${component} GROUP ${component})
  cpack_add_component(${component}-package GROUP ${component})
endforeach()
