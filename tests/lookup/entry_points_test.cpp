#include <tests/lookup/LookUpTest.hpp>
#include <tests/support/NullServiceFactory.hpp>

#include <cppmicroservices/ServiceInterface.h>

#include <stdexcept>
#include <thread>

namespace logging2::core::test {
namespace {

using cppmicroservices::ServiceProperties;

/// The number of calls of a back-end's functions.
struct Calls {
    int writers = 0;
    int readers = 0;
};

class EntryPointsTest : public LookUpTest {
protected:
    /// Registers a back-end that counts the calls of its functions.
    std::shared_ptr<const Calls> add(const std::string& name, int ranking = 0) {
        const auto calls = std::make_shared<Calls>();
        Backend backend = memoryBackend(name);
        backend.createWriter = [calls, make = backend.createWriter](const auto&... arguments) {
            ++calls->writers;
            return make(arguments...);
        };
        backend.createReader = [calls, make = backend.createReader](const auto& dataStore) {
            ++calls->readers;
            return make(dataStore);
        };
        registrations = register_backend(context(), backend);
        setRanking(registrations, backend, ranking);
        return calls;
    }

    /// Registers a service of the interface without a service object.
    template <class Interface>
    static void addNull(const std::string& key, const std::string& name, int ranking) {
        ServiceProperties properties;
        properties[key] = name;
        properties[cppmicroservices::Constants::SERVICE_RANKING] = ranking;
        context().RegisterService<Interface>(
            cppmicroservices::ToFactory(std::make_shared<NullServiceFactory>()), properties);
    }

