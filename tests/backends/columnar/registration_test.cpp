#include <tests/backends/columnar/columnar_writers.hpp>
#include <tests/backends/columnar/sizes.hpp>

#include <logging2/logging2.hpp>

#include <stdexcept>

namespace logging2::core::test {
namespace {

TEST(ColumnarRegistrationTest, writersFoundByNameObeyTheRegisteredOptions) {
    foundation::install_and_start_vantrel_core();
    BackendRegistrations registrations = register_columnar_backend(
        foundation::get_global_bundle_context(), {16 * kibibyte, BeyondLimit::refuse}, "small");
    EXPECT_FALSE(get_stream_writer("columnar", {}, scalarSetup()).has_value());
    const auto writer = get_stream_writer("small", {}, scalarSetup()).value();
    EXPECT_NE(dynamic_cast<ColumnarStreamWriter*>(writer.get()), nullptr);
    EXPECT_NO_THROW(writeTimes(*writer, countedTimes(500)));
    EXPECT_THROW(writeTimes(*writer, countedTimes(5000)), std::length_error);
    registrations.clear();
    foundation::stop_vantrel_core();
}

} // namespace
} // namespace logging2::core::test
