#include "building/configured_wrapper.h"

namespace morvane {
namespace {

using testing::ConfiguredWrapper;

class ConfirmMainExe : public ConfiguredWrapper {
  protected:
    /// Confirms the program of that setting in a wrapper that holds these files on drive C.
    std::optional<std::string> confirm(const std::string& program, const std::optional<std::string>& source) {
        NSPortManager port = NSPortManager::managerWithPath(wrapper);
        port.setPlistObject(Value(program), "Program Name and Path");
        port.synchronizePlist();
        std::optional<std::string> found;
        onWorker([&] { found = creation->confirmMainExePathForPort(port, source); });
        return found;
    }
    static constexpr const char* changed =
        "The run path changed in that port! Alert the developer through the Contact Us tab in the Help "
        "section!";
    static constexpr const char* missing = "Game main EXE couldn't be found!";
};

TEST_F(ConfirmMainExe, LooksForTheProgramWithOneLevelVariable) {
    put(driveC + "/Program Files (x86)/Game/game.exe", "MZ");
    put(driveC + "/GOG Games/Game Deluxe/gog.exe", "MZ");
    put(driveC + "/lower/folder/CASE.EXE", "MZ");
    const std::string programFiles = driveC + "/Program Files (x86)/Game/game.exe";
    struct Row {
        const char *setting, *source;
        std::string found;
        const char* stored;
        const char* told;
    };
    for (const Row& row : {
             Row{"/Program Files (x86)/Game/game.exe", "Steam", programFiles, nullptr, nullptr},
             Row{"/Program Files (x86)/Game/game.exe", "GOG", programFiles, nullptr, nullptr},
             Row{"/Program Files (x86)/Game", "Steam", driveC + "/Program Files (x86)/Game", nullptr,
                 nullptr},
             Row{"/Program Files/Game/game.exe", "Steam", programFiles, "/Program Files (x86)/Game/game.exe",
                 nullptr},
             Row{"/GOG Games/Game/gog.exe", "GOG", driveC + "/GOG Games/Game Deluxe/gog.exe",
                 "/GOG Games/Game Deluxe/gog.exe", changed},
             Row{"/GOG Games/Game/gog.exe", "Steam", driveC + "/GOG Games/Game/gog.exe", nullptr, missing},
             // The first level is tried as well when the second finds nothing.
             Row{"/Program Files/Game/game.exe", "GOG", programFiles, "/Program Files (x86)/Game/game.exe",
                 changed},
             Row{"/UPPER/Folder/case.exe", "CD", driveC + "/lower/folder/CASE.EXE", "/lower/folder/CASE.EXE",
                 nullptr},
             Row{"/no-such-program.exe", "CD", driveC + "/no-such-program.exe", nullptr, missing},
             Row{"/a/../../../../Info.plist", "CD", "", nullptr, missing},
         }) {
        if (row.told != nullptr) ui.expect(row.told).titleIs("Warning");
        const auto found = confirm(row.setting, row.source);
        if (!row.found.empty()) {
            EXPECT_EQ(found, row.found) << row.setting;
        }
        EXPECT_EQ(setting("Program Name and Path"), Value(row.stored != nullptr ? row.stored : row.setting));
    }
}

TEST_F(ConfirmMainExe, WithoutASettingThereIsNothingToFind) {
    NSPortManager port = NSPortManager::managerWithPath(wrapper);
    port.setPlistObject(std::nullopt, "Program Name and Path");
    ui.expect(missing);
    onWorker([&] { EXPECT_EQ(creation->confirmMainExePathForPort(port, std::nullopt), std::nullopt); });
}

using CompleteWindowsPath = ConfirmMainExe;

TEST_F(CompleteWindowsPath, FindsTheFirstMatchOnDriveC) {
    put(driveC + "/Games/b/game.exe", "MZ");
    put(driveC + "/Games/a/Game.exe", "MZ");
    put(wrapper + "/Contents/Resources/secret.txt", "");
    struct Row {
        const char* path;
        std::optional<std::string> completed;
    };
    for (const Row& row : {
             Row{"C:/Games/*/game.exe", "C:/Games/a/Game.exe"},
             Row{"C:\\games\\*\\GAME.EXE", "C:/Games/a/Game.exe"},
             Row{"D:/Games/*/game.exe", "C:/Games/a/Game.exe"},
             Row{"C:/*/none.exe", std::nullopt},
             Row{"C:/../secret*", std::nullopt},
             Row{"C:", std::nullopt},
         }) {
        onWorker([&] {
            EXPECT_EQ(WrapperCreation::completeWindowsPath(row.path, wrapper), row.completed) << row.path;
        });
    }
}

}  // namespace
}  // namespace morvane
