#include <filesystem>

#include "cli/command_line.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::TestMachine;

TEST(LibraryCommands, KeepAndChangeTheList) {
    const testing::TemporaryFolder folder;
    setenv("MORVANE_HOME", folder.path.c_str(), 1);
    const std::string apps = folder.path + "/Applications/", more = folder.path + "/More";
    for (const char* name : {"Beta.app", "Alpha.app", "Gamma.app"}) {
        TestMachine::put(apps + name + "/Contents/MacOS/CaskeryLauncher", "#!/bin/sh\n", true);
        TestMachine::put(apps + name + "/Contents/Frameworks/bin/Caskery",
                         "#!/bin/sh\necho \"$@\" >> \"$0.log\"\n", true);
    }
    TestMachine::put(apps + "Alpha.app/big", std::string(99999, 'x'));
    TestMachine::put(more + "/a b.exe", "");
    TestMachine::put(apps + "Gamma.app/Contents/Resources/drive_c/users/me/Documents/one.sav", "saved");
    std::filesystem::create_directories(apps + "Native.app");
    const auto line = [&](int place, const std::string& name) {
        return std::to_string(place) + "\t" + name + "\t" + apps + name + ".app\tno\tno\n";
    };
    struct Row {
        std::vector<std::string> arguments;
        int exitCode;
        std::string output = {};
    };
    const Row rows[] = {
        {{"list"}, 0, line(1, "Alpha") + line(2, "Beta") + line(3, "Gamma")},
        {{"move", "3", "1"}, 0},
        {{"list", "alpha"}, 0, line(2, "Alpha")},
        {{"move", "4", "1"}, 1},
        {{"order", "size"}, 0},
        {{"add", apps + "Native.app"}, 0},
        {{"list", "alpha"}, 0, line(1, "Alpha")},
        {{"order", "name"}, 0},
        {{"list", "native"}, 0, line(4, "Native")},
        {{"add", more}, 1},
        {{"remove", apps + "Native.app"}, 0},
        {{"remove", apps + "Native.app", "--disk"}, 1},
        {{"remove", apps + "Gamma.app", "--disk", "--answer", "Warning=No"}, 1},
        // A saved game in it is not lost without a question of its own.
        {{"remove", apps + "Gamma.app", "--disk", "--answer", "Warning=Yes"}, 4},
        {{"remove", apps + "Gamma.app", "--disk", "--answer", "Warning=Yes", "--answer", "Saved Games=Yes"},
         0},
        {{"scan"}, 0, line(1, "Alpha") + line(2, "Beta")},
        {{"folders", "add", more}, 0},
        {{"folders", "add", folder.path + "/none"}, 1},
        {{"folders", "remove", apps}, 0},
        {{"folders"}, 0, more + "/\tyes\n"},
        {{"--json", "list", "beta"},
         0,
         R"([{"place":2,"name":"Beta","path":")" + apps +
             "Beta.app\",\"missing\":false,\"unfinished\":false,\"icon\":\"\"}]\n"},
    };
    const auto run = [](const std::vector<std::string>& words) {
        std::vector<std::string> copy = words;
        std::vector<char*> arguments;
        for (std::string& word : copy) arguments.push_back(word.data());
        return cli::runCommandLine(static_cast<int>(arguments.size()), arguments.data());
    };
    for (const Row& row : rows) {
        std::vector<std::string> words{"morvane", "library"};
        words.insert(words.end(), row.arguments.begin(), row.arguments.end());
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(run(words), row.exitCode) << row.arguments[0] << " " << row.arguments.back();
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), row.output) << row.arguments[0];
    }
    EXPECT_TRUE(std::filesystem::exists(apps + "Native.app"));
    EXPECT_FALSE(std::filesystem::exists(apps + "Gamma.app"));
    std::filesystem::create_directories(apps + "Gamma.app/Contents/Resources/drive_c/users/me");
    TestMachine::put(apps + "Gamma.app/Contents/MacOS/CaskeryLauncher", "", true);
    EXPECT_EQ(run({"morvane", "saves", apps + "Gamma.app", "backup"}), 1) << "there is nothing in it yet";
    EXPECT_EQ(run({"morvane", "saves", apps + "Gamma.app", "restore"}), 0);
    EXPECT_EQ(TestMachine::get(apps + "Gamma.app/Contents/Resources/drive_c/users/me/Documents/one.sav"),
              "saved");
    std::filesystem::remove_all(apps + "Gamma.app");

    // A file as a file manager names it, for a program of a wrapper.
    EXPECT_EQ(run({"morvane", "open", "file://" + more + "/a%20b.exe", "--answer", "Running EXE=OK:Beta"}),
              0);
    EXPECT_EQ(TestMachine::get(apps + "Beta.app/Contents/Frameworks/bin/Caskery.log"), more + "/a b.exe\n");
    EXPECT_EQ(run({"morvane", "open", more + "/readme.txt"}), 1);

    // What is gone is marked, asked about and, where it was located, gone on with.
    std::filesystem::rename(apps + "Beta.app", more + "/Beta.app");
    const std::string title = "App Missing";
    const Row missing[] = {
        {{"library", "list", "beta"}, 0, "2\tBeta\t" + apps + "Beta.app\tyes\tno\n"},
        {{"show", apps + "Beta.app"}, 4},
        {{"show", apps + "Beta.app", "--answer", title + "=Locate the App"}, 4},
        {{"library", "list", "beta"}, 0, "2\tBeta\t" + apps + "Beta.app\tyes\tno\n"},
        {{"run", apps + "Beta.app/", "--wait", "--answer", title + "=Locate the App", "--choose",
          "Select the new application=" + more + "/Beta.app"},
         0},
        {{"library", "list", "beta"}, 0, "2\tBeta\t" + more + "/Beta.app\tno\tno\n"},
        {{"properties", apps + "Beta.app"}, 1},
    };
    for (const Row& row : missing) {
        std::vector<std::string> words{"morvane"};
        words.insert(words.end(), row.arguments.begin(), row.arguments.end());
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(run(words), row.exitCode) << row.arguments[0] << " " << row.arguments.back();
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), row.output) << row.arguments[0];
    }
    std::filesystem::remove_all(more + "/Beta.app");
    EXPECT_EQ(run({"morvane", "play", more + "/Beta.app", "--answer", title + "=Remove it"}), 1);
    EXPECT_EQ(run({"morvane", "library", "remove", more + "/Beta.app"}), 1) << "it has left the list";
    unsetenv("MORVANE_HOME");
}

}  // namespace
}  // namespace morvane
