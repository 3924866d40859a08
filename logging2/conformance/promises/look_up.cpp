#include <logging2/conformance/detail/Promise.hpp>

#include <logging2/host/foundation/bundle_context.hpp>
#include <logging2/lookup/entry_points.hpp>

#include <climits>

// Promises about the look-up: the back-end is found by its name only, and its writers and readers
// outlive its services.

namespace logging2::core::conformance {
namespace {

struct Calls {
    int ofWriters = 0;
    int ofReaders = 0;
};

/// Returns a back-end of this name that creates nothing and counts the calls.
Backend decoy_of(const std::string& name, Calls& calls) {
    Backend decoy;
    decoy.name = name;
    decoy.createWriter = [&calls](const StreamingAttributes&, const GroupSetup&) {
        ++calls.ofWriters;
        return nullptr;
    };
    decoy.createReader = [&calls](const boost::any&) {
        ++calls.ofReaders;
        return nullptr;
    };
    return decoy;
}

/// Returns how often a decoy of the highest ranking is called instead of the back-end.
Calls calls_of_highest_decoy(const std::string& name) {
    Calls calls;
    auto registrations =
        register_backend(foundation::get_global_bundle_context(), decoy_of(name, calls));
    set_ranking(registrations, name, INT_MAX);
    get_stream_writer(name, attributes(), test::scalarSetup());
    get_stream_reader(name, boost::any());
    for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
        registration.Unregister();
    }
    return calls;
}

const Promise table[] = {
    {"writerAndReaderAreFoundByTheName", everyone,
     [](Session& session) {
         const std::string& name = session.subject().info.name;
         EXPECT_TRUE(get_stream_writer(name, attributes(), test::scalarSetup()).has_value());
         EXPECT_TRUE(get_stream_reader(name, boost::any()).has_value());
     }},
    {"anotherNameFindsNothing", everyone,
     [](Session& session) {
         for (const std::string& name :
              {session.subject().info.name + "-absent", std::string("absent")}) {
             EXPECT_FALSE(get_stream_writer(name, attributes(), test::scalarSetup()).has_value());
             EXPECT_FALSE(get_stream_reader(name, boost::any()).has_value());
         }
     }},
    {"aServiceOfHigherRankingIsAskedInstead", everyone,
     [](Session& session) {
         const Calls calls = calls_of_highest_decoy(session.subject().info.name);
         EXPECT_EQ(calls.ofWriters, 1);
         EXPECT_EQ(calls.ofReaders, 1);
     }},
    {"aWriterOutlivesItsService", everyone,
     [](Session& session) {
         const auto writer = session.writer();
         const auto reader = session.reader(boost::any());
         session.unregister();
         write_calls(*writer, 0, {1.0});
         writer->flush();
         EXPECT_FALSE(writer->dataStore(ValuePath("x")).empty());
     }},
    {"aReaderOutlivesItsService", everyone,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {1.0});
         writer->flush();
         const auto reader = session.reader(writer->dataStore(ValuePath("x")));
         session.unregister();
         EXPECT_TRUE(holds(reader->timeseries(), {1.0}, {1.0}));
         EXPECT_TRUE(holds(reader->clone()->timeseries(), {1.0}, {1.0}));
     }},
};

} // namespace

std::vector<Promise> look_up_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
