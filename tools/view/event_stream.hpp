#pragma once

#include <tools/view/LiveFeed.hpp>
#include <tools/view/messages.hpp>

#include <memory>

namespace logging2::tools::view {

/// Server-sent events, until the client goes away. A comment comes every five seconds while nothing
/// happens.
Reply event_stream(std::shared_ptr<LiveFeed::Subscription> subscription);

} // namespace logging2::tools::view
