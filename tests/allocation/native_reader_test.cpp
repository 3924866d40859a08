#include <tests/allocation/native_subjects.hpp>

#include <optional>

// The reader of the file-backed stores while every allocation fails once.

namespace logging2::core::test {
namespace {

class NativeReaderSweepTest : public NativeSweepTest {
protected:
    struct ReaderSubject {
        boost::any given;
        std::optional<NativeStreamReader> reader;
        std::unique_ptr<StreamReader> clone;
    };

    /// A store of two files that hold data.
    NativeDatastore store() const {
        writeDoubles(timesFile, storedTimes);
        writeDoubles(valuesFile, storedValues);
        return {foundation::utf8_string_to_ustring(timesFile.string()),
                foundation::utf8_string_to_ustring(valuesFile.string())};
    }

    ReaderSubject makeReader() const {
        const boost::any given = store();
        return {given, std::optional<NativeStreamReader>(std::in_place, given), nullptr};
    }

    void expectEveryReadFailurePropagates(const std::string& operation,
                                          void (*act)(ReaderSubject&)) const {
        expect_every_failure_propagates(
            "NativeStreamReader: " + operation, "the reader still reads",
            [this] { return makeReader(); }, act,
            [this](ReaderSubject& subject, Attempt) {
                EXPECT_EQ(subject.reader->timeseries(), std::pair(storedTimes, storedValues));
            });
    }

    std::filesystem::path timesFile = directory.path() / "a-stem-that-is-long_times_0";
    std::filesystem::path valuesFile = directory.path() / "a-stem-that-is-long_values_0_1";
    std::vector<double> storedTimes{1.0, 2.0};
    std::vector<double> storedValues{10.0, 11.0, 20.0, 21.0};
};

TEST_F(NativeReaderSweepTest, failedConstructorDeletesNothing) {
    expect_every_failure_propagates(
        "NativeStreamReader: constructor", "no file is deleted, the store can be used again",
        [this] {
            return ReaderSubject{store(), std::nullopt, nullptr};
        },
        [](ReaderSubject& subject) { subject.reader.emplace(subject.given); },
        [this](ReaderSubject& subject, Attempt attempt) {
            EXPECT_NE(subject.reader.has_value(), attempt.threw);
            const NativeStreamReader again(subject.given);
            EXPECT_EQ(again.times(), storedTimes);
        });
    expect_every_failure_propagates(
        "NativeStreamReader: constructor, no store", "no reader", [] { return boost::any(); },
        [](const boost::any& nothing) { const NativeStreamReader reader(nothing); },
        [](const boost::any&, Attempt) {});
    expect_no_allocation(
        "NativeStreamReader: constructor, another store", [] { return boost::any(1); },
        [](const boost::any& other) {
            EXPECT_THROW(NativeStreamReader{other}, boost::bad_any_cast);
        });
}

TEST_F(NativeReaderSweepTest, failedReadCanBeRepeated) {
    expectEveryReadFailurePropagates(
        "times", [](ReaderSubject& subject) { EXPECT_EQ(subject.reader->times().size(), 2U); });
    expectEveryReadFailurePropagates("timeseries", [](ReaderSubject& subject) {
        EXPECT_EQ(subject.reader->timeseries().second.size(), 4U);
    });
}

TEST_F(NativeReaderSweepTest, failedReadOfAFileCanBeRepeated) {
    struct Subject {
        NativeStreamReader reader;
        fl::filesystem::basic_path<char, char16_t> file;
    };
    store();
    const std::u16string name = foundation::utf8_string_to_ustring(valuesFile.string());
    for (const std::u16string suffix : {u"", u"-that-is-missing"}) {
        const std::size_t count = suffix.empty() ? 4 : 0;
        expect_every_failure_propagates(
            suffix.empty() ? "NativeStreamReader: read" : "NativeStreamReader: read, no file",
            "the next call reads",
            [&] {
                return Subject{NativeStreamReader(boost::any()),
                               fl::filesystem::detail::make_native_form(name + suffix)};
            },
            [&](Subject& subject) { EXPECT_EQ(subject.reader.read(subject.file).size(), count); },
            [&](Subject& subject, Attempt) {
                EXPECT_EQ(subject.reader.read(subject.file).size(), count);
            });
    }
}

// Destroying a clone deletes the files; a clone that was never made deletes nothing.
TEST_F(NativeReaderSweepTest, failedCloneDeletesNothing) {
    expect_every_failure_propagates(
        "NativeStreamReader: clone", "no file is deleted, the reader still reads",
        [this] { return makeReader(); },
        [](ReaderSubject& subject) { subject.clone = subject.reader->clone(); },
        [this](ReaderSubject& subject, Attempt attempt) {
            EXPECT_NE(subject.clone != nullptr, attempt.threw);
            EXPECT_EQ(subject.reader->timeseries(), std::pair(storedTimes, storedValues));
        });
}

TEST_F(NativeReaderSweepTest, destructorWithoutMemoryLeavesAtMostOneFile) {
    const SweepCounts counts = for_every_failing_allocation(
        [this] { return makeReader(); }, [](ReaderSubject& subject) { subject.reader.reset(); },
        [this](ReaderSubject&, Attempt attempt) {
            const int left = (std::filesystem::exists(timesFile) ? 1 : 0) +
                             (std::filesystem::exists(valuesFile) ? 1 : 0);
            EXPECT_EQ(left, attempt.failed ? 1 : 0);
        });
    EXPECT_EQ(counts.thrown, 0U);
    EXPECT_GT(counts.absorbed(), 0U);
    print_sweep("NativeStreamReader: destructor", counts,
                "never throws; the file whose deletion failed stays, the other is gone");
}

} // namespace
} // namespace logging2::core::test
