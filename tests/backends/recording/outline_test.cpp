#include <tests/backends/recording/recordings.hpp>

#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <tuple>

namespace logging2::core::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class OutlineTest : public RecordingTest {
protected:
    /// The outline of "x" in one bucket, when these values were logged at 0, 1, 2, ...
    OutlineBucket bucketOf(const Doubles& values) {
        const auto writer = makeWriter();
        for (std::size_t step = 0; step < values.size(); ++step) {
            write(*writer, 0, static_cast<double>(step), {values[step]});
        }
        writer->flush();
        return open(*writer)->outline(ValuePath("x"), 0, 0.0, 1e9, 1).front();
    }
};

TEST_F(OutlineTest, bucketHasFirstLeastGreatestAndLastValue) {
    const OutlineBucket bucket = bucketOf({3.0, -1.0, 7.0, 4.0});
    EXPECT_EQ(bucket.sampleCount, 4U);
    EXPECT_THAT((Doubles{bucket.firstTime, bucket.first, bucket.least, bucket.greatest,
                         bucket.lastTime, bucket.last}),
                ElementsAre(0.0, 3.0, -1.0, 7.0, 3.0, 4.0));
}

TEST_F(OutlineTest, leastAndGreatestAreFinite) {
    const OutlineBucket bucket = bucketOf({infinity, 2.0, nan, -3.0, infinity});
    EXPECT_TRUE(bucket.hasPositiveInfinity);
    EXPECT_FALSE(bucket.hasNegativeInfinity);
    EXPECT_TRUE(bucket.hasNan);
    EXPECT_EQ(bucket.least, -3.0);
    EXPECT_EQ(bucket.greatest, 2.0);
    EXPECT_EQ(bucket.first, infinity);
}

TEST_F(OutlineTest, bucketWithoutFiniteValueHasNoLeastOne) {
    const OutlineBucket bucket = bucketOf({-infinity, nan});
    EXPECT_TRUE(bucket.hasNegativeInfinity);
    EXPECT_EQ(bucket.least, infinity);
    EXPECT_EQ(bucket.greatest, -infinity);
}

TEST_F(OutlineTest, fewInfinitePiecesHideNoSpike) {
    Doubles values(2000, 0.0);
    values[300] = infinity;
    values[310] = 5.0;
    EXPECT_EQ(bucketOf(values).greatest, 5.0);
}

// Intended: the cost is bounded. The least value is known without looking into the last piece.
TEST_F(OutlineTest, manyInfinitePiecesAreNotAllRead) {
    Doubles values(100'000, infinity);
    values[99'990] = 7.0;
    values.back() = 5.0;
    const OutlineBucket bucket = bucketOf(values);
    EXPECT_TRUE(bucket.hasPositiveInfinity);
    EXPECT_EQ(bucket.sampleCount, values.size());
    EXPECT_EQ(bucket.last, 5.0);
    EXPECT_EQ(bucket.least, 5.0);
    EXPECT_EQ(bucket.greatest, 5.0);
}

TEST_F(OutlineTest, bucketsOverManyChunksHaveTheirOwnEnds) {
    options.chunkByteCount = 1024;
    const auto writer = makeWriter();
    for (int step = 0; step < 1000; ++step) {
        write(*writer, 0, step, {step * 10.0});
    }
    writer->flush();
    const Outline outline = open(*writer)->outline(ValuePath("x"), 0, 0.0, 1000.0, 2);
    EXPECT_EQ(outline[0].last, 4990.0);
    EXPECT_EQ(outline[1].first, 5000.0);
    EXPECT_EQ(outline[1].last, 9990.0);
    EXPECT_EQ(outline[1].lastTime, 999.0);
}

/// Six elements, with spikes, NaN and infinities.
Doubles six_elements(int step) {
    const double value = step % 700 == 0 ? 1000.0 : std::sin(step);
    return {value, -value, value * step, step % 5 == 0 ? nan : value, infinity, 7.0};
}

void expect_same(const Outline& a, const Outline& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(a[i].sampleCount, b[i].sampleCount);
        EXPECT_EQ(std::tie(a[i].hasNan, a[i].hasPositiveInfinity, a[i].hasNegativeInfinity),
                  std::tie(b[i].hasNan, b[i].hasPositiveInfinity, b[i].hasNegativeInfinity));
        const auto numbers = [](const OutlineBucket& bucket) {
            return Doubles{bucket.firstTime, bucket.lastTime, bucket.first,
                           bucket.last,      bucket.least,    bucket.greatest};
        };
        EXPECT_TRUE(sameBits(numbers(a[i]), numbers(b[i]))) << "bucket " << i;
    }
}

TEST_F(OutlineTest, elementsOfAVectorHaveTheOutlinesOfScalars) {
    options.chunkByteCount = 65536;
    const auto vector =
        makeWriter({{Group(0), LoggedPathsSetupData(paths({{"v", 1}}), channels({{1, 6}}))}});
    std::vector<std::unique_ptr<RecordingStreamWriter>> scalars;
    for (int element = 0; element < 6; ++element) {
        scalars.push_back(makeWriter());
    }
    for (int step = 0; step < 5000; ++step) {
        const Doubles values = six_elements(step);
        write(*vector, 0, step, values);
        for (std::size_t element = 0; element < 6; ++element) {
            write(*scalars[element], 0, step, {values[element]});
        }
    }
    const auto run = open(*vector);
    for (const std::size_t bucketCount : {1U, 7U, 300U, 20000U}) {
        for (const std::size_t element : {2U, 5U, 0U, 4U, 1U, 3U}) {
            for (const double from : {0.0, 1234.5}) {
                expect_same(
                    run->outline(ValuePath("v"), element, from, 5000.0, bucketCount),
                    open(*scalars[element])->outline(ValuePath("x"), 0, from, 5000.0, bucketCount));
            }
        }
    }
}

TEST_F(OutlineTest, questionsThatDifferLittleHaveTheirOwnAnswers) {
    const auto writer = makeWriter(twoGroups());
    for (int step = 0; step < 10; ++step) {
        write(*writer, 0, step, {1.0 * step});
        write(*writer, 5, step, {10.0 * step, 100.0 * step, 0.0, 0.0});
    }
    writer->flushIntermediate();
    const auto run = open(*writer);
    const auto greatest = [&](const char* path, double from, double to) {
        return run->outline(ValuePath(path), 0, from, to, 1).front().greatest;
    };
    for (int repetition = 0; repetition < 2; ++repetition) {
        for (int end = 1; end < 10; ++end) {
            EXPECT_EQ(greatest("x", 0.0, end), end);
            EXPECT_EQ(greatest("y", 0.0, end), 10.0 * end);
            EXPECT_EQ(greatest("z", 0.0, end), 100.0 * end);
            EXPECT_EQ(greatest("same", end, 9.0), 9.0);
        }
    }
}

TEST_F(OutlineTest, outlineGoesOnWithTheRun) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flushIntermediate();
    const auto run = open(*writer);
    const auto newest = [&] { return run->outline(ValuePath("x"), 0, 0.0, 10.0, 1).front().last; };
    EXPECT_EQ(newest(), 20.0);
    writeTimes(*writer, {3.0});
    writer->flushIntermediate();
    EXPECT_EQ(newest(), 20.0);
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(newest(), 30.0);
    writer->rollback(0, 1.0);
    write(*writer, 0, 2.5, {25.0});
    write(*writer, 0, 3.0, {31.0});
    writer->flushIntermediate();
    EXPECT_TRUE(run->refresh());
    EXPECT_EQ(newest(), 31.0);
}

