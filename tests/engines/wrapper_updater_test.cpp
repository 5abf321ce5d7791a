#include "engines/wrapper_updater.h"

#include "building/building_machine.h"
#include "building/outdated_wrapper.h"
#include "foundation/text.h"
#include "platform/property_list.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr const char* version = "Caskery-2.7-b";
constexpr const char* overrides = "\"*d3d9\"=\"native\"\n\"dinput\"=\"builtin\"";
constexpr const char* exeBlock =
    "[Software\\\\Wine\\\\AppDefaults\\\\game.exe\\\\DllOverrides] 1234\n#time=1d\n\"dsound\"=\"native\"";

/// A wrapper of version 2.6.2 with a game, and a newer master wrapper whose launcher writes what it is asked
/// to `asked` and, as a prefix update may, loses the registry.
class Updater : public testing::BuildingMachine {
  protected:
    Updater() {
        const std::string master = testing::makeFakeMasterWrapper(masters, {.version = version});
        put(master + "/Contents/MacOS/CaskeryLauncher",
            "#!/bin/sh\nwrapper=${0%/Contents/*}\necho \"$PWD ${wrapper##*/} $*\" >> '" + folder.path +
                "/asked'\n[ $1 = CKS-InstallICE ] || echo 'WINE REGISTRY Version 2' > "
                "\"$wrapper/Contents/Resources/user.reg\"\n",
            true);
        for (const char* nib : {"main", "MainMenu"})
            put(master + "/Contents/Resources/English.lproj/" + nib + ".nib", "new nib");
        put(master + "/Contents/Frameworks/new.dylib", "new");
        put(master + "/Caskery.app/new", "new");
        setPlist(master, "Only In The New", "yes");
        fs::create_directories(temporary);
        testing::publishNewestVersion(site, version);
        makeOld();
    }
    /// The wrapper as it is before each update, and nothing beside it.
    void makeOld() {
        fs::remove_all(home + "/Applications");
        testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
        setPlist(wrapper, "Program Name and Path", "/Game/game.exe");
        for (const char* name :
             {"MacOS/old", "Resources/English.lproj/main.nib", "Resources/drive_c/save.dat"})
            put(contents + name, "old");
        put(contents + "Resources/user.reg",
            std::string("WINE REGISTRY Version 2\n\n[Software\\\\Wine\\\\DllOverrides] 99\n") + overrides +
                "\n\n" + exeBlock + "\n\n[Software\\\\Wine\\\\Direct3D] 5\n\"CSMT\"=\"enabled\"\n");
    }
    static void setPlist(const std::string& app, const std::string& key, const char* value) {
        Dictionary plist = *property_lists::read(app + "/Contents/Info.plist")->as<Dictionary>();
        plist.set(key, value);
        ASSERT_TRUE(property_lists::write(app + "/Contents/Info.plist", plist));
    }
    /// The texts of the steps; killed at the one that begins so.
    Names update(const std::string& killedAt = "none") {
        Names steps;
        onWorker([&] {
            EXPECT_TRUE(
                WrapperUpdater::updateOldCaskeryWrapperAtPath(wrapper, version, [&](const std::string& step) {
                    steps.push_back(step);
                    if (step.starts_with(killedAt)) throw step;
                }));
        });
        return steps;
    }
    void expectUpdated() {
        EXPECT_EQ(namesIn(home + "/Applications"), Names{"Game.app"});
        EXPECT_EQ(namesIn(contents), (Names{"Frameworks", "Info.plist", "MacOS", "Resources"}));
        EXPECT_EQ(namesIn(contents + "MacOS"), Names{"CaskeryLauncher"});
        EXPECT_EQ(namesIn(frameworks), (Names{"bin", "ckwine.bundle", "new.dylib"}));
        EXPECT_EQ(namesIn(contents + "Resources/English.lproj").size(), 3U);
        EXPECT_EQ(get(contents + "Resources/English.lproj/main.nib"), "new nib");
        EXPECT_EQ(namesIn(wrapper + "/Caskery.app"), (Names{"Contents", "new"}));
        EXPECT_EQ(get(frameworks + "/ckwine.bundle/version"), "CK9Wine2.0\n");
        EXPECT_EQ(get(contents + "Resources/drive_c/save.dat"), "old");
        const auto plist = property_lists::read(contents + "Info.plist");
        const auto text = [&](const char* key) { return *plist->as<Dictionary>()->get<std::string>(key); };
        EXPECT_EQ(text("CFBundleVersion") + text("Program Name and Path") + text("Only In The New"),
                  "Caskery 2.7 b/Game/game.exeyes");
        EXPECT_EQ(WrapperUpdater::getWrapperDLLsOverrideFromWrapper(wrapper), overrides);
        EXPECT_EQ(WrapperUpdater::getExesDLLsOverridesFromWrapper(wrapper), Names{exeBlock});
        EXPECT_EQ(WrapperUpdater::getDirect3DConfigurationsFromWrapper(wrapper), "\"CSMT\"=\"enabled\"\n");
        EXPECT_TRUE(MVString::contains(get(contents + "Resources/user.reg"), R"([Software\\Wine\\Opengl])"));
        EXPECT_FALSE(building::outdatedWrapper(Wrapper(wrapper)) || WrapperUpdater::needsRepair(wrapper));
    }
    const std::string contents = wrapper + "/Contents/", frameworks = contents + "Frameworks";
    const std::string away = home + "/Applications/GameElCapitanFix.app";
};

