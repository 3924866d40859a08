#include <tests/allocation/first_calls.hpp>

// The look-up that starts the process's framework, while every allocation fails once.

namespace logging2::core::test {
namespace {

TEST_F(FirstCallsSweepTest, lookUpStartsTheFrameworkOnTheNextCall) {
    const char* const outcome = "the next call starts the framework and finds nothing";
    const SweepCounts writers = sweep_first_call("get_stream_writer, no service", outcome, [] {
        EXPECT_FALSE(get_stream_writer("a", StreamingAttributes{}, GroupSetup()).has_value());
    });
    const SweepCounts readers = sweep_first_call("get_stream_reader, no service", outcome, [] {
        EXPECT_FALSE(get_stream_reader("a", boost::any()).has_value());
    });
    EXPECT_GT(writers.thrown, 5U);
    EXPECT_GT(readers.thrown, 5U);
}

} // namespace
} // namespace logging2::core::test
