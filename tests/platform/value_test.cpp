#include "platform/value.h"

#include <gtest/gtest.h>

namespace morvane {
namespace {

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
