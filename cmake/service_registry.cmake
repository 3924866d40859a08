# Decides where services are registered: in an installed CppMicroServices, or in the registry of
# logging2/registry, which offers the same headers and names. Sets logging2_registry to the one that
# was taken.
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
else()
  message(STATUS "logging2: services are registered in the tree's own registry (CppMicroServices 3.8 was not asked for or not found)")
endif()
