#include <tools/view/event_stream.hpp>

#include <chrono>
#include <utility>

namespace logging2::tools::view {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds commentInterval{5};

/// How long it can take until it is seen that the client has gone.
constexpr std::chrono::milliseconds longestPause{250};

class EventStream {
public:
    explicit EventStream(std::shared_ptr<LiveFeed::Subscription> ownSubscription)
        : subscription(std::move(ownSubscription)) {}

    bool operator()(const Sink& sink) {
        std::string text = subscription->next(longestPause);
        if (text.empty() && Clock::now() - last >= commentInterval) {
            text = ":\n\n";
        }
        if (text.empty()) {
            return true;
        }
        last = Clock::now();
        return sink(text);
    }

private:
    std::shared_ptr<LiveFeed::Subscription> subscription;
    Clock::time_point last = Clock::now();
};

} // namespace

Reply event_stream(std::shared_ptr<LiveFeed::Subscription> subscription) {
    Reply reply;
    reply.contentType = "text/event-stream";
    reply.next = EventStream(std::move(subscription));
    reply.isEndless = true;
    return reply;
}

} // namespace logging2::tools::view
