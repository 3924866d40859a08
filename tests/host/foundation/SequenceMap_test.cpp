#include <logging2/host/foundation/SequenceMap.hpp>

#include <gmock/gmock.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using Map = foundation::SequenceMap<int, std::string>;
using Entry = std::pair<int, std::string>;
using ::testing::ElementsAre;

std::vector<Entry> entries(const Map& map) {
    return {map.begin(), map.end()};
}

TEST(SequenceMapTest, iteratesInOrderOfInsertion) {
    Map map;
    for (const int key : {5, 1, 3}) {
        EXPECT_TRUE(map.insert(key, std::to_string(key)));
    }
    EXPECT_THAT(entries(map), ElementsAre(Entry{5, "5"}, Entry{1, "1"}, Entry{3, "3"}));
}

TEST(SequenceMapTest, listKeepsItsOrderAndTheFirstOfEqualKeys) {
    const Map map{{2, "two"}, {1, "one"}, {2, "again"}};
    EXPECT_THAT(entries(map), ElementsAre(Entry{2, "two"}, Entry{1, "one"}));
}

TEST(SequenceMapTest, existingKeyKeepsItsValue) {
    Map map{{1, "one"}};
    EXPECT_FALSE(map.insert(1, "uno"));
    EXPECT_THAT(entries(map), ElementsAre(Entry{1, "one"}));
}

TEST(SequenceMapTest, findsByKey) {
    const Map map{{1, "one"}, {2, "two"}};
    ASSERT_NE(map.find(2), map.end());
    EXPECT_EQ(map.find(2)->second, "two");
    EXPECT_EQ(map.find(3), map.end());
    EXPECT_EQ(Map().find(3), Map().end());
}

TEST(SequenceMapTest, reportsItsSize) {
    EXPECT_TRUE(Map().empty());
    EXPECT_EQ(Map().size(), 0U);
    const Map map{{1, "one"}, {2, "two"}};
    EXPECT_FALSE(map.empty());
    EXPECT_EQ(map.size(), 2U);
}

TEST(SequenceMapTest, copiesShareOneBlock) {
    const Map map{{1, "one"}, {2, "two"}};
    const Map copy = map; // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_EQ(copy.begin(), map.begin());
    EXPECT_EQ(entries(copy), entries(map));
}

TEST(SequenceMapTest, changeDoesNotAffectCopies) {
    Map map{{1, "one"}};
    Map copy = map;
    copy.insert(2, "two");
    map.insert(3, "three");
    EXPECT_THAT(entries(map), ElementsAre(Entry{1, "one"}, Entry{3, "three"}));
    EXPECT_THAT(entries(copy), ElementsAre(Entry{1, "one"}, Entry{2, "two"}));
    EXPECT_NE(copy.find(2), copy.end());
    EXPECT_EQ(map.find(2), map.end());
}

TEST(SequenceMapTest, refusedInsertKeepsSharing) {
    const Map map{{1, "one"}};
    Map copy = map;
    copy.insert(1, "uno");
    EXPECT_EQ(copy.begin(), map.begin());
}

TEST(SequenceMapTest, keyMayReferIntoTheMapItself) {
    foundation::SequenceMap<int, int> map;
    map.insert(1, 2);
    map.insert(map.begin()->second, 3);
    ASSERT_NE(map.find(2), map.end());
    EXPECT_EQ(map.find(2)->second, 3);
}

TEST(SequenceMapTest, assignmentsShareAndMoveLikeConstruction) {
    const Map map{{1, "one"}};
    Map assigned{{2, "two"}};
    assigned = map;
    EXPECT_EQ(assigned.begin(), map.begin());
    Map target;
    target = std::move(assigned);
    EXPECT_EQ(target.begin(), map.begin());
    EXPECT_TRUE(assigned.empty()); // NOLINT(bugprone-use-after-move)
}

struct CountedCopy {
    static inline int copies = 0;
    CountedCopy() = default;
    CountedCopy(const CountedCopy&) { ++copies; }
    CountedCopy& operator=(const CountedCopy&) = default;
};

TEST(SequenceMapTest, insertingIsAmortisedConstantTime) {
    foundation::SequenceMap<int, CountedCopy> map;
    for (int key = 0; key < 10000; ++key) {
        map.insert(key, CountedCopy());
    }
    EXPECT_LT(CountedCopy::copies, 40000);
}

struct ThrowingHash {
    static inline int callsUntilThrow = -1;
    std::size_t operator()(int key) const {
        if (callsUntilThrow >= 0 && callsUntilThrow-- == 0) {
            throw std::runtime_error("hash");
        }
        return static_cast<std::size_t>(key);
    }
};

TEST(SequenceMapTest, failedInsertChangesNothing) {
    foundation::SequenceMap<int, int, ThrowingHash> map;
    map.insert(1, 1);
    ThrowingHash::callsUntilThrow = 1; // the look-up succeeds
    EXPECT_THROW(map.insert(2, 2), std::runtime_error);
    EXPECT_EQ(map.size(), 1U);
    EXPECT_TRUE(map.insert(2, 3));
    EXPECT_EQ(map.find(2)->second, 3);
}

struct LastDigitHash {
    std::size_t operator()(int key) const { return static_cast<std::size_t>(key % 10); }
};

struct LastDigitEqual {
    bool operator()(int a, int b) const { return a % 10 == b % 10; }
};

TEST(SequenceMapTest, keysAreComparedByHashAndEqual) {
    foundation::SequenceMap<int, int, LastDigitHash, LastDigitEqual> map;
    EXPECT_TRUE(map.insert(1, 1));
    EXPECT_FALSE(map.insert(11, 2));
    EXPECT_EQ(map.find(21)->second, 1);
}

TEST(SequenceMapTest, movedFromMapIsEmptyAndUsable) {
    Map map{{1, "one"}};
    const Map moved = std::move(map);
    EXPECT_THAT(entries(moved), ElementsAre(Entry{1, "one"}));
    EXPECT_TRUE(map.empty()); // NOLINT(bugprone-use-after-move)
    map.insert(2, "two");
    EXPECT_THAT(entries(map), ElementsAre(Entry{2, "two"}));
}

struct CountingHash {
    std::size_t operator()(int key) const { return static_cast<std::size_t>(key); }
};

struct CountingEqual {
    static inline int calls = 0;
    bool operator()(int a, int b) const {
        ++calls;
        return a == b;
    }
};

TEST(SequenceMapTest, findsKeysByHashWithoutAScan) {
    foundation::SequenceMap<int, int, CountingHash, CountingEqual> map;
    for (int key = 0; key < 1000; ++key) {
        map.insert(key, key);
    }
    CountingEqual::calls = 0;
    EXPECT_EQ(map.find(999)->second, 999);
    EXPECT_GE(CountingEqual::calls, 1);
    EXPECT_LE(CountingEqual::calls, 4);
}

} // namespace
