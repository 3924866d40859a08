#include <logging2/conformance/detail/Promise.hpp>

// The point limit: it bounds the history, or it is ignored.

namespace logging2::core::conformance {
namespace {

bool bounded(const Subject& subject) {
    return subject.supports.pointLimit;
}

bool unbounded(const Subject& subject) {
    return !bounded(subject);
}

bool boundedAndRollsBack(const Subject& subject) {
    return bounded(subject) && rollsBack(subject);
}

const Promise table[] = {
    {"lastSamplesOfEachGroupAreKept", bounded,
     [](Session& session) {
         const auto writer = session.writer(scalar_groups(2), attributes(3));
         write_calls(*writer, 0, {1.0, 2.0, 3.0, 4.0, 5.0});
         write_calls(*writer, 1, {6.0, 7.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x0"), {3.0, 4.0, 5.0}, {3.0, 4.0, 5.0}));
         EXPECT_TRUE(holds(session.read(*writer, "x1"), {6.0, 7.0}, {1.0, 2.0}));
     }},
    {"limitThatIsJustReachedDropsNothing", bounded,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), attributes(3));
         write_calls(*writer, 0, {1.0, 2.0, 3.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}));
     }},
    {"limitOfZeroKeepsNothing", bounded,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), attributes(0));
         write_calls(*writer, 0, {1.0, 2.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {}, {}));
     }},
    {"rollbackDoesNotRestoreSamplesBeyondTheLimit", boundedAndRollsBack,
     [](Session& session) {
         const auto writer = session.writer(test::scalarSetup(), attributes(3));
         write_calls(*writer, 0, {1.0, 2.0, 3.0, 4.0});
         writer->rollback(0, 3.5);
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {2.0, 3.0}, {2.0, 3.0}));
     }},
    {"unsupportedPointLimitDropsNothing", unbounded,
     [](Session& session) {
         for (const std::size_t limit : {0U, 2U}) {
             const auto writer = session.writer(test::scalarSetup(), attributes(limit));
             write_calls(*writer, 0, {1.0, 2.0, 3.0});
             writer->flush();
             EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}));
         }
     }},
};

} // namespace

std::vector<Promise> point_limit_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
