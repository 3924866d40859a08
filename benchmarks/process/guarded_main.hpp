#pragma once

namespace logging2::core::bench {

/// Calls the function and returns its result, as the result of main(). If the function throws,
/// prints the exception on standard error and returns 1.
int guarded_main(int (*function)(int, char**), int argc, char** argv);

} // namespace logging2::core::bench
