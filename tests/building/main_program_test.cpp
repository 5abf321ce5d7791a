#include "building/main_program.h"
#include "building/configured_wrapper.h"
#include "wrapper/port_manager.h"

namespace morvane {
namespace {

using ConfirmMainExe = testing::ConfiguredWrapper;

TEST_F(ConfirmMainExe, LooksForTheProgramWithOneLevelVariable) {
    const char* changed =
        "The run path changed in that port! Alert the developer through the Contact Us tab in the Help "
        "section!";
    const char* missing = "Game main EXE couldn't be found!";
    const char *game = "/Program Files (x86)/Game/game.exe", *gog = "/GOG Games/Game Deluxe/gog.exe";
    const char* lower = "/lower/folder/CASE.EXE";
    for (const char* file : {game, gog, lower}) put(driveC + file, "MZ");
    struct Row {
        const char *setting, *source, *found, *told;
    };
    for (const Row& row : {
             Row{game, "Steam", game, nullptr},
             Row{game, "GOG", game, nullptr},
             Row{"/Program Files (x86)/Game", "Steam", "/Program Files (x86)/Game", nullptr},
             Row{"/Program Files/Game/game.exe", "Steam", game, nullptr},
             Row{"/GOG Games/Game/gog.exe", "GOG", gog, changed},
             Row{"/GOG Games/Game/gog.exe", "Steam", "/GOG Games/Game/gog.exe", missing},
             // The first level is tried as well when the second finds nothing.
             Row{"/Program Files/Game/game.exe", "GOG", game, changed},
             Row{"/UPPER/Folder/case.exe", "CD", lower, nullptr},
             Row{"/no-such-program.exe", "CD", "/no-such-program.exe", missing},
             Row{"/a/../../../../Info.plist", "CD", nullptr, missing},
             Row{nullptr, nullptr, nullptr, missing},
         }) {
        SCOPED_TRACE(row.setting != nullptr ? row.setting : "no setting");
        if (row.told != nullptr) ui.expect(row.told).titleIs("Warning");
        NSPortManager port = NSPortManager::managerWithPath(wrapper);
        std::optional<Value> before;
        if (row.setting != nullptr) before = Value(row.setting);
        port.setPlistObject(before, "Program Name and Path");
        port.synchronizePlist();
        const auto source = row.source != nullptr ? std::optional<std::string>(row.source) : std::nullopt;
        std::optional<std::string> found;
        onWorker([&] { found = confirmMainExePathForPort(port, source); });
        if (row.found != nullptr) {
            EXPECT_EQ(found, driveC + row.found);
        }
        EXPECT_EQ(found.has_value(), row.setting != nullptr);
        EXPECT_EQ(setting("Program Name and Path"),
                  row.found != nullptr ? Value(row.found) : before.value_or(Value()));
    }
}

}  // namespace
}  // namespace morvane
