#include <logging2/host/kernel/ChannelProperties.hpp>
#include <logging2/host/kernel/CoreDataId.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/kernel/type_ids.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <type_traits>

namespace logging2::core {
namespace {

TEST(GroupTest, isComparedAndHashedByItsId) {
    EXPECT_EQ(Group(12).id(), 12U);
    EXPECT_TRUE(std::equal_to<Group>()(Group(1), Group(1)));
    EXPECT_FALSE(std::equal_to<Group>()(Group(1), Group(2)));
    EXPECT_TRUE(Group(1) != Group(2));
    EXPECT_EQ(boost::hash<Group>()(Group(1)), boost::hash<Group>()(Group(1)));
    EXPECT_NE(boost::hash<Group>()(Group(1)), boost::hash<Group>()(Group(2)));
}

TEST(CoreDataIdTest, isComparedByItsValue) {
    EXPECT_FALSE((std::is_convertible_v<std::size_t, CoreDataId>));
    EXPECT_EQ(CoreDataId(7)(), 7U);
    EXPECT_TRUE(CoreDataId(7) == CoreDataId(7));
    EXPECT_TRUE(CoreDataId(7) != CoreDataId(8));
}

TEST(LoggedPathsSetupDataTest, keepsPathsAndChannelsInOrder) {
    const LoggedPathsSetupData setup(
        {{lang::core::ValuePath("b"), CoreDataId(2)}, {lang::core::ValuePath("a"), CoreDataId(1)}},
        {{CoreDataId(2), 3}, {CoreDataId(1), 1}});
    ASSERT_EQ(setup.paths().size(), 2U);
    EXPECT_EQ(setup.paths()[0].path, lang::core::ValuePath("b"));
    EXPECT_EQ(setup.paths()[1].id, CoreDataId(1));
    ASSERT_EQ(setup.coreIds().size(), 2U);
    EXPECT_EQ(setup.coreIds()[0].id, CoreDataId(2));
    EXPECT_EQ(setup.coreIds()[0].width, 3U);
}

TEST(ChannelPropertiesTest, returnsGroupAndChannel) {
    const ChannelProperties properties(3, 14);
    const ChannelProperties copy =
        properties; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.groupId(), 3U);
    EXPECT_EQ(copy.channelKey(), 14U);
    EXPECT_EQ(copy.hostValue(), 0U);
}

TEST(TypeIdsTest, writersAndReadersHaveDifferentKeys) {
    EXPECT_FALSE(vtllogging_write_type_id().empty());
    EXPECT_FALSE(vtllogging_read_type_id().empty());
    EXPECT_NE(vtllogging_write_type_id(), vtllogging_read_type_id());
}

} // namespace
} // namespace logging2::core
