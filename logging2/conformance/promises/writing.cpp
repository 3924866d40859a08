#include <logging2/conformance/detail/Promise.hpp>

#include <logging2/conformance/detail/same_bits.hpp>

#include <cstdint>
#include <cstring>
#include <limits>

// Everything that is written can be read: order, layout, groups, every bit, any text, any length.

namespace logging2::core::conformance {
namespace {

using test::channels;
using test::mixedWidthSetup;
using test::paths;
using test::sameBits;
using test::write;

using Limits = std::numeric_limits<double>;

GroupSetup one_group(std::vector<LoggedPath> paths, std::vector<LoggedChannel> channels) {
    return GroupSetup{{Group(0), LoggedPathsSetupData(std::move(paths), std::move(channels))}};
}

double with_bits(std::uint64_t bits) {
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// Doubles whose bits are lost if they are added to something, printed or compared. Those that are
/// equal to each other are neighbours.
Doubles peculiar_doubles() {
    return {0.0,
            -0.0,
            Limits::infinity(),
            -Limits::infinity(),
            Limits::denorm_min(),
            -Limits::denorm_min(),
            Limits::min() / 3.0,
            Limits::max(),
            Limits::lowest(),
            1.0 + Limits::epsilon(),
            0.1,
            1.0 / 3.0,
            Limits::quiet_NaN(),
            -Limits::quiet_NaN(),
            with_bits(0x7FF8'0000'DEAD'BEEF),
            with_bits(0x7FF0'0000'0000'0001)}; // a signalling NaN
}

/// The value of a channel at a step; no two are equal.
double value_at(std::size_t step, std::size_t channel) {
    return static_cast<double>(step) + static_cast<double>(channel) / 1024.0;
}

constexpr std::size_t channelCount = 511;
constexpr std::size_t rowCount =
    20000; // more rows of this length than a file-backed writer buffers

GroupSetup many_channels() {
    std::vector<LoggedPath> paths;
    std::vector<LoggedChannel> channels;
    for (std::size_t channel = 0; channel < channelCount; ++channel) {
        paths.push_back({ValuePath("c" + std::to_string(channel)), CoreDataId(channel)});
        channels.push_back({CoreDataId(channel), 1});
    }
    return one_group(paths, channels);
}

void write_many_rows(StreamWriter& writer) {
    Doubles row(channelCount);
    for (std::size_t step = 0; step < rowCount; ++step) {
        for (std::size_t channel = 0; channel < channelCount; ++channel) {
            row[channel] = value_at(step, channel);
        }
        writer.write(0, static_cast<double>(step), row.data(), row.size());
    }
}

Doubles column_of(std::size_t channel) {
    Doubles column(rowCount);
    for (std::size_t step = 0; step < rowCount; ++step) {
        column[step] = value_at(step, channel);
    }
    return column;
}

const Promise table[] = {
    {"writeReturnsTrue", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         for (const double value : {1.0, 2.0}) {
             EXPECT_TRUE(writer->write(0, value, &value, 1));
         }
     }},
    {"samplesAreReadInOrder", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {0.5, 1.5, 2.5});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {0.5, 1.5, 2.5}, {1.0, 2.0, 3.0}));
     }},
    {"timesMayRepeatAndGoBack", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         write_calls(*writer, 0, {3.0, 3.0, 1.0, 2.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {3.0, 3.0, 1.0, 2.0}, {1.0, 2.0, 3.0, 4.0}));
     }},
    {"valuesAreSampleMajor", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(mixedWidthSetup());
         write(*writer, 0, 1.0, {1.0, 10.0, 100.0});
         write(*writer, 0, 2.0, {2.0, 20.0, 200.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "a"), {1.0, 2.0}, {1.0, 2.0}));
         EXPECT_TRUE(holds(session.read(*writer, "b"), {1.0, 2.0}, {10.0, 100.0, 20.0, 200.0}));
     }},
    {"setupDefinesTheChannelOrder", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(
             one_group(paths({{"low", 1}, {"high", 9}}), channels({{9, 1}, {1, 1}})));
         write(*writer, 0, 0.0, {90.0, 10.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "high"), {0.0}, {90.0}));
         EXPECT_TRUE(holds(session.read(*writer, "low"), {0.0}, {10.0}));
     }},
    {"channelWithoutPathsKeepsItsPlaceInTheRow", everyBackend,
     [](Session& session) {
         const auto writer =
             session.writer(one_group(paths({{"x", 3}}), channels({{1, 2}, {2, 1}, {3, 1}})));
         write(*writer, 0, 1.0, {1.0, 2.0, 3.0, 4.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {4.0}));
     }},
    {"channelOfWidthZeroHasOnlyTimes", everyBackend,
     [](Session& session) {
         const auto writer =
             session.writer(one_group(paths({{"none", 1}, {"x", 2}}), channels({{1, 0}, {2, 1}})));
         write(*writer, 0, 1.0, {5.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "none"), {1.0}, {}));
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {5.0}));
     }},
    {"pathsOfOneChannelShowTheSameData", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(
             one_group(paths({{"a", 7}, {"b", 9}, {"alias", 7}}), channels({{7, 1}, {9, 1}})));
         write(*writer, 0, 1.0, {1.0, 2.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "a"), {1.0}, {1.0}));
         EXPECT_TRUE(holds(session.read(*writer, "alias"), {1.0}, {1.0}));
     }},
    {"pathsOfAGroupHaveTheSameTimes", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(mixedWidthSetup());
         write(*writer, 0, 1.0, {1.0, 2.0, 3.0});
         write(*writer, 0, 4.0, {4.0, 5.0, 6.0});
         writer->flush();
         EXPECT_TRUE(sameBits(session.read(*writer, "a").first, {1.0, 4.0}));
         EXPECT_TRUE(sameBits(session.read(*writer, "b").first, {1.0, 4.0}));
     }},
    {"groupsAreIndependent", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(scalar_groups(2));
         write(*writer, 1, 5.0, {50.0});
         write(*writer, 0, 1.0, {10.0});
         write(*writer, 1, 6.0, {60.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x0"), {1.0}, {10.0}));
         EXPECT_TRUE(holds(session.read(*writer, "x1"), {5.0, 6.0}, {50.0, 60.0}));
     }},
    {"groupsMayBeListedInAnyOrder", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(GroupSetup{
             {Group(1), LoggedPathsSetupData(paths({{"one", 1}}), channels({{1, 1}}))},
             {Group(0), LoggedPathsSetupData(paths({{"zero", 0}}), channels({{0, 1}}))}});
         write(*writer, 0, 5.0, {50.0});
         write(*writer, 1, 6.0, {60.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "zero"), {5.0}, {50.0}));
         EXPECT_TRUE(holds(session.read(*writer, "one"), {6.0}, {60.0}));
     }},
    {"groupWithoutSamplesHasNoData", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(scalar_groups(2));
         write(*writer, 1, 5.0, {50.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x0"), {}, {}));
     }},
    {"setupMayHaveNoGroups", everyBackend,
     [](Session& session) { EXPECT_NO_THROW(session.writer(GroupSetup())->flush()); }},
    {"everyBitOfAValueIsKept", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         for (const double value : peculiar_doubles()) {
             write(*writer, 0, 1.0, {value});
         }
         writer->flush();
         EXPECT_TRUE(sameBits(session.read(*writer, "x").second, peculiar_doubles()));
     }},
    {"everyBitOfATimeIsKept", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         for (const double time : peculiar_doubles()) {
             write(*writer, 0, time, {1.0});
         }
         writer->flush();
         EXPECT_TRUE(sameBits(session.read(*writer, "x").first, peculiar_doubles()));
     }},
    {"writeCopiesTheValues", everyBackend,
     [](Session& session) {
         const auto writer = session.writer();
         double value = 1.0;
         writer->write(0, 1.0, &value, 1);
         value = 2.0;
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {1.0}, {1.0}));
     }},
    {"constructorCopiesSetupAndAttributes", everyBackend,
     [](Session& session) {
         GroupSetup setup = test::scalarSetup();
         StreamingAttributes changing = attributes();
         const auto writer = session.writer(setup, changing);
         setup = GroupSetup();
         changing.rollbackOnTimeRegression = true;
         changing.pointLimit = 0;
         write_calls(*writer, 0, {2.0, 1.0});
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "x"), {2.0, 1.0}, {1.0, 2.0}));
     }},
    {"namesAndPathsMayBeAnyText", everyBackend,
     [](Session& session) {
         const std::vector<std::string> texts{"",
                                              "a b",
                                              "../..//etc",
                                              "{\"q\": 'r'}\n\t%s",
                                              "größe.Δt",
                                              "信号",
                                              "\xF0\x9F\x9A\x80",
                                              std::string("nul\0in", 6),
                                              std::string(5000, 'p')};
         std::vector<LoggedPath> logged;
         for (const std::string& text : texts) {
             logged.push_back({ValuePath(text), CoreDataId(1)});
         }
         StreamingAttributes named = attributes();
         named.name = std::string_view("größe 信号");
         const auto writer = session.writer(one_group(logged, channels({{1, 1}})), named);
         write(*writer, 0, 1.0, {2.0});
         writer->flush();
         for (const std::string& text : texts) {
             EXPECT_TRUE(holds(session.read(*writer, text), {1.0}, {2.0})) << text;
         }
     }},
    {"manyGroupsAreIndependent", everyBackend,
     [](Session& session) {
         constexpr std::size_t groupCount = 300;
         const auto writer = session.writer(scalar_groups(groupCount), attributes(2));
         for (std::size_t group = 0; group < groupCount; ++group) {
             write(*writer, group, 1.0, {static_cast<double>(group)});
         }
         writer->flush();
         for (std::size_t group = 0; group < groupCount; ++group) {
             EXPECT_TRUE(holds(session.read(*writer, "x" + std::to_string(group)), {1.0},
                               {static_cast<double>(group)}));
         }
     }},
    {"manyRowsAreKept", everyBackend,
     [](Session& session) {
         constexpr std::size_t count = 300000;
         const auto writer = session.writer(mixedWidthSetup(), attributes(count));
         Doubles times(count);
         Doubles values;
         for (std::size_t step = 0; step < count; ++step) {
             times[step] = static_cast<double>(step) / 7.0;
             const double row[] = {times[step], value_at(step, 1), value_at(step, 2)};
             values.insert(values.end(), row + 1, row + 3);
             writer->write(0, times[step], row, 3);
         }
         writer->flush();
         EXPECT_TRUE(holds(session.read(*writer, "a"), times, times));
         EXPECT_TRUE(holds(session.read(*writer, "b"), times, values));
     }},
    {"manyChannelsAreKept", everyBackend,
     [](Session& session) {
         const auto writer = session.writer(many_channels(), attributes(rowCount));
         write_many_rows(*writer);
         writer->flush();
         for (const std::size_t channel : {std::size_t{0}, channelCount / 2, channelCount - 1}) {
             const Series series = session.read(*writer, "c" + std::to_string(channel));
             EXPECT_EQ(series.first.size(), rowCount);
             EXPECT_TRUE(sameBits(series.second, column_of(channel))) << channel;
         }
     }},
};

} // namespace

std::vector<Promise> writing_promises() {
    return {std::begin(table), std::end(table)};
}

} // namespace logging2::core::conformance
