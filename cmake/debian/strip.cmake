# Strips the staged files in the way of Debian's own tools. It runs before cpack makes the packages.
function(strip_staged pattern)
  file(GLOB_RECURSE files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${pattern})
  foreach(file IN LISTS files)
    if(NOT IS_SYMLINK ${file})
      execute_process(COMMAND strip --remove-section=.comment --remove-section=.note ${ARGN} ${file}
        COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endforeach()
endfunction()

strip_staged(*.so.* --strip-unneeded)
strip_staged(*/usr/bin/logging2*)
strip_staged(*.a --strip-debug --enable-deterministic-archives)
