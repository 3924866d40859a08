# The Debian package of the component "python", for cpack.
set(logging2_python_package python3-logging2)

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${logging2_python_package})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
math(EXPR next_minor "${Python_VERSION_MINOR} + 1")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "${logging2_libraries}, python3 (>= 3.${Python_VERSION_MINOR}), python3 (<< 3.${next_minor}), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pandas, python3-xarray")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "storage for the logged signals of a simulation - Python module
${logging2_description}
.
This package has the module that reads stored runs into NumPy arrays, and logs
simulations that are written in Python.")
