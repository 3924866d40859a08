#include <logging2/conformance/conformance.hpp>

namespace logging2::core::conformance {

std::ostream& operator<<(std::ostream& stream, const Case& tested) {
    return stream << tested.backend.name << ' ' << tested.promise.name;
}

std::vector<Promise> promises() {
    std::vector<Promise> all;
    for (const auto promisesOf :
         {writing_promises, ending_promises, rollback_promises, point_limit_promises,
          reading_promises, look_up_promises, thread_promises, random_promises}) {
        const std::vector<Promise> some = promisesOf();
        all.insert(all.end(), some.begin(), some.end());
    }
    return all;
}

std::vector<Case> cases_of(const Backend& backend) {
    std::vector<Case> cases;
    for (const Promise& promise : promises()) {
        if (promise.isMadeBy(backend.supports)) {
            cases.push_back({backend, promise});
        }
    }
    return cases;
}

std::string case_name(const testing::TestParamInfo<Case>& tested) {
    return tested.param.promise.name;
}

TEST_P(ConformanceTest, keeps) {
    Session session(GetParam().backend);
    GetParam().promise.check(session);
}

} // namespace logging2::core::conformance
