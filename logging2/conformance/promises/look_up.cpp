#include <logging2/conformance/Promise.hpp>

#include <cppmicroservices/Constants.h>

#include <climits>

// The back-end is found by its name, by no other, and is needed no longer than to be asked.

namespace logging2::core::conformance {
namespace {

/// Stands under the back-end's name and counts who asks.
class Decoy final : public StreamWriterService {
public:
    std::unique_ptr<StreamWriter> createStreamWriter(const StreamingAttributes&,
                                                     const GroupSetup&) override {
        ++calls;
        return nullptr;
    }
    int calls = 0;
};

/// How often a service of the highest ranking is asked instead of the back-end.
int calls_of_highest_decoy(const Session& session) {
    const auto decoy = std::make_shared<Decoy>();
    cppmicroservices::ServiceProperties properties;
    properties[vtllogging_write_type_id()] = session.backend().name;
    properties[cppmicroservices::Constants::SERVICE_RANKING] = INT_MAX;
    auto registration =
        foundation::get_global_bundle_context().RegisterService<StreamWriterService>(decoy,
                                                                                     properties);
    get_stream_writer(session.backend().name, attributes(), test::scalarSetup());
    registration.Unregister();
    return decoy->calls;
}

const Promise table[] = {
    {"writerAndReaderAreFoundByTheName", everyone,
     [](Session& session) {
         const std::string& name = session.backend().name;
         EXPECT_TRUE(get_stream_writer(name, attributes(), test::scalarSetup()).has_value());
         EXPECT_TRUE(get_stream_reader(name, boost::any()).has_value());
     }},
    {"anotherNameFindsNothing", everyone,
     [](Session& session) {
         for (const std::string& name :
              {session.backend().name + "-absent", std::string("absent")}) {
             EXPECT_FALSE(get_stream_writer(name, attributes(), test::scalarSetup()).has_value());
             EXPECT_FALSE(get_stream_reader(name, boost::any()).has_value());
         }
     }},
    {"aServiceOfHigherRankingIsAskedInstead", everyone,
     [](Session& session) { EXPECT_EQ(calls_of_highest_decoy(session), 1); }},
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
