#include <unistd.h>

#include "building/building_machine.h"

namespace morvane {
namespace {

using testing::FakeWrapper;
using Names = std::vector<std::string>;

class Creation : public testing::BuildingMachine {
  protected:
    void prepare(const FakeWrapper& master = {}) {
        offline();
        testing::makeFakeMasterWrapper(masters, master);
        put(engines + "/CK9Wine3.0.tar.7z", testing::packedEngine("CK9Wine3.0"));
    }
    void expectCreated(bool expected, const std::string& path) {
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(creation.createWrapperAt(path, "CK9Wine3.0"), expected);
        });
    }
    [[nodiscard]] std::string commandsOf(const std::string& path) const {
        return get(testing::commandLog(path));
    }
};

TEST_F(Creation, TemporaryPathLosesWhatWineCannotBear) {
    struct Row {
        std::string wrapper;
        std::string expected;
    };
    std::filesystem::create_directories(temporary + "/Outer.app/Contents");
    std::filesystem::create_directory_symlink(temporary, home + "/link");
    for (const Row& row :
         {Row{home + "/Tom & Jerry: Part 2 (Demo).app", "Tom and Jerry Part 2 Demo.app"},
          Row{home + "/!#$%^&*()+=|\\?><;:@.app", "and.app"},
          Row{home + "/Plain - name_ö'[1]{2}~`,.\".app", "Plain - name_ö'[1]{2}~`,.\".app"}}) {
        EXPECT_EQ(WrapperCreation::temporaryPathFor(row.wrapper), temporary + "/" + row.expected);
    }
    // What lies at the temporary path is cleared away, so the wrapper itself must not lie there.
    for (const std::string& inPlace :
         {temporary + "/Game.app", home + "/link/Game.app", temporary + "/Outer.app/Outer.app"}) {
        EXPECT_EQ(WrapperCreation::temporaryPathFor(inPlace), std::nullopt) << inPlace;
    }
}

TEST_F(Creation, MakesTheEngineAndThePrefixAtTheTemporaryPath) {
    const std::string path = home + "/Applications/Tom & Jerry: Part 2 (Demo).app";
    const std::string passing = temporary + "/Tom and Jerry Part 2 Demo.app";
    // The tool is not runnable in the master wrapper, and tells where it ran.
    prepare({.onPrefixCreate = "echo \"$wrapper\" > \"$wrapper/Contents/Resources/where\""});
    std::filesystem::permissions(masters + "/Caskery-2.6.2.app/Contents/Frameworks/bin/Caskery",
                                 std::filesystem::perms(0644));
    put(passing + "/Contents/leftover", "x");
    expectCreated(true, path);
    EXPECT_EQ(get(path + "/Contents/Resources/where"), passing + "\n");
    EXPECT_EQ(commandsOf(path), "CKS-wineprefixcreate\n");
    EXPECT_EQ(WrapperCreation::getCaskeryWrapperEngineFromPath(path), "CK9Wine3.0");
    EXPECT_EQ(std::filesystem::status(path + "/Contents/Frameworks/ckwine.bundle").permissions(),
              std::filesystem::perms(0777));
    EXPECT_TRUE(exists(path + "/Contents/Resources/system.reg"));
    EXPECT_FALSE(exists(path + "/Contents/leftover"));
    EXPECT_EQ(namesIn(temporary), Names{});
    EXPECT_EQ(ui.statusLines(), (Names{"Creating Wrapper Caskery-2.6.2...", "Extracting Engine CK9Wine3.0...",
                                       "Preparing Wrapper..."}));
    EXPECT_EQ(ui.progress.back().subtitle, "Please wait. If prompted to install Mono or Gecko, cancel it.");
}

TEST_F(Creation, LeavesAFinishedWrapperAlone) {
    prepare();
    testing::makeFakeWrapperAt(wrapper, "CK9Wine3.0");
    put(wrapper + "/Contents/Resources/drive_c/save.dat", "saved");
    std::filesystem::remove_all(masters);
    expectCreated(true, wrapper);
    EXPECT_FALSE(exists(testing::commandLog(wrapper)));
    EXPECT_EQ(get(wrapper + "/Contents/Resources/drive_c/save.dat"), "saved");
    // An engine without a prefix: a build that was stopped goes on here.
    std::filesystem::remove(wrapper + "/Contents/Resources/system.reg");
    expectCreated(true, wrapper);
    EXPECT_TRUE(exists(wrapper + "/Contents/Resources/system.reg"));
}

TEST_F(Creation, AnOldWrapperGetsItsEngineWithoutLeavingItsPlace) {
    prepare({.onPrefixCreate = "echo \"$wrapper\" > \"$wrapper/Contents/Resources/where\""});
    testing::makeFakeWrapperAt(
        wrapper, "CK9Wine2.0",
        {.onPrefixCreate = "echo \"$wrapper\" > \"$wrapper/Contents/Resources/where\""});
    put(wrapper + "/Contents/Resources/drive_c/save.dat", "saved");
    expectCreated(true, wrapper);
    EXPECT_EQ(get(wrapper + "/Contents/Resources/where"), wrapper + "\n");
    EXPECT_EQ(get(wrapper + "/Contents/Resources/drive_c/save.dat"), "saved");
    EXPECT_EQ(WrapperCreation::getCaskeryWrapperEngineFromPath(wrapper), "CK9Wine3.0");
}

