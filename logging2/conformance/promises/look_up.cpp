#include <logging2/conformance/detail/Promise.hpp>

#include <logging2/host/foundation/bundle_context.hpp>
#include <logging2/lookup/entry_points.hpp>

#include <climits>

// The back-end is found only by its name, and its writers and readers outlive its services.

namespace logging2::core::conformance {
namespace {

struct Calls {
    int ofWriters = 0;
    int ofReaders = 0;
};

/// A back-end of this name that makes nothing and counts its calls.
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

/// The calls of a decoy with the highest ranking and the same name.
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
    {"writerAndReaderAreFoundByName", everyBackend,
     [](Session& session) {
         const std::string& name = session.subject().info.name;
         EXPECT_TRUE(get_stream_writer(name, attributes(), test::scalarSetup()).has_value());
         EXPECT_TRUE(get_stream_reader(name, boost::any()).has_value());
     }},
    {"otherNamesFindNothing", everyBackend,
     [](Session& session) {
         for (const std::string& name :
              {session.subject().info.name + "-absent", std::string("absent")}) {
             EXPECT_FALSE(get_stream_writer(name, attributes(), test::scalarSetup()).has_value());
             EXPECT_FALSE(get_stream_reader(name, boost::any()).has_value());
         }
     }},
    {"serviceOfHigherRankingIsUsedInstead", everyBackend,
     [](Session& session) {
         const Calls calls = calls_of_highest_decoy(session.subject().info.name);
         EXPECT_EQ(calls.ofWriters, 1);
         EXPECT_EQ(calls.ofReaders, 1);
     }},
    {"writerOutlivesItsService", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         const auto reader = session.reader(boost::any());
         session.unregister();
         write_calls(*writer, 0, {1.0});
         writer->flush();
         EXPECT_FALSE(writer->dataStore(ValuePath("x")).empty());
     }},
    {"readerOutlivesItsService", everyBackend,
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
