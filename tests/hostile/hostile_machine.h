// tests/hostile/hostile_machine.h: a machine on which recipes of strangers are built, and all that they must not reach.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "building/building_machine.h"
#include "foundation/text.h"
#include "platform/digest.h"

namespace morvane::testing {

class HostileMachine : public BuildingMachine {
  protected:
    using Tree = std::map<std::string, std::string>;

    HostileMachine() {
        putSharedVerbScript();
        makeFakeMasterWrapper(
            masters, {.onPrefixCreate = "mkdir -p \"$wrapper/Contents/Resources/drive_c/Game\"\n"
                                        "echo MZ > \"$wrapper/Contents/Resources/drive_c/Game/game.exe\"\n"});
        publishNewestVersion(site, "Caskery-2.6.2");
        publishEngines(site, {"CK9Wine3.0"});
        putEngine();
        // What a stranger might like to reach.
        put(home + "/secret.exe", "mine");
        put(home + "/secret.txt", "mine");
        put(home + "/Documents/taxes.pdf", "mine");
        put(home + "/Downloads/other.txt", "mine");
        put(home + "/Applications/Other.app/Contents/Resources/drive_c/save.dat", "saved");
        fs::create_symlink("Documents", home + "/Linked");
        fs::permissions(temporary, fs::perms::owner_all);
        ui.answerOfTheRest = "Yes";
    }

    /// Everything of the machine but what a build is to change: the wrapper, the build's log, what is kept for the
    /// next build, and the settings that say how long a prefix takes.
    [[nodiscard]] Tree outside(const Names& alsoChanged) const {
        Names changed{wrapper,
                      folder.path + "/Game.cki",
                      folder.path + "/stops",
                      home + "/Library/Logs",
                      home + "/Library/Preferences",
                      home + "/.cache",
                      home + "/Library/Application Support/Caskery/Prefixes",
                      home + "/Library/Application Support/Caskery/.creation.lock",
                      home + "/Library/Application Support/Morvane/Downloads"};
        for (const std::string& name : alsoChanged)
            changed.push_back(fs::path(home + "/" + name).lexically_normal());
        Tree tree;
        for (auto entry = fs::recursive_directory_iterator(folder.path); entry != fs::end(entry); ++entry) {
            const std::string path = entry->path().string();
            if (std::ranges::find(changed, path) != changed.end()) {
                entry.disable_recursion_pending();
                continue;
            }
            const auto mode = std::to_string(static_cast<int>(entry->symlink_status().permissions()));
            if (entry->is_symlink())
                tree[path] = "-> " + fs::read_symlink(entry->path()).string();
            else if (entry->is_regular_file())
                tree[path] = mode + " " + digest::sha256(get(path));
            else
                tree[path] = mode;
        }
        return tree;
    }
    static void expectSame(const Tree& before, const Tree& after) {
        for (const auto& [path, state] : after) {
            const auto was = before.find(path);
            EXPECT_TRUE(was != before.end()) << "new: " << path << " " << state;
            if (was == before.end()) continue;
            EXPECT_EQ(was->second, state) << "changed: " << path;
        }
        for (const auto& [path, state] : before) EXPECT_TRUE(after.contains(path)) << "gone: " << path;
    }
    /// Builds the file and compares what is outside of the wrapper; whether a wrapper was built.
    bool builds(const std::string& file, const Names& alsoChanged = {}) {
        ui.dialogs.clear();
        ui.openPanels.clear();
        const Tree before = outside(alsoChanged);
        bool built = false;
        create(
            [&](WrapperCreation& creation) { built = creation.installCKI(file, wrapper, Trust::no) == 0; });
        expectSame(before, outside(alsoChanged));
        EXPECT_TRUE(ui.opened.empty()) << "nothing is opened by itself";
        return built;
    }
    [[nodiscard]] bool wasTold(const std::string& text) const {
        return std::ranges::any_of(ui.dialogs,
                                   [&](const Dialog& each) { return MVString::contains(each.text, text); });
    }
    [[nodiscard]] std::string allTold() const {
        std::string all;
        for (const Dialog& each : ui.dialogs) all += "told: " + each.text + "\n";
        return all;
    }

    const std::string driveC = wrapper + "/Contents/Resources/drive_c";
};

}  // namespace morvane::testing
