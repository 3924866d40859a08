# What the command `logging2` needs, and whether it was found. HDF5 is looked for by a program of the C
# compiler, so C must be enabled.
set(finds_tools_dependencies OFF)
if(PROJECT_IS_TOP_LEVEL)
  find_package(CLI11 CONFIG QUIET)
  find_package(nlohmann_json CONFIG QUIET)
  find_package(LibArchive QUIET)
  if(CLI11_FOUND AND nlohmann_json_FOUND AND LibArchive_FOUND)
    set(finds_tools_dependencies ON)
  endif()
endif()
