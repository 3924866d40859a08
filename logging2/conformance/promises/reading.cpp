#include <logging2/conformance/detail/Promise.hpp>

#include <logging2/conformance/detail/same_bits.hpp>

// Readers: their results, their clones, the stores that they refuse, and the lifetime of the data.

namespace logging2::core::conformance {
namespace {

using test::sameBits;

bool readersDelete(const Subject& subject) {
    return subject.supports.readersDelete;
}

bool readersKeep(const Subject& subject) {
    return !subject.supports.readersDelete;
}

/// A store that no back-end makes.
struct ForeignStore {};

/// Returns the store of a flushed writer with the samples 1 and 2.
boost::any store_of_two(const Session& session) {
    const auto writer = session.writer();
    write_calls(*writer, 0, {1.0, 2.0});
    writer->flush();
    return writer->dataStore(ValuePath("x"));
}

testing::AssertionResult hold_two(const StreamReader& reader) {
    return holds(reader.timeseries(), {1.0, 2.0}, {1.0, 2.0});
}

const Promise table[] = {
    {"timesMatchTheTimeseries", everyBackend,
     [](Session& session) {
         const auto reader = session.reader(store_of_two(session));
         EXPECT_TRUE(sameBits(reader->times(), {1.0, 2.0}));
         EXPECT_TRUE(hold_two(*reader));
     }},
    {"readerMayReadRepeatedly", everyBackend,
     [](Session& session) {
         const auto reader = session.reader(store_of_two(session));
         for (int i = 0; i < 3; ++i) {
             Series series = reader->timeseries();
             EXPECT_TRUE(holds(series, {1.0, 2.0}, {1.0, 2.0}));
             series.second.assign(2, 9.0);
             EXPECT_TRUE(sameBits(reader->times(), {1.0, 2.0}));
         }
     }},
    {"cloneReadsTheSameData", everyBackend,
     [](Session& session) {
         const auto reader = session.reader(store_of_two(session));
         const auto clone = reader->clone();
         const auto second = clone->clone();
         EXPECT_TRUE(hold_two(*reader));
         EXPECT_TRUE(hold_two(*clone));
         EXPECT_TRUE(hold_two(*second));
     }},
    {"twoReadersOfOneStoreReadTheSameData", everyBackend,
     [](Session& session) {
         const boost::any store = store_of_two(session);
         const auto first = session.reader(store);
         const auto second = session.reader(boost::any(store));
         EXPECT_TRUE(hold_two(*first));
         EXPECT_TRUE(hold_two(*second));
     }},
    {"storesAndReadersOutliveTheWriter", everyBackend,
     [](Session& session) {
         auto writer = session.writer();
         write_calls(*writer, 0, {1.0, 2.0});
         writer->flush();
         const auto before = session.reader(writer->dataStore(ValuePath("x")));
         const boost::any store = writer->dataStore(ValuePath("x"));
         writer.reset();
         EXPECT_TRUE(hold_two(*before));
         EXPECT_TRUE(hold_two(*session.reader(store)));
     }},
    {"cloneOutlivesItsReader", readersKeep,
     [](Session& session) {
         const boost::any store = store_of_two(session);
         auto reader = session.reader(store);
         const auto clone = reader->clone();
         reader.reset();
         EXPECT_TRUE(hold_two(*clone));
         EXPECT_TRUE(hold_two(*session.reader(store)));
     }},
    {"firstDestroyedReaderDeletesTheData", readersDelete,
     [](Session& session) {
         const boost::any store = store_of_two(session);
         auto reader = session.reader(store);
         const auto clone = reader->clone();
         reader.reset();
         EXPECT_TRUE(holds(clone->timeseries(), {}, {}));
         EXPECT_TRUE(holds(session.reader(store)->timeseries(), {}, {}));
     }},
    {"readerOfAnEmptyAnyHasNoData", everyBackend,
     [](Session& session) {
         const auto reader = session.reader(boost::any());
         EXPECT_TRUE(reader->times().empty());
         EXPECT_TRUE(holds(reader->timeseries(), {}, {}));
         EXPECT_TRUE(holds(reader->clone()->timeseries(), {}, {}));
     }},
    {"storeOfAnotherTypeIsRefused", everyBackend,
     [](Session& session) {
         EXPECT_THROW(session.reader(boost::any(1)), boost::bad_any_cast);
         EXPECT_THROW(session.reader(boost::any(ForeignStore())), boost::bad_any_cast);
     }},
};

} // namespace

std::vector<Promise> reading_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
