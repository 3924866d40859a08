#include <tests/allocation/subjects.hpp>

#include <memory>
#include <optional>

// The reader of the memory stores while every allocation fails once.

namespace logging2::core::test {
namespace {

const std::vector<double> storedTimes{1.0, 2.0};
const std::vector<double> storedValues{10.0, 11.0, 20.0, 21.0};

MemoryDatastore store() {
    return {std::make_shared<std::vector<double>>(storedTimes),
            std::make_shared<std::vector<double>>(storedValues)};
}

struct ReaderSubject {
    boost::any given = store();
    std::optional<MemoryStreamReader> reader{std::in_place, given};
};

ReaderSubject makeReader() {
    return {};
}

void expect_readable(const StreamReader& reader) {
    EXPECT_EQ(reader.times(), storedTimes);
    EXPECT_EQ(reader.timeseries(), std::pair(storedTimes, storedValues));
}

void expect_still_readable(ReaderSubject& subject, Attempt) {
    expect_readable(*subject.reader);
}

TEST(MemoryReaderSweepTest, failedConstructorLeavesTheStore) {
    struct Inputs {
        boost::any given = store();
        std::optional<MemoryStreamReader> reader;
    };
    expect_every_failure_propagates(
        "MemoryStreamReader: constructor", "the store can be used again", [] { return Inputs(); },
        [](Inputs& inputs) { inputs.reader.emplace(inputs.given); },
        [](Inputs& inputs, Attempt attempt) {
            EXPECT_NE(inputs.reader.has_value(), attempt.threw);
            expect_readable(MemoryStreamReader(inputs.given));
        });
    expect_every_failure_propagates(
        "MemoryStreamReader: constructor, no store", "no reader", [] { return boost::any(); },
        [](const boost::any& nothing) { const MemoryStreamReader reader(nothing); },
        [](const boost::any& nothing, Attempt) {
            EXPECT_TRUE(MemoryStreamReader(nothing).times().empty());
        });
}

TEST(MemoryReaderSweepTest, refusalOfAnotherStoreAllocatesNothing) {
    expect_no_allocation(
        "MemoryStreamReader: constructor, another store", [] { return boost::any(1); },
        [](const boost::any& other) {
            EXPECT_THROW(MemoryStreamReader{other}, boost::bad_any_cast);
        });
}

TEST(MemoryReaderSweepTest, failedReadCanBeRepeated) {
    expect_every_failure_propagates(
        "MemoryStreamReader: clone", "the reader still reads", makeReader,
        [](ReaderSubject& subject) { EXPECT_NE(subject.reader->clone(), nullptr); },
        expect_still_readable);
    expect_every_failure_propagates(
        "MemoryStreamReader: times", "the reader still reads", makeReader,
        [](ReaderSubject& subject) { EXPECT_EQ(subject.reader->times().size(), 2U); },
        expect_still_readable);
    expect_every_failure_propagates(
        "MemoryStreamReader: timeseries", "the reader still reads", makeReader,
        [](ReaderSubject& subject) { EXPECT_EQ(subject.reader->timeseries().second.size(), 4U); },
        expect_still_readable);
}

TEST(MemoryReaderSweepTest, destructorAllocatesNothing) {
    expect_no_allocation("MemoryStreamReader: destructor", makeReader,
                         [](ReaderSubject& subject) { subject.reader.reset(); });
}

TEST(MemoryReaderSweepTest, everyFailureOfDefaultReaderAndWriterPropagates) {
    expect_every_failure_propagates(
        "get_default_stream_reader", "the store can be used again",
        [] { return boost::any(store()); },
        [](const boost::any& given) { EXPECT_NE(get_default_stream_reader(given), nullptr); },
        [](const boost::any& given, Attempt) { expect_readable(MemoryStreamReader(given)); });
    struct Inputs {
        StreamingAttributes attributes = fullAttributes();
        GroupSetup setup = twoGroups();
    };
    expect_every_failure_propagates(
        "get_default_stream_writer", "the arguments can be used again", [] { return Inputs(); },
        [](Inputs& inputs) {
            EXPECT_NE(get_default_stream_writer(inputs.attributes, inputs.setup), nullptr);
        },
        [](Inputs& inputs, Attempt) {
            const auto writer = get_default_stream_writer(inputs.attributes, inputs.setup);
            write(*writer, 1, 1.0, {10.0});
            writer->close();
            EXPECT_EQ(memoryStore(*writer, secondGroupPath).times->size(), 1U);
        });
}

} // namespace
} // namespace logging2::core::test
