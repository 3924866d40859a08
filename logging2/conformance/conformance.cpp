#include <logging2/conformance/conformance.hpp>

#include <logging2/conformance/detail/Promise.hpp>
#include <logging2/conformance/detail/Session.hpp>

#include <stdexcept>

namespace logging2::core::conformance {

Subject subject_of(const Backend& backend, const Supports& supports) {
    return {backend, supports, [backend](cppmicroservices::BundleContext context) {
                return register_backend(std::move(context), backend);
            }};
}

std::ostream& operator<<(std::ostream& stream, const Case& tested) {
    return stream << tested.subject.info.name << ' ' << tested.promise;
}

std::vector<Promise> promises() {
    std::vector<Promise> all;
    for (const auto promisesOf : {writing_promises, ending_promises, rollback_promises,
                                  deep_rollback_promises, point_limit_promises, reading_promises,
                                  look_up_promises, thread_promises, random_promises}) {
        const std::vector<Promise> some = promisesOf();
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

Promise promise_named(const std::string& name) {
    for (const Promise& promise : promises()) {
        if (promise.name == name) {
            return promise;
        }
    }
    throw std::out_of_range("there is no promise " + name);
}

std::vector<Case> cases_of(const Subject& subject) {
    std::vector<Case> cases;
    for (const Promise& promise : promises()) {
        if (promise.isMadeBy(subject)) {
            cases.push_back({subject, promise.name});
        }
    }
    return cases;
}

std::string case_name(const testing::TestParamInfo<Case>& tested) {
    return tested.param.promise;
}

TEST_P(ConformanceTest, keeps) {
    Session session(GetParam().subject);
    promise_named(GetParam().promise).check(session);
}

} // namespace logging2::core::conformance
