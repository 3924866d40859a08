#include <tests/backends/recording/checked_recordings.hpp>

#include <algorithm>
#include <locale>

// Recordings do not depend on the locale of the host.

namespace logging2::core::test {
namespace {

using ::testing::IsEmpty;

/// Numbers such as 1.000,5.
class GroupedDigits : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// The byte 0xA0 is a space, as in ISO 8859-1.
class ManySpaces : public std::ctype<char> {
public:
    ManySpaces() : ctype(table()) {}

private:
    static const mask* table() {
        static const std::vector<mask> masks = [] {
            std::vector<mask> result(classic_table(), classic_table() + table_size);
            result[0xA0] |= space;
            return result;
        }();
        return masks.data();
    }
};

/// Sets the locale of all new streams while the object lives.
class GlobalLocale {
public:
    GlobalLocale()
        : former(std::locale::global(std::locale(
              std::locale(std::locale::classic(), new GroupedDigits), new ManySpaces))) {}
    ~GlobalLocale() { std::locale::global(former); }
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

private:
    std::locale former;
};

class RecordingLocaleTest : public CheckRecordingTest {
protected:
    std::string record() {
        options.properties = {{"m\xA0n", "\xA0"}};
        StreamingAttributes attributes;
        attributes.name = "a\xC2\xA0z";
        const auto writer = makeWriter(
            GroupSetup{{Group(1000), LoggedPathsSetupData(paths({{"big", 12345}, {"\xA0", 12345}}),
                                                          channels({{12345, 1}}))}},
            attributes);
        write(*writer, 1000, 1.0, {1.0});
        writer->flush();
        return writer->location();
    }

    static void expectWhole(const std::string& name) {
        EXPECT_THAT(check_recording(name).findings, IsEmpty());
        const auto run = open_recording(name);
        EXPECT_EQ(run->info().name, "a\xC2\xA0z");
        EXPECT_EQ(run->info().properties.at("m\xA0n"), "\xA0");
        EXPECT_EQ(run->signals().at(0).channel, 12345U);
        EXPECT_EQ(run->groups().at(0).id, 1000U);
        EXPECT_EQ(timesOf(*run, "\xA0"), Doubles{1.0});
    }

    std::string rebuilt(const std::string& name) const {
        const std::string newName =
            (directory.path() / std::to_string(directory.names().size())).string();
        rebuild_recording(name, newName);
        return newName;
    }
};

TEST_F(RecordingLocaleTest, recordingOfAnotherLocaleIsWhole) {
    std::string name;
    {
        const GlobalLocale locale;
        name = record();
        expectWhole(name);
        expectWhole(rebuilt(name));
    }
    expectWhole(name);
    expectWhole(rebuilt(name));
}

TEST_F(RecordingLocaleTest, anotherLocaleReadsTheSame) {
    const std::string name = record();
    const GlobalLocale locale;
    expectWhole(name);
    expectWhole(rebuilt(name));
}

TEST_F(RecordingLocaleTest, findingsHaveTheSameNumbersInEachLocale) {
    changeRow("last_time", "1234.5");
    const GlobalLocale locale;
    expectFinding(samples(), "1234.5");
}

} // namespace
} // namespace logging2::core::test
