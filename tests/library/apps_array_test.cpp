#include "library/apps_array.h"

#include <algorithm>

#include "foundation/settings_keys.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

class LibraryTermination : public testing::TestMachine {
  protected:
    void SetUp() override {
        put(log, "");
        for (const std::string name : {"killall", "kill", "ps", "launchctl"}) {
            scriptProgram(name, "echo \"" + name + " $*\" >> \"" + log + "\"");
            // A real killall here would stop the wines of the machine.
            ASSERT_EQ(MVTask::getPathOfProgram(name), programsFolder + "/" + name);
        }
        machine->defaults.set(settings::appList,
                              Array{Dictionary{{"Name", "A"}, {"Path", home + "/Applications/A.app"}},
                                    Dictionary{{"Name", "no path"}}, "no entry",
                                    Dictionary{{"Name", "B"}, {"Path", home + "/Applications/B.app"}}});
    }
    int count(const std::string& line) {
        const std::vector<std::string> lines = MVString::split(get(log), "\n");
        return static_cast<int>(std::count(lines.begin(), lines.end(), line));
    }

    const std::string log = folder.path + "/log";
    NSAppsArray apps;
    const std::string question =
        "This will kill all Caskery related process from all the apps in your local tab. Do you really want "
        "to do it?";
};

TEST_F(LibraryTermination, StopsNothingOnNo) {
    ui.expect(question).titleIs("Warning").defaultIs("No").answer("No");
    apps.askToKillAllCaskeryProcessesFromLocalApps();
    machine->workQueues.joinAll();
    EXPECT_EQ(get(log), "");
}

TEST_F(LibraryTermination, StopsEveryEntryAndThenWhateverIsWine) {
    ui.expect(question).answer("Yes");
    apps.askToKillAllCaskeryProcessesFromLocalApps();
    machine->workQueues.joinAll();
    EXPECT_EQ(count("ps ax"), 3);
    EXPECT_EQ(count("launchctl list"), 2) << "once for each entry that has a path";
}

}  // namespace
}  // namespace morvane
