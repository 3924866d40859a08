#include "registry_fixture.hpp"

#include <list>

namespace services_test {
namespace {

using namespace cppmicroservices;

TEST(AnyTest, defaultIsEmpty) {
    const Any none;

    EXPECT_TRUE(none.Empty());
    EXPECT_EQ(none.Type(), typeid(void));
    EXPECT_THROW(none.ToString(), std::logic_error);
}

TEST(AnyTest, holdsAValueOfItsType) {
    const Any number = 3;

    EXPECT_FALSE(number.Empty());
    EXPECT_EQ(number.Type(), typeid(int));
    EXPECT_EQ(any_cast<int>(number), 3);
}

TEST(AnyTest, assignmentReplacesTheValue) {
    Any value = 3;

    value = std::string("three");

    EXPECT_EQ(any_cast<std::string>(value), "three");
}

TEST(AnyTest, copiesAreIndependent) {
    const Any first = std::string("first");
    Any second = first;

    *any_cast<std::string>(&second) = "second";

    EXPECT_EQ(any_cast<std::string>(first), "first");
    EXPECT_EQ(any_cast<std::string>(second), "second");
}

TEST(AnyTest, pointerCastIsNullForAnotherType) {
    Any number = 3;
    const Any& constNumber = number;

    EXPECT_EQ(any_cast<long>(&number), nullptr);
    EXPECT_EQ(any_cast<long>(&constNumber), nullptr);
    EXPECT_EQ(any_cast<int>(static_cast<Any*>(nullptr)), nullptr);
    ASSERT_NE(any_cast<int>(&constNumber), nullptr);
    EXPECT_EQ(*any_cast<int>(&constNumber), 3);
}

TEST(AnyTest, valueCastThrowsForAnotherType) {
    Any number = 3;

    EXPECT_THROW(any_cast<std::string>(number), BadAnyCastException);
    EXPECT_THROW(any_cast<int>(Any()), BadAnyCastException);
    EXPECT_THROW(any_cast<long>(number), std::bad_cast);
}

TEST(AnyTest, hasATextForEveryPropertyValue) {
    const std::vector<std::pair<Any, std::string>> texts = {
        {std::string("text"), "text"},
        {static_cast<const char*>("text"), "text"},
        {'c', "c"},
        {true, "1"},
        {42, "42"},
        {-42L, "-42"},
        {42ULL, "42"},
        {1.5, "1.5"},
        {1.5F, "1.5"},
        {std::vector<std::string>{"a", "b"}, "[a,b]"},
        {std::list<std::string>{"a"}, "[a]"},
        {std::vector<Any>{1, std::string("x")}, "[1,x]"},
    };
    for (const auto& [value, text] : texts) {
        EXPECT_EQ(value.ToString(), text);
    }
}

} // namespace
} // namespace services_test
