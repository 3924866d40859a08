#include <logging2/host/foundation/warnings.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using foundation::Message;

const Message message("vantrel:common:logging2:core:common", "RollbackNotSupported",
                      {u"run \u00e9"});

class WarningsTest : public ::testing::Test {
protected:
    void TearDown() override { foundation::setWarningHandler({}); }
};

TEST_F(WarningsTest, handlerGetsTheMessage) {
    std::vector<Message> received;
    foundation::setWarningHandler([&](const Message& warning) { received.push_back(warning); });
    ::testing::internal::CaptureStderr();
    foundation::issueWarning(message);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].catalog(), "vantrel:common:logging2:core:common");
    EXPECT_EQ(received[0].key(), "RollbackNotSupported");
    EXPECT_EQ(received[0].arguments(), std::vector<std::u16string>{u"run \u00e9"});
}

TEST_F(WarningsTest, settingAHandlerReturnsThePreviousOne) {
    int calls = 0;
    EXPECT_FALSE(foundation::setWarningHandler([&](const Message&) { ++calls; }));
    const foundation::WarningHandler former = foundation::setWarningHandler({});
    ASSERT_TRUE(former);
    former(message);
    EXPECT_EQ(calls, 1);
}

TEST_F(WarningsTest, warningWithoutAHandlerIsOneLineOnStandardError) {
    ::testing::internal::CaptureStderr();
    foundation::issueWarning(message);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "warning: RollbackNotSupported \"run \xc3\xa9\" "
              "[vantrel:common:logging2:core:common]\n");
}

TEST_F(WarningsTest, exceptionOfTheHandlerPropagates) {
    foundation::setWarningHandler([](const Message&) { throw std::runtime_error("refused"); });
    EXPECT_THROW(foundation::issueWarning(message), std::runtime_error);
}

TEST_F(WarningsTest, handlerMayReplaceItself) {
    foundation::setWarningHandler([](const Message&) { foundation::setWarningHandler({}); });
    foundation::issueWarning(message);
    EXPECT_FALSE(foundation::setWarningHandler({}));
}

/// The line that is printed for the warning if there is no handler.
std::string printed(const Message& warning) {
    ::testing::internal::CaptureStderr();
    foundation::issueWarning(warning);
    return ::testing::internal::GetCapturedStderr();
}

TEST_F(WarningsTest, lineContainsEveryArgument) {
    EXPECT_EQ(printed(Message("catalog", "Key", {u"a", u"b"})),
              "warning: Key \"a\" \"b\" [catalog]\n");
}

TEST_F(WarningsTest, controlCharactersAreEscaped) {
    const std::u16string argument(u"\0a\x1b[31m\n\t\r\x1f \x7f\u0080\u009f\u00a0~", 17);
    EXPECT_EQ(printed(Message("c\x1b\xc2\x9b\n", "k\x7f\t", {argument})),
              R"(warning: k\x7f\t "\x00a\x1b[31m\n\t\x0d\x1f \x7f\x80\x9f)"
              "\xc2\xa0~\" "
              R"([c\x1b\x9b\n])"
              "\n");
}

TEST_F(WarningsTest, quotesAndBackslashesAreEscaped) {
    EXPECT_EQ(printed(Message("c", "k", {u"a\" \"b", u"\\n\\"})),
              R"(warning: k "a\" \"b" "\\n\\" [c])"
              "\n");
}

TEST_F(WarningsTest, otherCharactersArePrintedAsUtf8) {
    EXPECT_EQ(printed(Message("\xc3\x9b", "\xe2\x82\xac", {u"\u00db\u20ac\U0001f600"})),
              "warning: \xe2\x82\xac \"\xc3\x9b\xe2\x82\xac\xf0\x9f\x98\x80\" [\xc3\x9b]\n");
}

} // namespace
