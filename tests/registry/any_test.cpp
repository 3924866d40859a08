#include "registry_fixture.hpp"

namespace services_test {
namespace {

using namespace cppmicroservices;

TEST(AnyTest, defaultIsEmpty) {
    EXPECT_TRUE(Any().Empty());
}

TEST(AnyTest, holdsAValueOfItsType) {
    const Any number = 3;

    EXPECT_FALSE(number.Empty());
    ASSERT_NE(any_cast<int>(&number), nullptr);
    EXPECT_EQ(*any_cast<int>(&number), 3);
}

TEST(AnyTest, assignmentReplacesTheValue) {
    Any value = 3;

    value = std::string("three");

    EXPECT_EQ(value_of<std::string>(value), "three");
}

TEST(AnyTest, copiesAreIndependent) {
    Any first = std::string("first");
    const Any second = first;

    first = std::string("other");

    EXPECT_EQ(value_of<std::string>(second), "first");
}

TEST(AnyTest, castIsNullForAnotherType) {
    const Any number = 3;
    const Any none;

    EXPECT_EQ(any_cast<long>(&number), nullptr);
    EXPECT_EQ(any_cast<int>(&none), nullptr);
    EXPECT_EQ(any_cast<int>(static_cast<const Any*>(nullptr)), nullptr);
}

} // namespace
} // namespace services_test
