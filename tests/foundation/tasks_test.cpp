#include "foundation/tasks.h"

#include <filesystem>

#include "foundation/threads.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;

class Tasks : public testing::TestMachine {};

TEST_F(Tasks, PassEveryArgumentAsItIs) {
    scriptProgram("tell", R"(printf '%s|' "$@"; pwd)");
    const std::string tell = programsFolder + "/tell";
    EXPECT_EQ(MVTask::outputOf(MVTask::runProgram(tell, "/", {{"a b", "", "$HOME;\"'"}}, Wait::yes)),
              "a b||$HOME;\"'|/\n");
    EXPECT_EQ(MVTask::outputOf(MVTask::runProgram("tell", home, std::nullopt, Wait::yes)), "|" + home + "\n");
    const std::string here = fs::current_path().string();
    EXPECT_EQ(MVTask::outputOf(MVTask::runProgram("tell", "~/", {{"x"}}, Wait::yes)), "x|" + here + "\n");
    EXPECT_EQ(MVTask::outputOf(MVTask::runTerminalCommand(R"(tell one two\ words)", "/", Wait::yes)),
              "one|two words|/\n");
    EXPECT_EQ(MVTask::outputOf(MVTask::runTerminalCommand(R"(tell  "x")", "/", Wait::yes)), "|\"x\"|/\n");
    scriptProgram("count", "echo $#");
    EXPECT_EQ(MVTask::outputOf(MVTask::runTerminalCommand("count", std::nullopt, Wait::yes)), "0\n");
    EXPECT_EQ(MVTask::outputOf(MVTask::runProgram("/usr/bin/env", {{{"ONLY", "this"}}}, std::nullopt)),
              "ONLY=this\n");
}

TEST_F(Tasks, ACancellationStopsTheProgramOfTheCreation) {
    onWorker([&] {
        ASSERT_TRUE(machine->creation.begin());
        scriptProgram("endless", "echo $$ > " + home + "/started.new; mv " + home + "/started.new " + home +
                                     "/started; exec sleep 1000");
        std::function<void()> watch = [&] {
            if (!fs::exists(home + "/started")) return machine->mainQueue.post(watch);
            machine->creation.request();
        };
        machine->mainQueue.post(watch);
        const auto run = [] { return MVTask::runProgram("endless", std::nullopt, std::nullopt, Wait::yes); };
        EXPECT_THROW(static_cast<void>(run()), Cancelled);
        EXPECT_THROW(static_cast<void>(run()), Cancelled);
        machine->creation.end();
    });
    EXPECT_FALSE(fs::exists("/proc/" + get(home + "/started").substr(0, get(home + "/started").find('\n'))));
}

}  // namespace
}  // namespace morvane
