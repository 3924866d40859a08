#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/Message.hpp>

#include <functional>

namespace foundation {

/// A function that receives warnings. Several threads may call it at once.
using WarningHandler = std::function<void(const Message&)>;

/// Passes the warning to the handler that is set, on the calling thread. Without a handler, prints
/// one line to standard error. Exceptions of the handler reach the caller. Any thread may call.
///
/// The line is `warning: KEY "ARGUMENT"... [CATALOG]` in UTF-8. Control characters are escaped, so
/// that they cannot act on a terminal or begin another line: a newline is printed as `\n`, a tab as
/// `\t`, and any other by its number, such as `\x1b`. A quotation mark or a backslash is preceded
/// by a backslash.
LOGGING2_EXPORT void issueWarning(const Message& message);

/// Sets the process-wide handler and returns the previous one. An empty handler restores the line
/// on standard error.
///
/// Any thread may call. A warning that another thread is issuing at the same time may still reach
/// the previous handler.
LOGGING2_EXPORT WarningHandler setWarningHandler(WarningHandler handler);

} // namespace foundation
