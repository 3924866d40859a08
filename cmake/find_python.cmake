# logging2_find_python(VARIABLE MODULE...)
#
# Sets the cache variable to a Python that has all these modules. The first python3 on the PATH may be
# another one.
function(logging2_find_python variable)
  list(JOIN ARGN ", " modules)
  find_program(${variable} python3 VALIDATOR logging2_has_modules DOC "A Python with ${modules}")
  mark_as_advanced(${variable})
endfunction()

# Sees the modules of its caller.
function(logging2_has_modules result python)
  execute_process(COMMAND ${python} -c "import ${modules}"
    RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
  if(NOT status EQUAL 0)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()
