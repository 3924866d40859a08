#include <tests/allocation/subjects.hpp>

#include <optional>
#include <sstream>
#include <streambuf>

// The records that cross the interfaces and the store handles, while every allocation fails once.

namespace logging2::core::test {
namespace {

const std::u16string timesName = u"/a/directory/that/is/long/enough/stem_times_0";
const std::u16string valuesName = u"/a/directory/that/is/long/enough/stem_values_0_3";

NativeDatastore nativeStore() {
    return {timesName, valuesName};
}

StreamMetadata metadata() {
    return {{{ValuePath(firstPath), ChannelProperties(0, 3)}},
            {{0, RowLayout{{3, 1}, {4, 2}}}},
            {{0, 1}}};
}

TEST(RecordsSweepTest, failedCopyLeavesTheAttributes) {
    const auto expectFull = [](const StreamingAttributes& attributes, Attempt) {
        EXPECT_EQ(attributes.hostStrings, fullAttributes().hostStrings);
        EXPECT_EQ(std::string(attributes.name.data(), attributes.name.size()),
                  "a stream whose name is a long text");
    };
    expect_every_failure_propagates(
        "StreamingAttributes: copy", "the source stays", [] { return fullAttributes(); },
        [](const StreamingAttributes& attributes) { StreamingAttributes copy(attributes); },
        expectFull);
    expect_every_failure_propagates(
        "StreamingAttributes: copy assignment", "the source stays", [] { return fullAttributes(); },
        [](const StreamingAttributes& attributes) {
            StreamingAttributes target;
            target = attributes;
        },
        expectFull);
    expect_no_allocation(
        "StreamingAttributes: moves", [] { return fullAttributes(); },
        [](StreamingAttributes& attributes) {
            StreamingAttributes moved(std::move(attributes));
            attributes = std::move(moved);
        });
}

TEST(RecordsSweepTest, failedConstructorMakesNoNativeStore) {
    expect_every_failure_propagates(
        "NativeDatastore: constructor", "no store", [] { return std::optional<NativeDatastore>(); },
        [](std::optional<NativeDatastore>& store) { store.emplace(timesName, valuesName); },
        [](std::optional<NativeDatastore>& store, Attempt attempt) {
            EXPECT_NE(store.has_value(), attempt.threw);
        });
}

TEST(RecordsSweepTest, copiesAndMovesOfStoresAllocateNothing) {
    expect_no_allocation("NativeDatastore: copies and moves", nativeStore,
                         [](NativeDatastore& store) {
                             NativeDatastore copy(store);
                             NativeDatastore moved(std::move(copy));
                             store = moved;
                             store = std::move(moved);
                             EXPECT_EQ(store.timesLocation().size(), timesName.size());
                         });
    expect_no_allocation(
        "MemoryDatastore: copies and moves",
        [] {
            return MemoryDatastore{std::make_shared<std::vector<double>>(3),
                                   std::make_shared<std::vector<double>>(3)};
        },
        [](MemoryDatastore& store) {
            MemoryDatastore copy(store);
            MemoryDatastore moved(std::move(copy));
            store = moved;
        });
}

TEST(RecordsSweepTest, failedConstructorMakesNoMetadata) {
    struct Inputs {
        std::map<ValuePath, ChannelProperties> channelMetadata = metadata().channelMetadata();
        SequenceMap<std::size_t, RowLayout> logBufferData = metadata().logBufferData();
        std::map<std::size_t, std::size_t> groupChannels = metadata().groupChannels();
        std::optional<StreamMetadata> result;
    };
    const auto act = [](Inputs& inputs) {
        inputs.result.emplace(inputs.channelMetadata, inputs.logBufferData, inputs.groupChannels);
    };
    expect_every_failure_propagates(
        "StreamMetadata: constructor", "the maps stay", [] { return Inputs(); }, act,
        [&](Inputs& inputs, Attempt attempt) {
            EXPECT_NE(inputs.result.has_value(), attempt.threw);
            act(inputs);
            EXPECT_EQ(inputs.result->channelMetadata().size(), 1U);
            EXPECT_EQ(inputs.result->logBufferData().size(), 1U);
        });
}

TEST(RecordsSweepTest, movesAndQueriesOfMetadataAllocateNothing) {
    expect_no_allocation("StreamMetadata: moves and queries", metadata,
                         [](StreamMetadata& described) {
                             StreamMetadata moved(std::move(described));
                             EXPECT_TRUE(described.groupChannels().empty());
                             described = std::move(moved);
                             EXPECT_EQ(described.groupChannels().size(), 1U);
                             EXPECT_EQ(described.channelMetadata().size(), 1U);
                             EXPECT_EQ(described.logBufferData().size(), 1U);
                         });
}

/// Accepts any text and discards it, so that it allocates nothing.
class Nowhere : public std::streambuf {
    int_type overflow(int_type character) override { return traits_type::not_eof(character); }
};

// A host's stream that allocates swallows such a failure, as every stream does.
TEST(RecordsSweepTest, failedPrintingLeavesTheStreamGood) {
    Nowhere nowhere;
    const auto expectPrintable = [](auto&, Attempt) {};
    const auto print = [&](const auto& printed) {
        std::ostream stream(&nowhere);
        stream << printed;
        EXPECT_TRUE(stream.good());
    };
    expect_every_failure_propagates("NativeDatastore: operator<<", "the stream stays good",
                                    nativeStore, print, expectPrintable);
    expect_no_allocation("StreamMetadata: operator<<", metadata, print);
}

} // namespace
} // namespace logging2::core::test
