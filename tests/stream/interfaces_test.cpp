#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriterService.hpp>

#include <cppmicroservices/ServiceInterface.h>

#include <gtest/gtest.h>

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

/// Calls the operation in the slot of an object's table, without its name; slots 0 and 1 are the
/// two entries of the virtual destructor in the Itanium ABI.
template <class Interface, class Result, class... Arguments>
Result callSlot(Interface& object, std::size_t slot, Arguments... arguments) {
    using Operation = Result (*)(Interface*, Arguments...);
    void** const table = *reinterpret_cast<void***>(&object);
    return reinterpret_cast<Operation>(table[slot])(&object, arguments...);
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

// Back-ends are built apart from the library, so the order of the operations never changes.
TEST(StreamWriterTest, operationsStandInTheirSlots) {
    std::vector<std::string> calls;
    RecordingWriter writer(calls);
    StreamWriter& base = writer;
    const lang::core::ValuePath path("x");
    callSlot<StreamWriter, bool, std::size_t, double, const double*, std::size_t>(base, 2, 0, 0.0,
                                                                                  nullptr, 0);
    callSlot<StreamWriter, void, std::size_t, double>(base, 3, 0, 0.0);
    static_cast<void>(base.dataStore(path));
    static_cast<void>(base.dataStoreInfo());
    callSlot<StreamWriter, void>(base, 6);
    callSlot<StreamWriter, void>(base, 7);
    callSlot<StreamWriter, void>(base, 8);
    EXPECT_EQ(calls, (std::vector<std::string>{"write", "rollback", "dataStore", "dataStoreInfo",
                                               "flush", "flushIntermediate", "close"}));
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

TEST(InterfacesTest, servicesAreKnownByTheirClassNames) {
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
