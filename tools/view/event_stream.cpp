#include <tools/view/event_stream.hpp>

#include <chrono>
#include <utility>

namespace logging2::tools::view {
namespace {

/// How long it can take until it is seen that the client has gone.
constexpr std::chrono::milliseconds longestPause{250};

} // namespace

Reply event_stream(std::shared_ptr<LiveFeed::Subscription> subscription) {
    Reply reply;
    reply.contentType = "text/event-stream";
    reply.next = [events = std::move(subscription)](const Sink& sink) {
        const std::string text = events->next(longestPause);
        return text.empty() || sink(text);
    };
    reply.isEndless = true;
    return reply;
}

} // namespace logging2::tools::view
