#include <tests/allocation/first_calls.hpp>
#include <tests/support/registrations.hpp>

// The first look-up and the first registration of a process, while every allocation fails once.

namespace logging2::core::test {
namespace {

TEST_F(FirstCallsSweepTest, nextLookUpStartsTheFramework) {
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

// The services are unregistered, so that the second call starts with the same registry as the
// first.
TEST_F(FirstCallsSweepTest, nextCallRegistersTheBackend) {
    foundation::install_and_start_vantrel_core();
    expect_every_first_failure_propagates("register_backend", [] {
        unregister(register_backend(
            foundation::get_global_bundle_context(),
            make_backend<MemoryStreamWriter, MemoryStreamReader>({"memory", "", true, false})));
    });
    expect_every_first_failure_propagates("load_backends", [] {
        unregister(load_backends(LOGGING2_TEST_MODULES "/two_backends.so",
                                 foundation::get_global_bundle_context()));
    });
    foundation::stop_vantrel_core();
}

} // namespace
} // namespace logging2::core::test
