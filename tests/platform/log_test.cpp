#include "platform/log.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "platform/files.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

std::size_t linesIn(const std::string& path) {
    const std::string text = testing::TestMachine::get(path);
    return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

TEST(Log, AnEntryIsALineOfAPrivateFile) {
    const testing::TemporaryFolder folder;
    Log log(folder.path + "/a/b/morvane.log");
    std::string mirrored;
    log.mirrorTo([&](const std::string& line) { mirrored = line; });
    log.write(Log::Level::warning, "one\ntwo \x1B[2J " + std::string(10000, 'x'));
    const std::string text = testing::TestMachine::get(log.path());
    EXPECT_EQ(text, mirrored + "\n");
    EXPECT_NE(text.find(" warning " + std::to_string(getpid()) + " one\\x0Atwo \\x1B[2J xxx"),
              std::string::npos);
    EXPECT_LT(text.size(), Log::longestText + 100);
    struct stat state = {};
    ASSERT_EQ(stat(log.path().c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0600U);
}

TEST(Log, SeveralProcessesLoseNoEntryWhileFilesRotate) {
    const testing::TemporaryFolder folder;
    const std::string path = folder.path + "/morvane.log";
    constexpr std::size_t entries = 400;
    const std::string text(3000, 'x');  // 2.4 MB in all: two rotations
    for (int process = 0; process < 2; ++process) {
        if (fork() == 0) {
            Log log(path);
            for (std::size_t i = 0; i < entries; ++i) log.write(Log::Level::info, text);
            _exit(0);
        }
    }
    for (int process = 0; process < 2; ++process) wait(nullptr);
    EXPECT_EQ(linesIn(path) + linesIn(path + ".1") + linesIn(path + ".2"), 2 * entries);
    EXPECT_LE(files::size(path + ".1").value_or(0), Log::largestFile);
    Log log(path);
    for (std::size_t i = 0; i < 2 * entries; ++i) log.write(Log::Level::info, text);
    EXPECT_NE(files::kindOf(path + ".3"), files::Kind::none);
    EXPECT_EQ(files::kindOf(path + ".4"), files::Kind::none);
}

}  // namespace
}  // namespace morvane
