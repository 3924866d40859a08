#include <logging2/logging2.hpp>

#include <tests/support/NullServiceFactory.hpp>
#include <tests/support/setups.hpp>

#include <cppmicroservices/BundleContext.h>
#include <cppmicroservices/Constants.h>
#include <cppmicroservices/ServiceInterface.h>
#include <cppmicroservices/ServiceRegistration.h>

#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

namespace logging2::core::test {
namespace {

using cppmicroservices::ServiceProperties;

/// Makes memory writers whose stream carries a tag in hostValue1 of what it was asked with, or
/// null, or throws.
class TestWriterService final : public StreamWriterService {
public:
    enum class Answer { writer, null, exception };
    explicit TestWriterService(Answer what = Answer::writer) : answer(what) {}

    std::unique_ptr<StreamWriter> createStreamWriter(const StreamingAttributes& attributes,
                                                     const GroupSetup& setup) override {
        ++calls;
        lastPointLimit = attributes.pointLimit;
        lastGroups = setup.begin();
        if (answer == Answer::exception) {
            throw std::domain_error("no licence");
        }
        return answer == Answer::null ? nullptr
                                      : std::make_unique<MemoryStreamWriter>(attributes, setup);
    }

    Answer answer;
    int calls = 0;
    std::size_t lastPointLimit = 0;
    GroupSetup::const_iterator lastGroups = nullptr;
};

class TestReaderService final : public StreamReaderService {
public:
    explicit TestReaderService(bool makesNull = false) : null(makesNull) {}

    std::unique_ptr<StreamReader> createStreamReader(const boost::any& dataStore) override {
        ++calls;
        return null ? nullptr : std::make_unique<MemoryStreamReader>(dataStore);
    }

    bool null;
    int calls = 0;
};

/// Services of a test are unregistered at its end.
class EntryPointsTest : public ::testing::Test {
protected:
    EntryPointsTest() { foundation::install_and_start_vantrel_core(); }
    ~EntryPointsTest() override {
        for (cppmicroservices::ServiceRegistrationU& registration : registrations) {
            registration.Unregister();
        }
        registrations.clear();
        foundation::stop_vantrel_core();
    }

    static ServiceProperties named(const std::string& key, const std::string& name, int ranking) {
        ServiceProperties properties;
        properties[key] = name;
        properties[cppmicroservices::Constants::SERVICE_RANKING] = ranking;
        return properties;
    }

    template <class Interface, class Service>
    void add(const std::shared_ptr<Service>& service, const std::string& key,
             const std::string& name, int ranking = 0) {
        registrations.push_back(foundation::get_global_bundle_context().RegisterService<Interface>(
            service, named(key, name, ranking)));
    }

    std::shared_ptr<TestWriterService>
    addWriter(const std::string& name, int ranking = 0,
              TestWriterService::Answer answer = TestWriterService::Answer::writer) {
        auto service = std::make_shared<TestWriterService>(answer);
        add<StreamWriterService>(service, vtllogging_write_type_id(), name, ranking);
        return service;
    }

