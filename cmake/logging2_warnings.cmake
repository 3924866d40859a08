# The warnings with which every target of this tree is compiled. They do not reach a user's targets.
add_library(logging2_warnings INTERFACE)
target_compile_options(logging2_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror=return-type
  $<$<BOOL:${LOGGING2_WARNINGS_AS_ERRORS}>:-Werror>)
