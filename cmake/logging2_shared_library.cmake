include(GenerateExportHeader)

# logging2_shared_library(TARGET EXPORT_MACROS_PREFIX EXPORT_HEADER SYMBOL_MAP)
#
# Sets the properties that all shared libraries of this tree have in common.
# - The file name contains the version.
# - A symbol is exported only if the macros of the export header <logging2/[FOLDER/]export.hpp> mark it
#   and SYMBOL_MAP, a template of a linker script, lists it. Symbols have versions, so that one process can
#   load two releases.
# - An installed library finds the other libraries in its own folder. It finds any other library that it
#   was linked with where that was then, unless the loader searches that place anyway.
function(logging2_shared_library target prefix export_header symbol_map)
  generate_export_header(${target} BASE_NAME ${prefix}
    EXPORT_FILE_NAME ${PROJECT_BINARY_DIR}/include/${export_header})
  target_sources(${target}
    PUBLIC FILE_SET generated_headers TYPE HEADERS BASE_DIRS ${PROJECT_BINARY_DIR}/include FILES
      ${PROJECT_BINARY_DIR}/include/${export_header})

  set(map ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
  configure_file(${symbol_map} ${map} @ONLY)
  target_link_options(${target} PRIVATE LINKER:--version-script=${map})
  set_target_properties(${target} PROPERTIES
    LINK_DEPENDS ${map}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
    INSTALL_RPATH "$ORIGIN"
    INSTALL_RPATH_USE_LINK_PATH ON
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    VERIFY_INTERFACE_HEADER_SETS ON)
  target_compile_features(${target} PUBLIC cxx_std_17)
  logging2_harden(${target})
endfunction()
