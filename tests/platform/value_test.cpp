#include "platform/value.h"

#include <gtest/gtest.h>

namespace morvane {
namespace {

TEST(Dictionary, KeepsTheOrderOfFirstSettingThroughChangesAndRemovals) {
    Dictionary dictionary{{"z", 1}, {"a", 2}, {"m", 3}, {"z", 4}};
    dictionary.erase("a");
    dictionary.erase("missing");
    dictionary.set("b", 5);
    dictionary.set("m", 6);
    EXPECT_FALSE(dictionary.contains("a"));
    dictionary.set("a", 7);
    std::string order;
    for (const auto& [key, value] : dictionary) order += key + std::to_string(*value.as<std::int64_t>());
    EXPECT_EQ(order, "z4m6b5a7");
    EXPECT_EQ(*dictionary.get<std::int64_t>("b"), 5) << "the index follows the places";
}

TEST(Dictionary, FindsEveryKeyWhileItGrowsAndShrinks) {
    Dictionary dictionary;
    const auto check = [&](int first, int end) {
        ASSERT_EQ(dictionary.size(), static_cast<std::size_t>(end - first));
        for (int i = -1; i <= 100; ++i) {
            const auto* found = dictionary.get<std::int64_t>("key " + std::to_string(i));
            ASSERT_EQ(found != nullptr, i >= first && i < end) << i << " of " << first << " to " << end;
            ASSERT_EQ(found != nullptr ? *found : i, i);
        }
    };
    for (int i = 0; i < 100; ++i) {
        dictionary.set("key " + std::to_string(i), i - 1);
        dictionary.set("key " + std::to_string(i), i);
        check(0, i + 1);
    }
    const Dictionary copy = dictionary;
    for (int i = 0; i < 100; ++i) {
        dictionary.erase("key " + std::to_string(i));
        check(i + 1, 100);
    }
    EXPECT_EQ(copy.size(), 100U) << "a copy is of its own";
    EXPECT_TRUE(copy.contains("key 99"));
}

}  // namespace
}  // namespace morvane
