# What the back-end "recording" needs, and whether it is built.
find_package(SQLite3 3.37)
find_path(LOGGING2_XXHASH_INCLUDE_DIR xxhash.h DOC "The folder of xxhash.h")
mark_as_advanced(LOGGING2_XXHASH_INCLUDE_DIR)
cmake_dependent_option(LOGGING2_BUILD_RECORDING
  "Build the back-end \"recording\", which needs SQLite and xxHash" ON
  "SQLite3_FOUND;LOGGING2_XXHASH_INCLUDE_DIR" OFF)
