#include <logging2/memory/MemoryStreamReader.hpp>

#include <logging2/memory/MemoryStreamWriter.hpp>
#include <tests/support/setups.hpp>

#include <boost/exception/exception.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Doubles = std::vector<double>;

MemoryDatastore store(Doubles times, Doubles values) {
    return {std::make_shared<Doubles>(std::move(times)),
            std::make_shared<Doubles>(std::move(values))};
}

TEST(MemoryStreamReaderTest, returnsTimesAndValues) {
    const MemoryStreamReader reader(boost::any(store({1.0, 2.0}, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0})));
    EXPECT_THAT(reader.times(), ElementsAre(1.0, 2.0));
    EXPECT_THAT(reader.timeseries().first, ElementsAre(1.0, 2.0));
    EXPECT_THAT(reader.timeseries().second, ElementsAre(1.0, 2.0, 3.0, 4.0, 5.0, 6.0));
}

TEST(MemoryStreamReaderTest, readsWhatAWriterStored) {
    MemoryStreamWriter writer(StreamingAttributes{}, mixedWidthSetup());
    write(writer, 0, 0.0, {1.0, 2.0, 3.0});
    write(writer, 0, 0.5, {4.0, 5.0, 6.0});
    writer.flush();
    const MemoryStreamReader reader(writer.dataStore(ValuePath("b")));
    EXPECT_EQ(reader.times(), *memoryStore(writer, "b").times);
    EXPECT_THAT(reader.timeseries().second, ElementsAre(2.0, 3.0, 5.0, 6.0));
}

TEST(MemoryStreamReaderTest, resultsAreCopiesOfExactSize) {
    const MemoryDatastore source = store({1.0}, {2.0});
    source.times->reserve(100);
    const MemoryStreamReader reader{boost::any(source)};
    Doubles times = reader.times();
    EXPECT_EQ(times.capacity(), 1U);
    times[0] = 9.0;
    EXPECT_THAT(reader.times(), ElementsAre(1.0));
    EXPECT_NE(reader.timeseries().second.data(), source.values->data());
}

TEST(MemoryStreamReaderTest, storeWithoutSamplesGivesEmptyVectors) {
    const MemoryStreamReader reader(boost::any(store({}, {})));
    EXPECT_THAT(reader.times(), IsEmpty());
    EXPECT_THAT(reader.timeseries().second, IsEmpty());
}

TEST(MemoryStreamReaderTest, emptyAnyGivesEmptyVectors) {
    const MemoryStreamReader reader{boost::any()};
    EXPECT_THAT(reader.times(), IsEmpty());
    EXPECT_THAT(reader.timeseries().first, IsEmpty());
    EXPECT_THAT(reader.timeseries().second, IsEmpty());
    EXPECT_THAT(reader.clone()->times(), IsEmpty());
}

TEST(MemoryStreamReaderTest, storeOfAnotherTypeThrowsBadAnyCast) {
    for (const boost::any& other : {boost::any(1), boost::any(std::make_shared<MemoryDatastore>()),
                                    boost::any(Doubles{1.0})}) {
        try {
            const MemoryStreamReader reader(other);
            ADD_FAILURE() << other.type().name();
        } catch (const boost::bad_any_cast& error) {
            EXPECT_EQ(std::string(error.what()),
                      "boost::bad_any_cast: failed conversion using boost::any_cast");
            EXPECT_NE(dynamic_cast<const boost::exception*>(&error), nullptr);
        }
    }
}

TEST(MemoryStreamReaderTest, sharesTheVectorsWithTheStore) {
    const MemoryDatastore source = store({1.0}, {2.0});
    const MemoryStreamReader reader{boost::any(source)};
    EXPECT_EQ(source.times.use_count(), 2);
    (*source.values)[0] = 3.0;
    EXPECT_THAT(reader.timeseries().second, ElementsAre(3.0));
}

TEST(MemoryStreamReaderTest, cloneSharesTheStoreOfItsSource) {
    const MemoryDatastore source = store({1.0}, {2.0});
    const MemoryStreamReader reader{boost::any(source)};
    const std::unique_ptr<StreamReader> clone = reader.clone();
    EXPECT_EQ(source.times.use_count(), 2);
    EXPECT_NE(dynamic_cast<MemoryStreamReader*>(clone.get()), nullptr);
    EXPECT_EQ(clone->timeseries(), reader.timeseries());
}

TEST(MemoryStreamReaderTest, cloneOutlivesItsSource) {
    std::unique_ptr<StreamReader> reader =
        std::make_unique<MemoryStreamReader>(boost::any(store({1.0}, {2.0})));
    const std::unique_ptr<StreamReader> clone = reader->clone();
    reader.reset();
    EXPECT_THAT(clone->timeseries().second, ElementsAre(2.0));
}

TEST(MemoryStreamReaderTest, destructionThroughTheInterfaceReleasesTheStore) {
    const MemoryDatastore source = store({1.0}, {2.0});
    std::unique_ptr<StreamReader> reader = std::make_unique<MemoryStreamReader>(boost::any(source));
    EXPECT_EQ(source.times.use_count(), 2);
    reader.reset();
    EXPECT_EQ(source.times.use_count(), 1);
}

TEST(MemoryStreamReaderTest, dataOutlivesTheWriter) {
    auto writer = std::make_unique<MemoryStreamWriter>(StreamingAttributes{}, scalarSetup());
    write(*writer, 0, 1.0, {2.0});
    writer->flush();
    const MemoryStreamReader reader(writer->dataStore(ValuePath("x")));
    writer.reset();
    EXPECT_THAT(reader.times(), ElementsAre(1.0));
    EXPECT_THAT(reader.timeseries().second, ElementsAre(2.0));
}

TEST(MemoryStreamReaderTest, severalThreadsMayReadClones) {
    const MemoryStreamReader reader(boost::any(store(Doubles(1000, 1.0), Doubles(1000, 2.0))));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([clone = reader.clone()] {
            EXPECT_EQ(clone->timeseries().second, Doubles(1000, 2.0));
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(reader.times(), Doubles(1000, 1.0));
}

} // namespace
} // namespace logging2::core::test
