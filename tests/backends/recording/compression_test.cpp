#include <tests/backends/recording/recordings.hpp>

#include <tests/backends/recording/value_kinds.hpp>
#include <tests/support/files.hpp>

#include <atomic>
#include <thread>
#include <tuple>

namespace logging2::core::test {
namespace {

namespace fs = std::filesystem;

class RecordingCompressionTest : public RecordingTest {
protected:
    RecordingCompressionTest() { options.compression = Compression::lz4; }

    /// A group with the scalar "x" of one kind and the wide channel "w" of another.
    static GroupSetup wideSetup(std::size_t width) {
        return {{Group(0), LoggedPathsSetupData(paths({{"x", 0}, {"w", 1}}),
                                                channels({{0, 1}, {1, width}}))}};
    }

    /// Writes the times and "x", and as element e of "w" the value of "x" e steps before.
    static void writeWide(StreamWriter& writer, const Doubles& times, const Doubles& x,
                          std::size_t width) {
        Doubles row(1 + width);
        for (std::size_t s = 0; s < times.size(); ++s) {
            row[0] = x[s];
            for (std::size_t e = 0; e < width; ++e) {
                row[1 + e] = wideValue(x, s, e);
            }
            writer.write(0, times[s], row.data(), row.size());
        }
    }

    static double wideValue(const Doubles& x, std::size_t s, std::size_t e) {
        return x[s < e ? 0 : s - e];
    }

    static void expectRows(const core::Run& run, const Doubles& times, const Doubles& x,
                           std::size_t width) {
        Doubles wide;
        for (std::size_t s = 0; s < times.size(); ++s) {
            for (std::size_t e = 0; e < width; ++e) {
                wide.push_back(wideValue(x, s, e));
            }
        }
        EXPECT_TRUE(sameBits(timesOf(run), times));
        EXPECT_TRUE(sameBits(valuesOf(run), x));
        EXPECT_TRUE(sameBits(valuesOf(run, "w"), wide));
    }

    static fs::path samplesOf(const RecordingStreamWriter& writer) {
        return fs::path(writer.location()) / "samples.bin";
    }

    /// Writes steps at the times 0, 1 and so on, of which "x" is the square.
    static void writeSquares(StreamWriter& writer, std::size_t count) {
        for (std::size_t s = 0; s < count; ++s) {
            const auto time = static_cast<double>(s);
            write(writer, 0, time, {time * time});
        }
    }

