#include <logging2/logging2.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/support/files.hpp>
#include <tests/support/setups.hpp>

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>
#include <vector>

// This executable replaces the system's list of users and the id of the running user.

namespace {

constexpr uid_t runningUser = 4711;

enum class Answer { name, noEntry, nullName, error };

Answer answer = Answer::name;
std::string loginName = "ann";
std::size_t requiredByteCount = 0;
int interruptions = 0;
std::vector<std::string> calls;

} // namespace

extern "C" uid_t getuid() noexcept {
    return runningUser;
}

extern "C" int getpwuid_r(uid_t user, passwd* entry, char*, std::size_t byteCount,
                          passwd** result) {
    *result = nullptr;
    calls.emplace_back("user");
    if (interruptions > 0) {
        --interruptions;
        return EINTR;
    }
    if (byteCount < requiredByteCount) {
        return ERANGE;
    }
    if (answer == Answer::noEntry || user != runningUser) {
        return 0;
    }
    if (answer == Answer::error) {
        return EIO;
    }
    entry->pw_name = answer == Answer::nullName ? nullptr : loginName.data();
    *result = entry;
    return 0;
}

namespace logging2::core::test {
namespace {

std::string directoryName() {
    return native(StreamLocationCreator().getUniquePath().text()).parent_path().filename();
}

TEST(LoginNameTest, isPartOfTheDirectoryName) {
    const SystemTempDirectory directory;
    EXPECT_EQ(directoryName(), "trakontmp.ann");
}

TEST(LoginNameTest, userWithoutAnEntryIsUnknown) {
    const SystemTempDirectory directory;
    for (const Answer none : {Answer::noEntry, Answer::nullName, Answer::error}) {
        answer = none;
        EXPECT_EQ(directoryName(), "trakontmp.unknown");
    }
    answer = Answer::name;
}

TEST(LoginNameTest, entryOfAnyLengthIsFound) {
    const SystemTempDirectory directory;
    requiredByteCount = 100000;
    EXPECT_EQ(directoryName(), "trakontmp.ann");
    requiredByteCount = 0;
}

TEST(LoginNameTest, interruptedQueryIsRepeated) {
    const SystemTempDirectory directory;
    interruptions = 3;
    EXPECT_EQ(directoryName(), "trakontmp.ann");
    EXPECT_EQ(interruptions, 0);
}

TEST(LoginNameTest, isQueriedAfterTheTemporaryDirectory) {
    const SystemTempDirectory directory;
    StreamLocationCreator creator;
    auto host = fl::filesystem::setTempDirectoryName({});
    fl::filesystem::setTempDirectoryName([&host] {
        calls.emplace_back("directory");
        return host();
    });
    calls.clear();
    creator.setUniquePath();
    EXPECT_EQ(calls, (std::vector<std::string>{"directory", "user"}));
    fl::filesystem::setTempDirectoryName(std::move(host));
}

// Permissions depend on the effective user, which getuid() does not return.
TEST(LoginNameTest, directoryIsPrivateToTheEffectiveUser) {
    const SystemTempDirectory directory;
    const StreamLocationCreator creator;
    const std::filesystem::path path = native(creator.getUniquePath().text()).parent_path();
    EXPECT_TRUE(fl::filesystem::is_private(fl::filesystem::detail::make_native_form(
        foundation::utf8_string_to_ustring(path.c_str()))));
}

// The stem of the times file is widened byte by byte, so it names no existing file.
TEST(LoginNameTest, nonAsciiNameCorruptsOnlyTheTimesLocation) {
    const SystemTempDirectory directory;
    loginName = "J\xc3\xbcrgen";
    EXPECT_EQ(directoryName(), "trakontmp.J\xc3\xbcrgen");
    NativeStreamWriter writer(StreamingAttributes{}, scalarSetup());
    write(writer, 0, 1.0, {2.0});
    writer.flush();
    const auto store = boost::any_cast<NativeDatastore>(writer.dataStore(ValuePath("x")));
    EXPECT_EQ(doublesOf(native(store.valuesLocation())), std::vector<double>{2.0});
    EXPECT_FALSE(std::filesystem::exists(native(store.timesLocation())));
    const NativeStreamReader reader(writer.dataStore(ValuePath("x")));
    EXPECT_TRUE(reader.times().empty());
    loginName = "ann";
}

} // namespace
} // namespace logging2::core::test