    /// The registrations of the back-end that was added last.
    BackendRegistrations registrations;
};

TEST_F(EntryPointsTest, unknownNameGivesAnEmptyOptional) {
    EXPECT_FALSE(writerNamed("absent").has_value());
    EXPECT_FALSE(readerNamed("absent").has_value());
    add("present");
    EXPECT_FALSE(writerNamed("absent").has_value());
    EXPECT_FALSE(readerNamed("absent").has_value());
}

TEST_F(EntryPointsTest, serviceIsFoundByItsName) {
    const auto other = add("other");
    const auto wanted = add("wanted");
    EXPECT_NE(writerNamed("wanted").value(), nullptr);
    EXPECT_NE(readerNamed("wanted").value(), nullptr);
    EXPECT_EQ(wanted->writers, 1);
    EXPECT_EQ(wanted->readers, 1);
    EXPECT_EQ(other->writers, 0);
    EXPECT_EQ(other->readers, 0);
}

TEST_F(EntryPointsTest, writerAndReaderServicesAreFoundByTheirOwnKeys) {
    add("n");
    ServiceProperties readerName;
    readerName[vtllogging_read_type_id()] = std::string("n");
    registrations[0].SetProperties(readerName);
    ServiceProperties writerName;
    writerName[vtllogging_write_type_id()] = std::string("n");
    registrations[1].SetProperties(writerName);
    EXPECT_FALSE(writerNamed("n").has_value());
    EXPECT_FALSE(readerNamed("n").has_value());
}

TEST_F(EntryPointsTest, firstOfTwoServicesWithOneNameWins) {
    const auto first = add("n");
    const auto second = add("n");
    EXPECT_TRUE(writerNamed("n").has_value());
    EXPECT_TRUE(readerNamed("n").has_value());
    EXPECT_EQ(first->writers, 1);
    EXPECT_EQ(first->readers, 1);
    EXPECT_EQ(second->writers, 0);
    EXPECT_EQ(second->readers, 0);
}

TEST_F(EntryPointsTest, higherRankingComesFirst) {
    const auto low = add("n", 1);
    const auto high = add("n", 5);
    EXPECT_TRUE(writerNamed("n").has_value());
    EXPECT_TRUE(readerNamed("n").has_value());
    EXPECT_EQ(low->writers, 0);
    EXPECT_EQ(low->readers, 0);
    EXPECT_EQ(high->writers, 1);
    EXPECT_EQ(high->readers, 1);
}

TEST_F(EntryPointsTest, onlyTheFirstReferenceIsTried) {
    const auto good = add("n");
    addNull<StreamWriterService>(vtllogging_write_type_id(), "n", 7);
    EXPECT_FALSE(writerNamed("n").has_value());
    addNull<StreamReaderService>(vtllogging_read_type_id(), "n", 7);
    EXPECT_FALSE(readerNamed("n").has_value());
    EXPECT_EQ(good->writers, 0);
    EXPECT_EQ(good->readers, 0);
}

TEST_F(EntryPointsTest, writersAndReadersOutliveTheirServices) {
    const std::weak_ptr<const Calls> watched = add("n");
    const auto writer = writerNamed("n");
    const auto reader = readerNamed("n");
    unregister(registrations);
    registrations.clear();
    EXPECT_TRUE(watched.expired());
    write(**writer, 0, 1.0, {2.0});
    (*writer)->flush();
    EXPECT_EQ(memoryStore(**writer, "x").values->at(0), 2.0);
    EXPECT_TRUE((*reader)->times().empty());
}

TEST_F(EntryPointsTest, nameIsNotEscapedInTheFilter) {
    const auto service = add("memory-fast");
    EXPECT_TRUE(writerNamed("memory*").has_value());
    EXPECT_TRUE(writerNamed("memory\\-fast").has_value());
    EXPECT_TRUE(readerNamed("*-fast").has_value());
    EXPECT_EQ(service->writers, 2);
    EXPECT_EQ(service->readers, 1);
}

TEST_F(EntryPointsTest, escapedSpecialCharactersFindTheService) {
    add("n");
    setProperty(registrations[0], vtllogging_write_type_id(), std::string("a)b*"));
    EXPECT_TRUE(writerNamed("a\\)b\\*").has_value());
}

TEST_F(EntryPointsTest, malformedNameThrowsOnlyIfAServiceIsRegistered) {
    EXPECT_FALSE(writerNamed("a)b").has_value());
    EXPECT_FALSE(readerNamed("a)b").has_value());
    add("n");
    EXPECT_THROW(writerNamed("a)b"), std::invalid_argument);
    EXPECT_THROW(readerNamed("a)b"), std::invalid_argument);
    registrations[1].Unregister();
    EXPECT_FALSE(readerNamed("a)b").has_value());
}

TEST_F(EntryPointsTest, emptyNameFindsNothing) {
    add("n");
    EXPECT_FALSE(writerNamed("").has_value());
    EXPECT_FALSE(readerNamed("").has_value());
}

TEST_F(EntryPointsTest, stoppedFrameworkGivesAnEmptyOptional) {
    add("n");
    foundation::stop_vantrel_core();
    EXPECT_FALSE(writerNamed("n").has_value());
    EXPECT_FALSE(readerNamed("n").has_value());
}

TEST_F(EntryPointsTest, manyThreadsMayLookUpNames) {
    register_backend(context(), memoryBackend("n"));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int k = 0; k < 100; ++k) {
                EXPECT_TRUE(writerNamed("n").has_value());
                EXPECT_TRUE(readerNamed("n").has_value());
                EXPECT_FALSE(writerNamed("absent").has_value());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(EntryPointsTest, defaultsIgnoreRegisteredBackends) {
    const auto calls = add("memory", 100);
    const auto writer = get_default_stream_writer(StreamingAttributes{}, scalarSetup());
    EXPECT_NE(dynamic_cast<MemoryStreamWriter*>(writer.get()), nullptr);
    const auto reader = get_default_stream_reader(boost::any());
    EXPECT_NE(dynamic_cast<MemoryStreamReader*>(reader.get()), nullptr);
    EXPECT_EQ(calls->writers, 0);
    EXPECT_EQ(calls->readers, 0);
}

// No fixture: the framework has not been started in this process.
TEST(DefaultEntryPointsTest, workWithoutAFramework) {
    StreamingAttributes attributes;
    attributes.rollbackOnTimeRegression = true;
    const auto writer = get_default_stream_writer(attributes, scalarSetup());
    write(*writer, 0, 1.0, {1.0});
    write(*writer, 0, 1.0, {2.0});
    writer->close();
    const auto reader = get_default_stream_reader(writer->dataStore(ValuePath("x")));
    EXPECT_NE(dynamic_cast<MemoryStreamReader*>(reader.get()), nullptr);
    EXPECT_THAT(reader->timeseries().second, ::testing::ElementsAre(2.0));
    EXPECT_FALSE(foundation::get_global_bundle_context());
}

TEST(DefaultEntryPointsTest, readerOfAnotherStoreThrowsBadAnyCast) {
    EXPECT_THROW(get_default_stream_reader(boost::any(1)), boost::bad_any_cast);
    EXPECT_THAT(get_default_stream_reader(boost::any())->times(), ::testing::IsEmpty());
}

TEST(NamedEntryPointsTest, writersStartTheFramework) {
    EXPECT_FALSE(foundation::get_global_bundle_context());
    EXPECT_FALSE(writerNamed("absent").has_value());
    EXPECT_TRUE(foundation::get_global_bundle_context());
    foundation::stop_vantrel_core();
}

TEST(NamedEntryPointsTest, readersStartTheFramework) {
    EXPECT_FALSE(readerNamed("absent").has_value());
    EXPECT_TRUE(foundation::get_global_bundle_context());
    foundation::stop_vantrel_core();
}

} // namespace
} // namespace logging2::core::test
