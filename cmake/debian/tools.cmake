# The Debian package of the component "tools", for cpack.
set(logging2_tools_package logging2-tools)

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ${logging2_tools_package})
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${logging2_libraries}, libjs-dygraphs")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "gnuplot-nox, xdg-utils")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "${logging2_tools_summary}
The command logging2 lists the runs that simulations have recorded, prints and
plots their signals, compares two runs, exports them to other formats, shows
them in the browser while they grow, and rescues what a crash has left.")
