# Decides where services are registered: in an installed CppMicroServices, or in the registry of
# this folder, which offers the same headers and names. Sets logging2_registry to the one it took.
set(logging2_registry ${LOGGING2_SERVICE_REGISTRY})
if(NOT logging2_registry STREQUAL "OWN")
  if(logging2_registry STREQUAL "CPPMICROSERVICES")
    find_package(CppMicroServices 3.8 CONFIG REQUIRED)
  else()
    find_package(CppMicroServices 3.8 CONFIG QUIET)
  endif()
  if(CppMicroServices_FOUND)
    set(logging2_registry CPPMICROSERVICES)
  else()
    set(logging2_registry OWN)
  endif()
endif()

if(logging2_registry STREQUAL "CPPMICROSERVICES")
  message(STATUS "logging2: services are registered in CppMicroServices ${CppMicroServices_VERSION}")
  target_link_libraries(logging2 PUBLIC CppMicroServices)
else()
  message(STATUS "logging2: services are registered in the tree's own registry (CppMicroServices 3.8 was not asked for or not found)")
  file(GLOB service_headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/cppmicroservices/*.h)
  file(GLOB service_sources CONFIGURE_DEPENDS
    ${CMAKE_CURRENT_LIST_DIR}/*.cpp ${CMAKE_CURRENT_LIST_DIR}/detail/*.cpp)
  target_sources(logging2
    PRIVATE ${service_sources}
    PUBLIC FILE_SET service_headers TYPE HEADERS
      BASE_DIRS ${CMAKE_CURRENT_LIST_DIR} FILES ${service_headers})
endif()
set(logging2_registry ${logging2_registry} CACHE INTERNAL "The registry that was taken")