TEST_F(Creation, TakesNothingButALeftoverForALeftover) {
    prepare();
    const std::string passing = temporary + "/Game.app";
    const std::string elsewhere = home + "/elsewhere.app";
    put(elsewhere + "/Contents/mine", "mine");
    std::vector<std::function<void()>> rows{
        [&] { put(passing, "a file"); },
        [&] { put(passing + "/mine", "a folder without the layout"); },
        [&] { std::filesystem::create_directory_symlink(elsewhere, passing); },
        [&] { put(passing + "/mv_backup.cki", "a finished port"), put(passing + "/Contents/mine", "x"); },
    };
    if (::geteuid() == 0) {
        rows.emplace_back([&] {
            put(passing + "/Contents/mine", "somebody else's");
            ASSERT_EQ(::lchown(passing.c_str(), 12345, 12345), 0);
        });
    }
    for (const auto& makeObstacle : rows) {
        std::filesystem::remove_all(passing);
        std::filesystem::remove_all(wrapper);
        makeObstacle();
        ui.expectError("The wrapper is prepared at " + passing + ", but something else lies there.");
        expectCreated(false, wrapper);
        EXPECT_TRUE(exists(passing));
        EXPECT_TRUE(exists(wrapper + "/Contents"));
    }
    EXPECT_EQ(get(elsewhere + "/Contents/mine"), "mine");
}

TEST_F(Creation, StaysInItsPlaceWithoutATemporaryFolder) {
    prepare({.onPrefixCreate = "echo \"$wrapper\" > \"$wrapper/Contents/Resources/where\""});
    std::filesystem::remove(temporary);
    expectCreated(true, wrapper);
    EXPECT_EQ(get(wrapper + "/Contents/Resources/where"), wrapper + "\n");
}

TEST_F(Creation, EndsWithoutTheFramework) {
    prepare();
    std::filesystem::remove(masters + "/Caskery-2.6.2.app/Contents/Frameworks/bin/Caskery");
    ui.expectError("Wrapper creation failed! The Caskery framework couldn't be found!");
    expectCreated(false, wrapper);
    EXPECT_TRUE(exists(wrapper + "/Contents/Frameworks/ckwine.bundle"));
}

TEST_F(Creation, AsksForTheMasterWrapperWhenThereIsNoPrefix) {
    prepare({.makesPrefix = false});
    const char* question =
        "The Wine Prefix Creation failed! Probably your Master Wrapper is corrupted. Do you want to remove "
        "it?";
    ui.expect(question).titleIs("Error").defaultIs("Yes").answer("No");
    expectCreated(false, wrapper);
    EXPECT_TRUE(exists(masters + "/Caskery-2.6.2.app"));
    EXPECT_TRUE(exists(wrapper + "/Contents"));
    EXPECT_EQ(namesIn(temporary), Names{});

    ui.expect(question).answer("Yes");
    ui.expect("Master Wrapper removed! Please, start the port creation again.").titleIs("Warning");
    expectCreated(false, wrapper);
    EXPECT_EQ(namesIn(masters), Names{});
}

TEST_F(Creation, TellsWhereTheWrapperIsWhenItCannotGoBack) {
    // Something new lies in the wrapper's place when its prefix is ready.
    prepare({.onPrefixCreate = "mkdir -p '" + wrapper + "/Contents'"});
    const std::string passing = temporary + "/Game.app";
    ui.expectError("Error while moving file: ");
    ui.expectError("The wrapper is at " + passing + " now. Move it to " + wrapper);
    expectCreated(false, wrapper);
    EXPECT_TRUE(exists(passing + "/Contents/Resources/system.reg"));
}

TEST_F(Creation, BuildsNothingOfAPortThatNeedsStagesToCome) {
    testing::publishMasterWrapper(site);
    NSPortData port;
    port.engine = "CK9Wine3.0";
    const auto expectRefusal = [&](const NSPortData& refused, const std::string& needs) {
        ui.expectError("This port needs " + needs +
                       ", which this version of Morvane can't install yet. Nothing was created.");
        create([&](WrapperCreation& creation) { EXPECT_FALSE(creation.buildPortAt(wrapper, refused)); });
        EXPECT_EQ(namesIn(masters), Names{});
    };
    NSPortData verbs = port;
    verbs.winetricks = {"corefonts", "Install App", "vcrun2012"};
    expectRefusal(verbs, "Winetricks components (corefonts, vcrun2012)");
    NSPortData files = port;
    files.extraFilesAfterInstaller = {{.origin = "patch.exe", .destiny = "C:/", .autorun = true}};
    files.isGogGalaxy = true;
    expectRefusal(files, "extra files, GOG Galaxy");
    NSPortData clients = port;
    clients.isSteam = clients.isOrigin = clients.isUplay = true;
    expectRefusal(clients, "Steam, Origin, Uplay");
}

}  // namespace
}  // namespace morvane
