#include "platform/defaults_store.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/files.h"
#include "platform/property_list.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

class DefaultsStoreTest : public ::testing::Test {
  protected:
    testing::TemporaryFolder folder;
    const std::string path = folder.path + "/Library/Preferences/settings.plist";
};

TEST_F(DefaultsStoreTest, StoresOfSeveralProcessesLoseNothing) {
    DefaultsStore first(path);
    DefaultsStore second(path);
    EXPECT_TRUE(first.set("a", 1));
    EXPECT_TRUE(second.set("b", 2));
    EXPECT_EQ(second.get("a"), Value(1));
    EXPECT_EQ(first.get("b"), Value(2)) << "a reading sees the changes of others";

    const auto fill = [](DefaultsStore& store, const std::string& prefix) {
        for (int i = 0; i < 10; ++i) EXPECT_TRUE(store.set(prefix + std::to_string(i), i));
    };
    {
        const std::jthread one(fill, std::ref(first), "one"), two(fill, std::ref(second), "two"),
            three(fill, std::ref(first), "three");
    }
    EXPECT_EQ(property_lists::read(path)->as<Dictionary>()->size(), 32U);
}

TEST_F(DefaultsStoreTest, NothingComesBetweenTheReadingAndTheWritingOfAnUpdate) {
    DefaultsStore first(path);
    DefaultsStore second(path);
    const auto count = [](DefaultsStore& store) {
        for (int i = 0; i < 20; ++i) {
            EXPECT_TRUE(store.update("n", [](const std::optional<Value>& old) {
                return Value(old ? *old->as<std::int64_t>() + 1 : std::int64_t{1});
            }));
        }
    };
    { const std::jthread one(count, std::ref(first)), two(count, std::ref(second)); }
    EXPECT_EQ(first.get("n"), Value(40));
    EXPECT_TRUE(first.update("n", [](const std::optional<Value>&) { return std::nullopt; }));
    EXPECT_FALSE(second.get("n"));
}

TEST_F(DefaultsStoreTest, ADamagedFileIsKeptAside) {
    testing::TestMachine::put(path, "<plist><dict><key>cut");
    DefaultsStore store(path);
    EXPECT_FALSE(store.get("cut"));
    EXPECT_EQ(store.takeKeptAside(), path + ".damaged");
    EXPECT_FALSE(store.takeKeptAside()) << "told once";
    EXPECT_EQ(testing::TestMachine::get(path + ".damaged"), "<plist><dict><key>cut");
    EXPECT_EQ(files::kindOf(path), files::Kind::none);
    EXPECT_TRUE(store.set("a", 1));

    testing::TestMachine::put(path, "<plist><string>no dictionary</string></plist>");
    EXPECT_EQ(store.get("a"), Value(1)) << "what was known stays known";
    EXPECT_TRUE(store.set("b", 2));
    EXPECT_EQ(property_lists::read(path), Value(Dictionary{{"a", 1}, {"b", 2}}));
    EXPECT_EQ(testing::TestMachine::get(path + ".damaged"), "<plist><dict><key>cut")
        << "the first one is not overwritten";
    EXPECT_EQ(testing::TestMachine::get(path + ".damaged2"), "<plist><string>no dictionary</string></plist>");
}

TEST_F(DefaultsStoreTest, WhatCannotBeReadOrWrittenIsLeftAsItIs) {
    testing::TestMachine::put(path + "/inside", "");  // a folder stands in the place of the file
    DefaultsStore store(path);
    EXPECT_FALSE(store.set("a", 1));
    EXPECT_FALSE(store.get("a"));
    EXPECT_EQ(files::kindOf(path + "/inside"), files::Kind::file);

    testing::TestMachine::put(folder.path + "/file", "");
    DefaultsStore nowhere(folder.path + "/file/settings.plist");
    EXPECT_FALSE(nowhere.set("a", 1));
    EXPECT_FALSE(nowhere.get("a"));
}

}  // namespace
}  // namespace morvane
