#pragma once

#include <tools/view/Access.hpp>
#include <tools/view/Api.hpp>
#include <tools/view/HttpError.hpp>
#include <tools/view/messages.hpp>

namespace logging2::tools::view {

/// Answers requests, without any socket. Threads: several may call it at a time.
class RequestHandler {
public:
    /// Both must outlive the object.
    RequestHandler(const Access& serverAccess, Api& serverApi)
        : access(serverAccess),
          api(serverApi) {}

    /// Never throws: whatever is wrong is the reply.
    Reply answer(const Request& request) noexcept;

    /// The reply to a request that is not even well formed.
    static Reply refuse(const HttpError& error, const std::string& target);

private:
    Reply checkedAnswer(const Request& request);

    const Access& access;
    Api& api;
};

} // namespace logging2::tools::view
