#include "runtime/wine_session.h"

#include <gtest/gtest.h>

#include "support/test_machine.h"

namespace morvane::runtime {
namespace {

class SessionWithAScriptForAServer : public testing::TestMachine {
  protected:
    /// What the wineserver was asked to do by a stop, when waiting for its end gives that status.
    [[nodiscard]] std::string askedByAStop(const std::string& endOfWaiting) const {
        const Wrapper wrapper(home + "/Applications/Game.app");
        const std::string asked = folder.path + "/asked-" + endOfWaiting;
        for (const char* name : {"/wine", "/wineserver"}) {
            put(wrapper.engineBin() + name,
                "#!/bin/sh\necho \"$1\" >>'" + asked + "'\n[ \"$1\" = -w ] && exit " + endOfWaiting +
                    "\nexit 1\n",
                true);
        }
        WineSession session({wrapper, wrapper.path()}, "", StopBy::server);
        put(asked, "");
        session.stopNow();
        return get(asked);
    }
};

TEST_F(SessionWithAScriptForAServer, AStopKillsItOnlyWhenItDoesNotEnd) {
    // An interrupt, and a signal to go on for one that is held up.
    EXPECT_EQ(askedByAStop("0"), "-k2\n-k18\n-w\n");
    EXPECT_EQ(askedByAStop("1"), "-k2\n-k18\n-w\n-k\n");
}

}  // namespace
}  // namespace morvane::runtime
