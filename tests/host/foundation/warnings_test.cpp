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

TEST_F(WarningsTest, settingAHandlerReturnsTheFormerOne) {
    int calls = 0;
    EXPECT_FALSE(foundation::setWarningHandler([&](const Message&) { ++calls; }));
    const foundation::WarningHandler former = foundation::setWarningHandler({});
    ASSERT_TRUE(former);
    former(message);
    EXPECT_EQ(calls, 1);
}

TEST_F(WarningsTest, withoutHandlerItIsOneReadableLineOnStandardError) {
    ::testing::internal::CaptureStderr();
    foundation::issueWarning(message);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "warning: RollbackNotSupported \"run \xc3\xa9\" "
              "[vantrel:common:logging2:core:common]\n");
}

TEST_F(WarningsTest, whatTheHandlerThrowsComesOut) {
    foundation::setWarningHandler([](const Message&) { throw std::runtime_error("refused"); });
    EXPECT_THROW(foundation::issueWarning(message), std::runtime_error);
}

TEST_F(WarningsTest, handlerMayReplaceItself) {
    foundation::setWarningHandler([](const Message&) { foundation::setWarningHandler({}); });
    foundation::issueWarning(message);
    EXPECT_FALSE(foundation::setWarningHandler({}));
}

TEST_F(WarningsTest, lineNamesEveryArgument) {
    ::testing::internal::CaptureStderr();
    foundation::issueWarning(Message("catalog", "Key", {u"a", u"b"}));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "warning: Key \"a\" \"b\" [catalog]\n");
}

} // namespace
