#pragma once

#include <tools/view/HttpError.hpp>
#include <tools/view/messages.hpp>

#include <string>

namespace logging2::tools::view {

/// Leads on to the page itself, without the token in the address.
std::string entrance_page();

/// The answer to a request that cannot be fulfilled: JSON for the page's scripts, and otherwise a
/// page for people.
Reply error_reply(const HttpError& error, const std::string& target);

} // namespace logging2::tools::view
