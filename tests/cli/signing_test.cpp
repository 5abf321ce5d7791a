#include <filesystem>

#include "cli/command_line.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::TestMachine;

TEST(SigningCommands, SignAndVerify) {
    const testing::TemporaryFolder folder;
    setenv("MORVANE_HOME", folder.path.c_str(), 1);
    const std::string list = folder.path + "/game.plist", file = folder.path + "/game.cki";
    TestMachine::put(
        list, R"(<plist version="1.0"><dict><key>Engine</key><string>CK9Wine8.0</string></dict></plist>)");
    TestMachine::put(folder.path + "/rubbish.cki", "no archive");
    TestMachine::put(folder.path + "/rubbish.pem", "no key");
    const std::string nobody(64, '0');
    const struct {
        std::vector<std::string> words;
        int exitCode;
    } rows[] = {
        {{"make", list, file}, 0},
        {{"verify", file}, 1},
        {{"sign", file, "--key", folder.path + "/missing.pem"}, 1},
        {{"sign", file, "--key", folder.path + "/rubbish.pem"}, 1},
        {{"verify", file}, 1},
        {{"sign", file}, 0},
        {{"verify", file}, 0},
        {{"show", file}, 0},
        {{"verify", file, "--author", nobody}, 1},
        // Again: the key that is there is taken.
        {{"sign", file}, 0},
        {{"sign", folder.path + "/rubbish.cki"}, 1},
        {{"verify", folder.path + "/rubbish.cki"}, 1},
        {{"verify", folder.path + "/missing.cki"}, 1},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words{"morvane", "cki"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        EXPECT_EQ(cli::runCommandLine(static_cast<int>(arguments.size()), arguments.data()), row.exitCode)
            << row.words[0] << " " << row.words.back();
    }
    EXPECT_FALSE(std::filesystem::exists(folder.path + "/missing.pem"));
    EXPECT_TRUE(std::filesystem::exists(folder.path + "/Library/Application Support/Morvane/author-key.pem"));
}

}  // namespace
}  // namespace morvane