TEST_F(OutlineTest, questionsWithoutMeaningAreRefused) {
    const auto writer = makeWriter(twoGroups());
    const auto run = open(*writer);
    const ValuePath path("z");
    EXPECT_THROW(run->outline(path, 0, 0.0, 1.0, 0), std::invalid_argument);
    EXPECT_THROW(run->outline(path, 0, 1.0, 0.0, 1), std::invalid_argument);
    EXPECT_THROW(run->outline(path, 0, nan, 1.0, 1), std::invalid_argument);
    EXPECT_THROW(run->outline(path, 0, 0.0, infinity, 1), std::invalid_argument);
    EXPECT_THROW(run->outline(path, 0, 0.0, 1.0, ~std::size_t{0}), std::invalid_argument);
    EXPECT_THAT([&] { run->outline(path, 3, 0.0, 1.0, 1); },
                ThrowsMessage<std::out_of_range>(HasSubstr("\"z\" has no element 3")));
    EXPECT_THAT([&] { run->outline(ValuePath("nothing"), 0, 0.0, 1.0, 1); },
                ThrowsMessage<std::out_of_range>(HasSubstr("\"nothing\" has no element 0")));
    EXPECT_THAT([&] { run->outline(ValuePath("unknown"), 0, 0.0, 1.0, 1); },
                ThrowsMessage<std::out_of_range>(HasSubstr("\"unknown\"")));
}

TEST_F(OutlineTest, copiedSamplesAreNoViewOfTheFile) {
    const auto writer = makeWriter();
    writeTimes(*writer, {1.0, 2.0});
    writer->flush();
    const auto run = open_recording(writer->location(), SampleAccess::copied);
    EXPECT_FALSE(run->series(ValuePath("x")).isView());
    EXPECT_TRUE(open(*writer)->series(ValuePath("x")).isView());
    EXPECT_THAT(valuesOf(*run), ElementsAre(10.0, 20.0));
}

TEST_F(OutlineTest, copiedSamplesOfATruncatedFileAreAnError) {
    const auto writer = makeWriter();
    writeTimes(*writer, Doubles(10'000, 1.0));
    writer->flush();
    const auto run = open_recording(writer->location(), SampleAccess::copied);
    std::filesystem::resize_file(writer->location() + "/samples.bin", 4096);
    EXPECT_THROW(run->series(ValuePath("x")), RecordingError);
    EXPECT_THROW(run->outline(ValuePath("x"), 0, 0.0, 2.0, 3), RecordingError);
}

} // namespace
} // namespace logging2::core::test
