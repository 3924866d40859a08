# logging2Config.cmake includes this for find_package(logging2 COMPONENTS conformance).
find_package(GTest CONFIG QUIET)
if(GTest_FOUND)
  include("${CMAKE_CURRENT_LIST_DIR}/logging2ConformanceTargets.cmake")
  set(logging2_conformance_FOUND TRUE)
else()
  set(logging2_NOT_FOUND_MESSAGE "the component conformance needs GoogleTest")
endif()
