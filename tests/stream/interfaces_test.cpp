#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriterService.hpp>

#include <cppmicroservices/ServiceInterface.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace logging2::core {
namespace {

/// Appends the name of each operation that is called.
class RecordingWriter final : public StreamWriter {
public:
    explicit RecordingWriter(std::vector<std::string>& calls) : log(calls) {}
    ~RecordingWriter() override { log.emplace_back("destructor"); }
    bool write(std::size_t, double, const double*, std::size_t) override {
        log.emplace_back("write");
        return true;
    }
    void rollback(std::size_t, double) override { log.emplace_back("rollback"); }
    boost::any dataStore(const lang::core::ValuePath&) const override {
        log.emplace_back("dataStore");
        return {};
    }
    std::optional<DataStoreInfo> dataStoreInfo() const override {
        log.emplace_back("dataStoreInfo");
        return DataStoreInfo{{1, 2, 3}};
    }
    void flush() override { log.emplace_back("flush"); }
    void flushIntermediate() override { log.emplace_back("flushIntermediate"); }
    void close() override { log.emplace_back("close"); }

private:
    std::vector<std::string>& log;
};

class RecordingReader final : public StreamReader {
public:
    explicit RecordingReader(std::vector<std::string>& calls) : log(calls) {}
    ~RecordingReader() override { log.emplace_back("destructor"); }
    std::unique_ptr<StreamReader> clone() const override {
        log.emplace_back("clone");
        return nullptr;
    }
    std::vector<double> times() const override {
        log.emplace_back("times");
        return {};
    }
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override {
        log.emplace_back("timeseries");
        return {};
    }

private:
    std::vector<std::string>& log;
};

/// The position of a virtual operation in its class's virtual table, read from its member pointer.
/// The virtual destructor has the entries 0 and 1 (Itanium C++ ABI, section 2.3).
template <class Operation>
std::size_t slot(Operation operation) {
    std::ptrdiff_t parts[2];
    static_assert(sizeof parts == sizeof operation);
    std::memcpy(parts, &operation, sizeof parts);
    return static_cast<std::size_t>(parts[0] - 1) / sizeof(void*);
}

TEST(StreamWriterTest, destructionThroughTheInterfaceRunsTheConcreteDestructor) {
    std::vector<std::string> calls;
    std::unique_ptr<StreamWriter> writer = std::make_unique<RecordingWriter>(calls);
    writer.reset();
    EXPECT_EQ(calls, std::vector<std::string>{"destructor"});
}

TEST(StreamReaderTest, destructionThroughTheInterfaceRunsTheConcreteDestructor) {
    std::vector<std::string> calls;
    std::unique_ptr<StreamReader> reader = std::make_unique<RecordingReader>(calls);
    reader.reset();
    EXPECT_EQ(calls, std::vector<std::string>{"destructor"});
}

// Back-ends are built separately from the library, so the order of the operations never changes.
TEST(InterfacesTest, operationsKeepTheirSlots) {
    EXPECT_EQ(slot(&StreamWriter::write), 2U);
    EXPECT_EQ(slot(&StreamWriter::rollback), 3U);
    EXPECT_EQ(slot(&StreamWriter::dataStore), 4U);
    EXPECT_EQ(slot(&StreamWriter::dataStoreInfo), 5U);
    EXPECT_EQ(slot(&StreamWriter::flush), 6U);
    EXPECT_EQ(slot(&StreamWriter::flushIntermediate), 7U);
    EXPECT_EQ(slot(&StreamWriter::close), 8U);
    EXPECT_EQ(slot(&StreamReader::clone), 2U);
    EXPECT_EQ(slot(&StreamReader::times), 3U);
    EXPECT_EQ(slot(&StreamReader::timeseries), 4U);
    EXPECT_EQ(slot(&StreamWriterService::createStreamWriter), 2U);
    EXPECT_EQ(slot(&StreamReaderService::createStreamReader), 2U);
}

TEST(InterfacesTest, carryNoData) {
    EXPECT_EQ(sizeof(StreamWriter), sizeof(void*));
    EXPECT_EQ(sizeof(StreamReader), sizeof(void*));
    EXPECT_EQ(sizeof(StreamWriterService), sizeof(void*));
    EXPECT_EQ(sizeof(StreamReaderService), sizeof(void*));
}

TEST(InterfacesTest, areAbstractWithVirtualDestructors) {
    EXPECT_TRUE(std::is_abstract_v<StreamWriter> && std::has_virtual_destructor_v<StreamWriter>);
    EXPECT_TRUE(std::is_abstract_v<StreamReader> && std::has_virtual_destructor_v<StreamReader>);
    EXPECT_TRUE(std::is_abstract_v<StreamWriterService> &&
                std::has_virtual_destructor_v<StreamWriterService>);
    EXPECT_TRUE(std::is_abstract_v<StreamReaderService> &&
                std::has_virtual_destructor_v<StreamReaderService>);
}

TEST(InterfacesTest, serviceIdentifiersAreClassNames) {
    EXPECT_EQ(us_service_interface_iid<StreamWriterService>(),
              "logging2::core::StreamWriterService");
    EXPECT_EQ(us_service_interface_iid<StreamReaderService>(),
              "logging2::core::StreamReaderService");
}

TEST(DataStoreInfoTest, isThreeWords) {
    EXPECT_EQ(sizeof(DataStoreInfo), 3 * sizeof(void*));
}

} // namespace
} // namespace logging2::core
