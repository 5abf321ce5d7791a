#include "platform/passing_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/results.h"
#include "support/test_machine.h"

namespace morvane::files {
namespace {

namespace fs = std::filesystem;

class PassingFiles : public ::testing::Test {
  public:
    const testing::TemporaryFolder folder;
    const std::string place = folder.path + "/" + std::string(255, 'n');  // the longest name there is

    [[nodiscard]] std::vector<std::string> entries() const { return *list(folder.path); }
    static void put(const std::string& path, const std::string& text) { std::ofstream(path) << text; }
};

TEST_F(PassingFiles, AppearWholeOrNotAtAll) {
    put(place, "old");
    fs::permissions(place, fs::perms(0640));
    {
        PassingFile file(place);
        EXPECT_EQ(entries().size(), 1U) << "nothing is made before the first byte";
        EXPECT_TRUE(file.append("ne", std::nullopt));
        EXPECT_EQ(*read(place), "old");
    }
    EXPECT_EQ(entries().size(), 1U);
    PassingFile file(place);
    EXPECT_TRUE(file.append("ne", 3));
    EXPECT_TRUE(file.append("w", 3));
    EXPECT_TRUE(file.putInPlace());
    EXPECT_EQ(*read(place), "new");
    EXPECT_EQ(fs::status(place).permissions(), fs::perms(0640));
    EXPECT_EQ(entries().size(), 1U);
}

TEST_F(PassingFiles, WhatAKilledProcessLeftGoesWithTheNextAndNothingElseDoes) {
    PassingFile running(place);
    ASSERT_TRUE(running.append("running", std::nullopt));
    std::string name = entries().front();
    // The names differ in the last digits only.
    const auto sibling = [&](const std::string& end) {
        return folder.path + "/" + name.substr(0, name.size() - end.size()) + end;
    };
    const std::string leftover = sibling("0123456789abcdef"), link = sibling("fedcba9876543210"),
                      other = folder.path + "/.morvane-part-0123456789abcdef-0123456789abcdef";
    put(leftover, "half");
    put(other, "for another place");
    fs::create_symlink(other, link);
    PassingFile next(place);
    ASSERT_TRUE(next.append("next", std::nullopt));
    EXPECT_FALSE(fs::exists(leftover));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(fs::exists(other));
    EXPECT_TRUE(next.putInPlace());
    EXPECT_TRUE(running.putInPlace());
    EXPECT_EQ(*read(place), "running");
}

TEST_F(PassingFiles, Errors) {
    EXPECT_EQ(testing::why(PassingFile(place).append("x", std::uint64_t{1} << 60)),
              "No space left on device");
    EXPECT_EQ(testing::why(PassingFile(folder.path + "/no/file").append("x", 1)),
              "No such file or directory");
    EXPECT_EQ(testing::why(PassingFile(place + std::string(1, '\0')).append("x", 1)), "Invalid argument");
    EXPECT_TRUE(entries().empty());
}

}  // namespace
}  // namespace morvane::files
