#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/Message.hpp>

#include <functional>

namespace foundation {

/// What warnings are handed to, one at a time per issuing thread.
using WarningHandler = std::function<void(const Message&)>;

/// Hands the warning to the handler that is set, on the calling thread; without a handler it
/// becomes one line on standard error. What the handler throws comes out. Any thread may call.
///
/// The line is `warning: KEY "ARGUMENT"... [CATALOG]` in UTF-8. Control characters in all three
/// are escaped, so that they cannot act on a terminal or begin another line: a newline as `\n`, a
/// tab as `\t`, others by their number as `\x1b`; quotes and backslashes get a backslash.
LOGGING2_EXPORT void issueWarning(const Message& message);

/// Sets the process-wide handler (an empty one restores the line on standard error) and returns
/// the handler that was there. Any thread may call; a warning that is being issued on another
/// thread meanwhile may still reach the former handler.
LOGGING2_EXPORT WarningHandler setWarningHandler(WarningHandler handler);

} // namespace foundation
