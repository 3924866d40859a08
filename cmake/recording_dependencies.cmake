# What the back-end "recording" needs, and whether it was found.
find_package(SQLite3 3.37)
find_path(LOGGING2_XXHASH_INCLUDE_DIR xxhash.h DOC "The folder of xxhash.h")
find_library(LOGGING2_XXHASH_LIBRARY xxhash DOC "The library xxHash")
find_path(LOGGING2_LZ4_INCLUDE_DIR lz4.h DOC "The folder of lz4.h")
find_library(LOGGING2_LZ4_LIBRARY lz4 DOC "The library LZ4")
mark_as_advanced(LOGGING2_XXHASH_INCLUDE_DIR LOGGING2_XXHASH_LIBRARY
  LOGGING2_LZ4_INCLUDE_DIR LOGGING2_LZ4_LIBRARY)
set(finds_recording_dependencies OFF)
if(SQLite3_FOUND AND LOGGING2_XXHASH_INCLUDE_DIR AND LOGGING2_XXHASH_LIBRARY AND
   LOGGING2_LZ4_INCLUDE_DIR AND LOGGING2_LZ4_LIBRARY)
  set(finds_recording_dependencies ON)
  add_library(logging2_recording_dependencies INTERFACE IMPORTED)
  target_include_directories(logging2_recording_dependencies INTERFACE
    ${LOGGING2_XXHASH_INCLUDE_DIR} ${LOGGING2_LZ4_INCLUDE_DIR})
  target_link_libraries(logging2_recording_dependencies INTERFACE
    SQLite::SQLite3 ${LOGGING2_XXHASH_LIBRARY} ${LOGGING2_LZ4_LIBRARY})
endif()
