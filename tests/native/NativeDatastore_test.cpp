#include <logging2/native/NativeDatastore.hpp>

#include <boost/any.hpp>

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace logging2::core {
namespace {

std::string printed(const NativeDatastore& store) {
    std::ostringstream stream;
    stream << store;
    return stream.str();
}

TEST(NativeDatastoreTest, holdsCopiesOfBothLocations) {
    std::u16string times = u"/t/a_times_0";
    const NativeDatastore store(times, u"/t/a_values_0_3");
    times[0] = u'x';
    EXPECT_EQ(store.timesLocation(), u"/t/a_times_0");
    EXPECT_EQ(store.valuesLocation(), u"/t/a_values_0_3");
}

TEST(NativeDatastoreTest, printsBothLocations) {
    EXPECT_EQ(printed({u"/t/a_times_0", u"/t/a_values_0_3"}), "{/t/a_times_0; /t/a_values_0_3}");
    EXPECT_EQ(printed({u"", u""}), "{; }");
    EXPECT_EQ(printed({u"/t/\u00fc", u"/t/\u20ac"}), "{/t/\xc3\xbc; /t/\xe2\x82\xac}");
}

TEST(NativeDatastoreTest, copiesShareTheRecordAndOutliveTheOriginal) {
    std::optional<NativeDatastore> first(std::in_place, u"/t/times", u"/t/values");
    const boost::any copy = *first;
    EXPECT_EQ(&boost::any_cast<const NativeDatastore&>(copy).timesLocation(),
              &first->timesLocation());
    first.reset();
    EXPECT_EQ(boost::any_cast<const NativeDatastore&>(copy).timesLocation(), u"/t/times");
    EXPECT_EQ(boost::any_cast<const NativeDatastore&>(copy).valuesLocation(), u"/t/values");
}

TEST(NativeDatastoreTest, movedFromStoreKeepsItsLocations) {
    NativeDatastore store(u"/t/times", u"/t/values");
    const NativeDatastore moved = std::move(store);
    EXPECT_EQ(store.timesLocation(), u"/t/times"); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(moved.timesLocation(), u"/t/times");
}

TEST(NativeDatastoreTest, severalThreadsMayCopyAndDropHandles) {
    const NativeDatastore store(u"/t/times", u"/t/values");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([store] {
            for (int k = 0; k < 1000; ++k) {
                const NativeDatastore copy = store; // NOLINT(performance-*)
                ASSERT_EQ(copy.valuesLocation(), u"/t/values");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(NativeDatastoreTest, hasNoDefaultConstructor) {
    EXPECT_FALSE(std::is_default_constructible_v<NativeDatastore>);
}

} // namespace
} // namespace logging2::core