TEST_F(Updater, NineStepsOfWhichEachMayBeTheLast) {
    const Names steps{"Step 1 of 9: Copying most recent binaries",
                      "Step 2 of 9: Updating Info.plist values",
                      "Step 3 of 9: Copying newest Caskery.app",
                      "Step 4 of 9: Updating Frameworks folder",
                      "Step 5 of 9: Updating nib files",
                      "Step 6 of 9: Backuping important registry informations",
                      "Step 7 of 9: Reinstalling engine",
                      "Step 8 of 9: Updating wine and wineserver binaries",
                      "Step 9 of 9: Restoring important registries"};
    EXPECT_EQ(update(), steps);
    EXPECT_EQ(get(folder.path + "/asked"),
              "/ Game.app CKS-InstallICE\n/ GameElCapitanFix.app CKS-wineboot\n");
    expectUpdated();
    // Killed at any of them, it is repaired by the next update.
    for (int step = 1; step <= 9; ++step) {
        SCOPED_TRACE(step);
        makeOld();
        EXPECT_THROW(update("Step " + std::to_string(step)), std::string);
        EXPECT_EQ(building::outdatedWrapper(Wrapper(wrapper)).value().version, "Caskery-2.6.2");
        EXPECT_TRUE(WrapperUpdater::needsRepair(wrapper));
        update();
        expectUpdated();
    }
}

TEST_F(Updater, WhatAKilledUpdateHasLeftRunningIsEndedByTheNext) {
    EXPECT_THROW(update("Step 8"), std::string);
    fs::rename(wrapper, away);
    // Beyond the numbers that processes have.
    scriptProgram("ps", "[ -e '" + folder.path + "/ended' ] || echo ' 4999999 ? S wineserver " + away + "'");
    scriptProgram("kill", "echo \"$*\" >> '" + folder.path + "/ended'");
    for (const std::string& asked : {away, wrapper}) {
        SCOPED_TRACE(asked);
        fs::remove(folder.path + "/ended");
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(building::updateOutdatedWrapper(Wrapper(asked), creation),
                      building::WrapperUpdate::updated);
        });
        expectUpdated();
        EXPECT_EQ(get(folder.path + "/ended"), "-TERM 4999999\n");
        makeOld();
        EXPECT_THROW(update("Step 8"), std::string);
        fs::rename(wrapper, away);
    }
}

/// What a kill within a step, of this or of another tool, leaves.
TEST_F(Updater, EveryStateInBetweenIsRepaired) {
    const std::string fresh = frameworks + ".new", old = frameworks + ".old", engine = "/ckwine.bundle";
    const auto moveEngine = [&] {
        fs::create_directories(fresh), fs::rename(frameworks + engine, fresh + engine);
    };
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"a part of the new folder", [&] { put(fresh + "/bin/half", "x"); }},
        {"the engine is in the new folder", moveEngine},
        {"between the names", [&] { moveEngine(), fs::rename(frameworks, old); }},
        {"all is in the old folder", [&] { fs::rename(frameworks, old); }},
        {"the binaries have the old name", [&] { fs::rename(contents + "MacOS", contents + "MacOS.old"); }},
        {"the wrapper is away", [&] { fs::rename(wrapper, away); }},
        {"the wrapper is away, and asked for there",
         [&] {
             fs::rename(wrapper, away);
             EXPECT_EQ(WrapperUpdater::backInItsPlace(away).value_or(""), wrapper);
         }},
    };
    for (const auto& [name, leave] : rows) {
        SCOPED_TRACE(name);
        makeOld();
        EXPECT_THROW(update("Step 4"), std::string);
        leave();
        update();
        expectUpdated();
    }
}

TEST_F(Updater, WhatCannotBeUpdatedStays) {
    // Another wrapper of that name: nobody knows which one is the game.
    put(away + "/mine", "x");
    ui.expectError("Both " + wrapper + " and " + away + " are there.");
    EXPECT_EQ(update(), Names{});
    fs::remove_all(away);
    EXPECT_EQ(namesIn(contents + "MacOS"), (Names{"CaskeryLauncher", "old"}));

    // Settings and a registry that can't be read are replaced by nothing; the next update does the rest.
    const std::string plist = get(contents + "Info.plist"), registry = get(contents + "Resources/user.reg");
    put(contents + "Info.plist", plist.substr(0, plist.size() / 2));
    put(contents + "Resources/user.reg", registry + "\xff");
    ui.expectError("The settings of the wrapper can't be read and stay as they are: ");
    ui.expectError("Error while reading file: ");
    EXPECT_EQ(update().size(), 9U);
    EXPECT_EQ(get(contents + "Info.plist"), plist.substr(0, plist.size() / 2));
    put(contents + "Info.plist", plist);
    put(contents + "Resources/user.reg", registry);
    update();
    expectUpdated();

    fs::remove_all(masters);
    ui.expectError("The master wrapper Caskery-2.7-b is missing or damaged.");
    EXPECT_EQ(update(), Names{});
    EXPECT_EQ(namesIn(contents + "MacOS"), Names{"CaskeryLauncher"});
}

}  // namespace
}  // namespace morvane
