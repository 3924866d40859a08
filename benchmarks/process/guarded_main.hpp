#pragma once

namespace logging2::core::bench {

/// What a program's main returns: what the function returns, or 1 where it throws; what was thrown
/// is told on standard error.
int guarded_main(int (*function)(int, char**), int argc, char** argv);

} // namespace logging2::core::bench
