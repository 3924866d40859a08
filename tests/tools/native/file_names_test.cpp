#include <tools/native/file_names.hpp>

#include <logging2/logging2.hpp>

#include <gtest/gtest.h>

namespace logging2::tools {
namespace {

const std::string stem = "0123abcd-0123-4123-8123-0123456789ab";

std::string name_in(const std::u16string& location) {
    const std::string path = foundation::ustring_to_utf8_string(location);
    return path.substr(path.rfind('/') + 1);
}

TEST(NativeFileNamesTest, namesOfTheWriterAreRecognised) {
    const lang::core::ValuePath path("x");
    const core::CoreDataId id(70);
    core::SequenceMap<core::Group, core::LoggedPathsSetupData> setup;
    setup.insert(core::Group(3), core::LoggedPathsSetupData({{path, id}}, {{id, 1}}));
    const core::NativeStreamWriter writer({}, setup);
    const auto store = boost::any_cast<core::NativeDatastore>(writer.dataStore(path));

    const auto times = parse_file_name(name_in(store.timesLocation()));
    const auto values = parse_file_name(name_in(store.valuesLocation()));
    ASSERT_TRUE(times && values);
    EXPECT_EQ(times->stem, values->stem);
    EXPECT_EQ(times->group, 3U);
    EXPECT_FALSE(times->channel);
    EXPECT_EQ(values->group, 3U);
    EXPECT_EQ(values->channel, 70U);
    EXPECT_EQ(text_of(*times), name_in(store.timesLocation()));
    EXPECT_EQ(text_of(*values), name_in(store.valuesLocation()));
    EXPECT_TRUE(begins_stem(times->stem));
}

TEST(NativeFileNamesTest, directoryOfTheWriterIsRecognised) {
    const std::string directory = writer_directory();
    EXPECT_TRUE(names_writer_directory(directory.substr(directory.rfind('/') + 1))) << directory;
}

TEST(NativeFileNamesTest, greatestNumbersAreRead) {
    const auto name = parse_file_name(stem + "_values_0_18446744073709551615");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->channel, 18446744073709551615U);
}

TEST(NativeFileNamesTest, otherNamesAreRefused) {
    for (const std::string& name : {std::string(),
                                    stem,
                                    stem + "_times_",
                                    stem + "_times_00",
                                    stem + "_times_01",
                                    stem + "_times_+1",
                                    stem + "_times_1 ",
                                    stem + "_times_1\n",
                                    stem + "_times_1_2",
                                    stem + "_times_0.old",
                                    "." + stem + "_times_0",
                                    stem + "_values_0",
                                    stem + "_values_0_",
                                    stem + "_values_0_-1",
                                    stem + "_values_0_0_0",
                                    stem + "_values_00_0",
                                    stem + "_values_0_18446744073709551616",
                                    stem + "_TIMES_0",
                                    stem + "times_0",
                                    std::string("0123ABCD-0123-4123-8123-0123456789ab_times_0"),
                                    std::string("0123abcd-0123-3123-8123-0123456789ab_times_0"),
                                    std::string("0123abcd-0123-4123-c123-0123456789ab_times_0"),
                                    std::string("0123abcd-0123-4123-8123-0123456789a_times_0"),
                                    stem + "_times_0" + std::string(1, '\0')}) {
        EXPECT_FALSE(parse_file_name(name)) << name;
    }
}

TEST(NativeFileNamesTest, beginningsHaveAtLeastEightCharacters) {
    for (const std::size_t length : {8U, 9U, 10U, 36U}) {
        EXPECT_TRUE(begins_stem(stem.substr(0, length))) << length;
    }
    for (const std::string& text :
         {std::string(), stem.substr(0, 7), stem + "_", std::string("0123abcg"),
          std::string("0123ABCD"), std::string("0123abcd_"), std::string("0123abcd-0123-5")}) {
        EXPECT_FALSE(begins_stem(text)) << text;
    }
}

TEST(NativeFileNamesTest, directoriesOfWritersHaveThePrefix) {
    EXPECT_TRUE(names_writer_directory("trakontmp.ann"));
    EXPECT_FALSE(names_writer_directory("trakontmp"));
    EXPECT_FALSE(names_writer_directory("xtrakontmp.ann"));
}

} // namespace
} // namespace logging2::tools
