# Installs the component "python": the Python module.
set(LOGGING2_PYTHON_INSTALL_DIR lib/python3/dist-packages CACHE STRING
  "Where the Python module is installed, below the prefix")
set(package_dir ${LOGGING2_PYTHON_INSTALL_DIR}/logging2)
cmake_path(ABSOLUTE_PATH package_dir BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
  OUTPUT_VARIABLE full_package_dir)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
  BASE_DIRECTORY ${full_package_dir} OUTPUT_VARIABLE libraries_of_module)
# pip puts the libraries beside the module.
set_target_properties(logging2_python PROPERTIES
  INSTALL_RPATH "$ORIGIN;$ORIGIN/${libraries_of_module}"
  INSTALL_RPATH_USE_LINK_PATH ON)
install(TARGETS logging2_python LIBRARY DESTINATION ${package_dir} COMPONENT python)
install(FILES ${logging2_python_sources} DESTINATION ${package_dir} COMPONENT python)
install(DIRECTORY ${logging2_python_metadata} DESTINATION ${LOGGING2_PYTHON_INSTALL_DIR}
  COMPONENT python)