    static bool holdsSquares(const Series& series) {
        for (std::size_t s = 0; s < series.size(); ++s) {
            const auto time = static_cast<double>(s);
            if (series.times()[s] != time || series.values()[s] != time * time) {
                return false;
            }
        }
        return true;
    }
};

TEST_F(RecordingCompressionTest, everyKindOfValueIsKeptBitForBit) {
    for (const char* kind : value_kinds()) {
        for (const std::size_t width : {0U, 1U, 3U, 100U}) {
            for (const std::size_t count : {1U, 2U, 255U, 256U, 257U, 9000U}) {
                SCOPED_TRACE(kind + (" " + std::to_string(width)) + " " + std::to_string(count));
                const auto writer = makeWriter(wideSetup(width));
                const Doubles times = values_of_kind("regular times", count);
                const Doubles x = values_of_kind(kind, count);
                writeWide(*writer, times, x, width);
                writer->flush();
                expectRows(*open(*writer), times, x, width);
            }
        }
    }
}

TEST_F(RecordingCompressionTest, timesMayBeOfEveryKind) {
    for (const char* kind : value_kinds()) {
        SCOPED_TRACE(kind);
        const auto writer = makeWriter(wideSetup(1));
        const Doubles times = values_of_kind(kind, 20000);
        writeWide(*writer, times, values_of_kind("smooth", 20000), 1);
        writer->flush();
        expectRows(*open(*writer), times, values_of_kind("smooth", 20000), 1);
    }
}

TEST_F(RecordingCompressionTest, regularSignalsNeedFewBytes) {
    const auto writer = makeWriter();
    for (std::size_t s = 0; s < 100000; ++s) {
        write(*writer, 0, 0.001 * static_cast<double>(s), {7.0});
    }
    writer->flush();
    // The trees of both columns need 2 * 32 bytes per 256 steps, which is 25,000 bytes.
    EXPECT_LT(fs::file_size(samplesOf(*writer)), 60000U) << "of 1,600,000";
}

TEST_F(RecordingCompressionTest, noiseIsStoredAsWithoutCompression) {
    const auto sizeWith = [this](Compression compression) {
        options.compression = compression;
        const auto writer = makeWriter();
        const Doubles noise = values_of_kind("any bits", 60000);
        for (std::size_t s = 0; s < 30000; ++s) {
            write(*writer, 0, noise[2 * s], {noise[2 * s + 1]});
        }
        writer->flush();
        return fs::file_size(samplesOf(*writer));
    };
    EXPECT_EQ(sizeWith(Compression::lz4), sizeWith(Compression::none));
}

TEST_F(RecordingCompressionTest, emptyRunHasNoSamples) {
    const auto writer = makeWriter(wideSetup(3));
    writer->flush();
    expectRows(*open(*writer), {}, {}, 3);
}

TEST_F(RecordingCompressionTest, onlyColumnsThatAreNotPackedAreMapped) {
    const auto isView = [this](const char* times, const char* x) {
        const auto writer = makeWriter(wideSetup(0));
        writeWide(*writer, values_of_kind(times, 1000), values_of_kind(x, 1000), 0);
        writer->flush();
        return open(*writer)->series(ValuePath("x")).isView();
    };
    EXPECT_FALSE(isView("regular times", "smooth"));
    EXPECT_FALSE(isView("regular times", "any bits"));
    EXPECT_FALSE(isView("any bits", "constant"));
    EXPECT_TRUE(isView("any bits", "any bits"));
}

TEST_F(RecordingCompressionTest, mappedColumnStandsBesideAPackedOne) {
    const auto writer = makeWriter(wideSetup(1));
    const Doubles times = values_of_kind("any bits", 1000);
    for (const double time : times) {
        write(*writer, 0, time, {time, 1.0});
    }
    writer->flush();
    const Series series = open(*writer)->series(ValuePath("x"));
    EXPECT_TRUE(series.isView());
    EXPECT_TRUE(sameBits(doubles(series.values()), times));
    EXPECT_TRUE(sameBits(valuesOf(*open(*writer), "w"), Doubles(1000, 1.0)));
}

TEST_F(RecordingCompressionTest, rollbackShortensAPackedChunk) {
    for (const double last : {0.0, 1.0, 255.0, 256.0, 8190.0, 8191.0, 8192.0, 19998.0}) {
        SCOPED_TRACE(last);
        const auto writer = makeWriter();
        writeSquares(*writer, 20000);
        writer->flushIntermediate();
        writer->rollback(0, last);
        write(*writer, 0, last + 0.5, {-1.0});
        writer->flush();
        const auto run = open(*writer);
        const Series series = run->series(ValuePath("x"));
        const auto count = static_cast<std::size_t>(last) + 2;
        ASSERT_EQ(series.size(), count);
        EXPECT_EQ(series.times()[count - 2], last);
        EXPECT_EQ(series.values()[count - 2], last * last);
        EXPECT_EQ(series.values()[count - 1], -1.0);
        EXPECT_EQ(run->overview(ValuePath("x"), 0, 20000, 1).sampleCount.front(), count);
    }
}

TEST_F(RecordingCompressionTest, rangesAreCutAsWithoutCompression) {
    const auto writer = makeWriter();
    writeSquares(*writer, 20000);
    writer->flush();
    const auto run = open(*writer);
    for (const auto& [from, to] :
         std::initializer_list<std::pair<std::size_t, std::size_t>>{{0, 0},
                                                                    {0, 255},
                                                                    {255, 256},
                                                                    {256, 511},
                                                                    {300, 900},
                                                                    {8191, 8192},
                                                                    {8000, 17000},
                                                                    {8192, 16383},
                                                                    {16384, 19999},
                                                                    {19999, 19999}}) {
        SCOPED_TRACE(from);
        const Series series =
            run->series(ValuePath("x"), static_cast<double>(from), static_cast<double>(to));
        ASSERT_EQ(series.size(), to - from + 1);
        for (std::size_t s = 0; s < series.size(); ++s) {
            const auto time = static_cast<double>(from + s);
            ASSERT_EQ(series.times()[s], time);
            ASSERT_EQ(series.values()[s], time * time);
        }
    }
}

TEST_F(RecordingCompressionTest, overviewEqualsThatWithoutCompression) {
    const auto overviewWith = [this](Compression compression) {
        options.compression = compression;
        const auto writer = makeWriter(wideSetup(3));
        writeWide(*writer, values_of_kind("regular times", 30000), values_of_kind("special", 30000),
                  3);
        writer->flush();
        const Overview overview = open(*writer)->overview(ValuePath("w"), 0.1, 29.5, 777);
        return std::make_tuple(overview.least, overview.greatest, overview.nanCount,
                               overview.sampleCount);
    };
    EXPECT_EQ(overviewWith(Compression::lz4), overviewWith(Compression::none));
}

TEST_F(RecordingCompressionTest, readersFollowARunThatGoesOn) {
    options.commitInterval = std::chrono::milliseconds(1);
    options.chunkByteCount = 100000;
    const auto writer = makeWriter();
    std::atomic<bool> hasEnded{false};
    std::thread host([&] {
        writeSquares(*writer, 300000);
        writer->flush();
        hasEnded = true;
    });
    const auto run = open(*writer);
    std::size_t count = 0;
    for (bool isLast = false; !isLast;) {
        isLast = hasEnded;
        run->refresh();
        const Series series = run->series(ValuePath("x"));
        EXPECT_LE(count, series.size());
        count = series.size();
        EXPECT_TRUE(holdsSquares(series));
    }
    host.join();
    EXPECT_EQ(count, 300000U);
}

TEST_F(RecordingCompressionTest, rangeUnpacksItsOwnSegmentOnly) {
    const auto writer = makeWriter();
    const Doubles values = values_of_kind("smooth", 20000);
    for (std::size_t s = 0; s < values.size(); ++s) {
        write(*writer, 0, static_cast<double>(s), {values[s]});
    }
    writer->flush();
    // The last segment of the values stands before the nodes of the last column.
    std::string bytes = bytesOf(samplesOf(*writer));
    const std::size_t nodes = (79 + 3) * 32;
    bytes.at(bytes.size() - nodes - 1000) ^= 0x55;
    writeBytes(samplesOf(*writer), bytes);
    const auto run = open(*writer);
    const ValuePath x("x");
    EXPECT_THROW(run->series(x), RecordingError);
    EXPECT_THROW(run->series(x, 19900.0, 19999.0), RecordingError);
    EXPECT_EQ(run->series(x, 0.0, 16383.0).size(), 16384U);
    EXPECT_EQ(run->series(x, 8192.0, 9000.0).size(), 809U);
}

} // namespace
} // namespace logging2::core::test
