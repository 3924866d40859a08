# What the command `logging2` needs, and whether it was found. HDF5 is looked for by a program of the C
# compiler, so C must be enabled.
set(finds_tools_dependencies OFF)
if(PROJECT_IS_TOP_LEVEL)
  find_package(CLI11 CONFIG QUIET)
  find_package(nlohmann_json CONFIG QUIET)
  find_package(LibArchive QUIET)
  include(CheckLanguage)
  check_language(C)
  if(CMAKE_C_COMPILER)
    enable_language(C)
    find_package(HDF5 QUIET COMPONENTS C)
  endif()
  find_package(PkgConfig QUIET)
  if(PKG_CONFIG_FOUND)
    pkg_check_modules(httplib QUIET IMPORTED_TARGET GLOBAL cpp-httplib)
  endif()
  find_path(LOGGING2_DYGRAPHS dygraph.min.js PATHS /usr/share/javascript/dygraphs NO_DEFAULT_PATH
    DOC "The folder of the plotting library dygraphs; it must be the same where the command is used")
  if(CLI11_FOUND AND nlohmann_json_FOUND AND LibArchive_FOUND AND HDF5_C_FOUND AND httplib_FOUND
      AND LOGGING2_DYGRAPHS)
    set(finds_tools_dependencies ON)
  endif()
endif()
