#pragma once

#include <logging2/conformance/conformance.hpp>
#include <logging2/conformance/detail/Session.hpp>

#include <string>
#include <vector>

namespace logging2::core::conformance {

/// One promise of the interfaces and its check, which uses GoogleTest's assertions in a new
/// session.
struct Promise {
    const char* name;
    bool (*isMadeBy)(const Subject& subject);
    void (*check)(Session& session);
};

inline bool everyBackend(const Subject&) {
    return true;
}

inline bool rollsBack(const Subject& subject) {
    return subject.info.supportsRollback;
}

inline bool obeysRegression(const Subject& subject) {
    return subject.supports.rollbackOnTimeRegression;
}

/// Each of these returns the promises of one file in promises/.
std::vector<Promise> writing_promises();
std::vector<Promise> ending_promises();
std::vector<Promise> rollback_promises();
std::vector<Promise> deep_rollback_promises();
std::vector<Promise> point_limit_promises();
std::vector<Promise> reading_promises();
std::vector<Promise> look_up_promises();
std::vector<Promise> thread_promises();
std::vector<Promise> random_promises();

/// Returns all promises.
std::vector<Promise> promises();

/// Returns the promise of this name. Throws std::out_of_range if there is none.
Promise promise_named(const std::string& name);

} // namespace logging2::core::conformance
