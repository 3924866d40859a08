# Makes the installed libraries and programs harder to attack: functions detect an overwritten stack, and
# the loader resolves all symbols at the start and then write-protects them. Each installed target uses
# this. The options are private, so they do not reach a user's targets.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

check_cxx_compiler_flag(-fstack-protector-strong LOGGING2_HAS_STACK_PROTECTOR)
check_linker_flag(CXX LINKER:-z,relro,-z,now LOGGING2_HAS_FULL_RELRO)

function(logging2_harden target)
  if(LOGGING2_HAS_STACK_PROTECTOR)
    target_compile_options(${target} PRIVATE -fstack-protector-strong)
  endif()
  if(LOGGING2_HAS_FULL_RELRO)
    target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now)
  endif()
endfunction()
