#pragma once

#include <tests/fuzz/ByteScript.hpp>

namespace logging2::core::test {

/// What a target is: runs one script and throws a Difference where the library does not do what is
/// expected. Defined once per target.
void runScript(ByteScript& script);

} // namespace logging2::core::test