    std::vector<cppmicroservices::ServiceRegistrationU> registrations;
};

std::optional<std::unique_ptr<StreamWriter>> writerNamed(const std::string& name) {
    return get_stream_writer(name, StreamingAttributes{}, scalarSetup());
}

TEST_F(EntryPointsTest, nameOfNoServiceGivesTheEmptyOptional) {
    EXPECT_FALSE(writerNamed("absent").has_value());
    EXPECT_FALSE(get_stream_reader("absent", boost::any()).has_value());
    addWriter("present");
    EXPECT_FALSE(writerNamed("absent").has_value());
}

TEST_F(EntryPointsTest, writerServiceIsFoundByNameAndGetsTheArguments) {
    addWriter("other");
    const auto service = addWriter("wanted");
    StreamingAttributes attributes;
    attributes.pointLimit = 17;
    const GroupSetup setup = scalarSetup();
    const auto writer = get_stream_writer("wanted", attributes, setup);
    ASSERT_TRUE(writer.has_value());
    ASSERT_NE(*writer, nullptr);
    EXPECT_NE(dynamic_cast<MemoryStreamWriter*>(writer->get()), nullptr);
    EXPECT_EQ(service->calls, 1);
    EXPECT_EQ(service->lastPointLimit, 17U);
    EXPECT_EQ(service->lastGroups, setup.begin());
}

TEST_F(EntryPointsTest, readerServiceIsFoundByName) {
    const auto service = std::make_shared<TestReaderService>();
    add<StreamReaderService>(service, vtllogging_read_type_id(), "wanted");
    const auto reader = get_stream_reader("wanted", boost::any());
    ASSERT_TRUE(reader.has_value());
    ASSERT_NE(*reader, nullptr);
    EXPECT_EQ(service->calls, 1);
}

TEST_F(EntryPointsTest, writerAndReaderServicesAreToldApartByTheirKeys) {
    add<StreamWriterService>(std::make_shared<TestWriterService>(), vtllogging_read_type_id(), "n");
    add<StreamReaderService>(std::make_shared<TestReaderService>(), vtllogging_write_type_id(),
                             "n");
    EXPECT_FALSE(writerNamed("n").has_value());
    EXPECT_FALSE(get_stream_reader("n", boost::any()).has_value());
}

TEST_F(EntryPointsTest, firstOfTwoServicesWithOneNameWins) {
    const auto first = addWriter("n");
    const auto second = addWriter("n");
    EXPECT_TRUE(writerNamed("n").has_value());
    EXPECT_EQ(first->calls, 1);
    EXPECT_EQ(second->calls, 0);
}

TEST_F(EntryPointsTest, higherRankingComesFirst) {
    const auto low = addWriter("n", 1);
    const auto high = addWriter("n", 5);
    EXPECT_TRUE(writerNamed("n").has_value());
    EXPECT_EQ(low->calls, 0);
    EXPECT_EQ(high->calls, 1);
}

TEST_F(EntryPointsTest, onlyTheFirstReferenceIsTried) {
    const auto good = addWriter("n");
    ServiceProperties properties = named(vtllogging_write_type_id(), "n", 7);
    const auto null = foundation::get_global_bundle_context().RegisterService<StreamWriterService>(
        cppmicroservices::ToFactory(std::make_shared<NullServiceFactory>()), properties);
    registrations.emplace_back(null);
    EXPECT_FALSE(writerNamed("n").has_value());
    EXPECT_EQ(good->calls, 0);
}

TEST_F(EntryPointsTest, nullReaderServiceGivesTheEmptyOptional) {
    const auto null = foundation::get_global_bundle_context().RegisterService<StreamReaderService>(
        cppmicroservices::ToFactory(std::make_shared<NullServiceFactory>()),
        named(vtllogging_read_type_id(), "n", 0));
    registrations.emplace_back(null);
    EXPECT_FALSE(get_stream_reader("n", boost::any()).has_value());
}

TEST_F(EntryPointsTest, factoryThatReturnsNullGivesAnEngagedOptional) {
    addWriter("n", 0, TestWriterService::Answer::null);
    const auto writer = writerNamed("n");
    ASSERT_TRUE(writer.has_value());
    EXPECT_EQ(*writer, nullptr);
    add<StreamReaderService>(std::make_shared<TestReaderService>(true), vtllogging_read_type_id(),
                             "n");
    const auto reader = get_stream_reader("n", boost::any());
    ASSERT_TRUE(reader.has_value());
    EXPECT_EQ(*reader, nullptr);
}

TEST_F(EntryPointsTest, whatTheServiceThrowsComesOutUnchanged) {
    addWriter("n", 0, TestWriterService::Answer::exception);
    EXPECT_THROW(writerNamed("n"), std::domain_error);
    add<StreamReaderService>(std::make_shared<TestReaderService>(), vtllogging_read_type_id(), "n");
    EXPECT_THROW(get_stream_reader("n", boost::any(1)), boost::bad_any_cast);
}

TEST_F(EntryPointsTest, serviceIsReleasedAndTheWriterOutlivesIt) {
    auto service = addWriter("n");
    const std::weak_ptr<TestWriterService> watched = service;
    auto writer = writerNamed("n");
    ASSERT_TRUE(writer.has_value());
    registrations.back().Unregister();
    registrations.clear();
    service.reset();
    EXPECT_TRUE(watched.expired());
    write(**writer, 0, 1.0, {2.0});
    (*writer)->flush();
    EXPECT_EQ(memoryStore(**writer, "x").values->at(0), 2.0);
}

TEST_F(EntryPointsTest, nameGoesIntoTheFilterUnescaped) {
    const auto service = addWriter("memory-fast");
    EXPECT_TRUE(writerNamed("memory*").has_value());
    EXPECT_TRUE(writerNamed("memory\\-fast").has_value());
    EXPECT_EQ(service->calls, 2);
}

TEST_F(EntryPointsTest, malformedNameIsRefusedOnlyWhereAServiceIsRegistered) {
    EXPECT_FALSE(writerNamed("a)b").has_value());
    EXPECT_FALSE(get_stream_reader("a)b", boost::any()).has_value());
    addWriter("n");
    EXPECT_THROW(writerNamed("a)b"), std::invalid_argument);
    EXPECT_FALSE(get_stream_reader("a)b", boost::any()).has_value());
}

TEST_F(EntryPointsTest, emptyNameFindsNothing) {
    addWriter("n");
    EXPECT_FALSE(writerNamed("").has_value());
}

TEST_F(EntryPointsTest, stoppedFrameworkGivesTheEmptyOptional) {
    addWriter("n");
    registrations.clear();
    foundation::stop_vantrel_core();
    EXPECT_FALSE(writerNamed("n").has_value());
    EXPECT_FALSE(get_stream_reader("n", boost::any()).has_value());
}

TEST_F(EntryPointsTest, namedLookUpWorksOnManyThreads) {
    addWriter("n");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int k = 0; k < 100; ++k) {
                EXPECT_FALSE(get_stream_reader("n", boost::any()).has_value());
                EXPECT_FALSE(writerNamed("absent").has_value());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(EntryPointsTest, defaultsAreTheMemoryBackEndWhateverIsRegistered) {
    const auto service = addWriter("memory", 100);
    const auto writer = get_default_stream_writer(StreamingAttributes{}, scalarSetup());
    EXPECT_NE(dynamic_cast<MemoryStreamWriter*>(writer.get()), nullptr);
    EXPECT_EQ(service->calls, 0);
    const auto readers = std::make_shared<TestReaderService>();
    add<StreamReaderService>(readers, vtllogging_read_type_id(), "memory", 100);
    const auto reader = get_default_stream_reader(boost::any());
    EXPECT_NE(dynamic_cast<MemoryStreamReader*>(reader.get()), nullptr);
    EXPECT_EQ(readers->calls, 0);
}

TEST_F(EntryPointsTest, readerServiceIsReleasedAndTheReaderOutlivesIt) {
    auto service = std::make_shared<TestReaderService>();
    add<StreamReaderService>(service, vtllogging_read_type_id(), "n");
    const std::weak_ptr<TestReaderService> watched = service;
    const auto reader = get_stream_reader("n", boost::any());
    ASSERT_TRUE(reader.has_value());
    registrations.back().Unregister();
    registrations.clear();
    service.reset();
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE((*reader)->times().empty());
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

TEST(DefaultEntryPointsTest, readerOfAnotherStoreIsABadAnyCast) {
    EXPECT_THROW(get_default_stream_reader(boost::any(1)), boost::bad_any_cast);
    EXPECT_THAT(get_default_stream_reader(boost::any())->times(), ::testing::IsEmpty());
}

TEST(NamedEntryPointsTest, startTheFramework) {
    EXPECT_FALSE(foundation::get_global_bundle_context());
    EXPECT_FALSE(writerNamed("absent").has_value());
    EXPECT_TRUE(foundation::get_global_bundle_context());
    foundation::stop_vantrel_core();
}

TEST(NamedEntryPointsTest, readersStartTheFrameworkToo) {
    EXPECT_FALSE(get_stream_reader("absent", boost::any()).has_value());
    EXPECT_TRUE(foundation::get_global_bundle_context());
    foundation::stop_vantrel_core();
}

} // namespace
} // namespace logging2::core::test
