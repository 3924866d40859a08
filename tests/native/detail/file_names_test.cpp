#include <logging2/native/detail/file_names.hpp>

#include <gtest/gtest.h>

#include <string>

namespace logging2::core::detail {
namespace {

using Path = fl::filesystem::basic_path<char, char16_t>;

TEST(FileNamesTest, nameOfTimesFileContainsItsGroup) {
    const struct {
        std::size_t group;
        const char16_t* name;
    } cases[] = {
        {0, u"/t/u_times_0"},
        {12, u"/t/u_times_12"},
        {4294967296, u"/t/u_times_4294967296"},
        {~std::size_t{0}, u"/t/u_times_18446744073709551615"},
    };
    for (const auto& [group, name] : cases) {
        EXPECT_EQ(times_file(Path(u"/t/u"), group).text(), name);
    }
}

TEST(FileNamesTest, nameOfValuesFileContainsGroupAndChannel) {
    const struct {
        std::size_t group;
        std::size_t channel;
        const char16_t* name;
    } cases[] = {
        {0, 0, u"/t/\u00fc_values_0_0"},
        {12, 7, u"/t/\u00fc_values_12_7"},
        {7, 12, u"/t/\u00fc_values_7_12"},
        {0, ~std::size_t{0}, u"/t/\u00fc_values_0_18446744073709551615"},
    };
    for (const auto& [group, channel, name] : cases) {
        EXPECT_EQ(values_file(Path(u"/t/\u00fc"), group, channel).text(), name);
    }
}

TEST(FileNamesTest, bytesAreWidenedWithSignExtension) {
    EXPECT_EQ(widen_bytes(""), u"");
    EXPECT_EQ(widen_bytes("run 1\x7f"), u"run 1\u007f");
    const std::u16string widened = widen_bytes("\xc3\xbc\x80\xff");
    EXPECT_EQ(widened, (std::u16string{0xffc3, 0xffbc, 0xff80, 0xffff}));
}

} // namespace
} // namespace logging2::core::detail
