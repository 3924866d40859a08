# What every target of this tree is compiled with; nothing of it reaches a user's targets.
add_library(logging2_warnings INTERFACE)
target_compile_options(logging2_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror=return-type
  $<$<BOOL:${LOGGING2_WARNINGS_AS_ERRORS}>:-Werror>)
