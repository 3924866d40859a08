#pragma once

#include <tests/fuzz/ByteScript.hpp>

namespace logging2::core::test {

/// Runs one script and throws a Difference if the library does not behave as expected. Every target
/// defines it once.
void runScript(ByteScript& script);

} // namespace logging2::core::test
