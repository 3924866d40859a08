#pragma once

#include <logging2/conformance/Session.hpp>

#include <vector>

namespace logging2::core::conformance {

/// One promise of the interfaces and how it is checked: with GoogleTest's assertions, on a
/// session that nothing was done with before.
struct Promise {
    const char* name;
    bool (*isMadeBy)(const Supports& supports);
    void (*check)(Session& session);
};

inline bool everyone(const Supports&) {
    return true;
}

/// The promises of each file of promises/.
std::vector<Promise> writing_promises();
std::vector<Promise> ending_promises();
std::vector<Promise> rollback_promises();
std::vector<Promise> point_limit_promises();
std::vector<Promise> reading_promises();
std::vector<Promise> look_up_promises();
std::vector<Promise> thread_promises();
std::vector<Promise> random_promises();

/// All of them.
std::vector<Promise> promises();

} // namespace logging2::core::conformance
