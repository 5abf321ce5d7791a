#include "building/building_machine.h"

namespace morvane {
namespace {

using testing::FakeWrapper;
using testing::SiteAnswer;
using Names = std::vector<std::string>;

constexpr const char* newestPath = "/Wrapper/NewestVersion.txt";
constexpr const char* archivePath = "/Wrapper/Caskery-2.6.2.app.tar.7z";
constexpr const char* corruptedQuestion =
    "Your master wrapper is corrupted. Morvane needs to redownload it in order to create the wrapper. Can "
    "the actual "
    "master wrapper be replaced? Pressing No will cancel the game installation.";

class MasterWrapper : public testing::BuildingMachine {
  protected:
    void keepOldMaster() { testing::makeFakeMasterWrapper(masters, {.version = "Caskery-2.6.0"}); }
    void expectUpdate(bool expected) {
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(creation.updateCaskery(), expected);
            current = creation.currentCaskery;
        });
    }
    std::optional<std::string> current;
};

TEST_F(MasterWrapper, NewestVersionIsWhatTheSiteSaysAndCanBeAFileName) {
    struct Row {
        const char* name;
        std::string answer;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"a page", "<html><body>Not found</body></html>", std::nullopt},
        {"too short", "Caskery1\n", std::nullopt},
        {"another name", "Caskara-2.6.2\n", std::nullopt},
        {"leads elsewhere", "Caskery/../../../x\n", std::nullopt},
        {"a tab in it", "Caskery-2\t6\n", std::nullopt},
        {"too long", "Caskery" + std::string(260, '1') + "\n", std::nullopt},
        {"line ends in it", "Caskery-\r\n2.6.2\r\n\n", "Caskery-2.6.2"},
    };
    for (const Row& row : rows) {
        site.answer(newestPath, {.body = row.answer});
        onWorker([&] { EXPECT_EQ(WrapperCreation::getNewestCaskeryVersion(), row.expected) << row.name; });
    }
    const int before = asked(newestPath);
    offline();
    onWorker([&] { EXPECT_EQ(WrapperCreation::getNewestCaskeryVersion(), "Caskery-2.6.2"); });
    EXPECT_EQ(asked(newestPath), before) << "asked again for what is known";
}

TEST_F(MasterWrapper, CurrentVersionIsTheWrapperInTheFolder) {
    struct Row {
        const char* name;
        Names folders, files;
        std::optional<std::string> expected;
    };
    const Row rows[] = {
        {"nothing", {}, {}, std::nullopt},
        {"only the system's file", {}, {".DS_Store"}, std::nullopt},
        {"a user's notes", {}, {"Notes.txt"}, std::nullopt},
        {"a wrapper", {"Caskery-2.6.0.app"}, {".DS_Store", "Notes.txt"}, "Caskery-2.6.0"},
        {"an archive", {}, {"Caskery-2.6.2.tar.7z"}, "Caskery-2.6.2"},
        {"a wrapper and a later archive", {"Caskery-2.6.0.app"}, {"Caskery-2.6.2.tar.7z"}, "Caskery-2.6.0"},
        {"the last of two", {"Caskery-2.6.0.app", "Caskery-2.6.1.app"}, {}, "Caskery-2.6.1"},
    };
    EXPECT_EQ(WrapperCreation::getCurrentCaskeryVersion(), std::nullopt) << "without a folder";
    for (const Row& row : rows) {
        std::filesystem::remove_all(masters);
        std::filesystem::create_directories(masters);
        for (const auto& name : row.folders) std::filesystem::create_directories(masters + "/" + name);
        for (const auto& name : row.files) put(masters + "/" + name, "x");
        EXPECT_EQ(WrapperCreation::getCurrentCaskeryVersion(), row.expected) << row.name;
    }
}

TEST_F(MasterWrapper, IsDownloadedAndTheOldOneGoes) {
    keepOldMaster();
    put(masters + "/Caskery-2.5.tar.7z", "left");
    put(masters + "/My notes.txt", "mine");
    put(masters + "/Backup.zip", "mine");
    std::filesystem::create_directories(masters + "/My Game.app/Contents");
    testing::publishMasterWrapper(site);
    expectUpdate(true);
    EXPECT_EQ(current, "Caskery-2.6.2");
    EXPECT_EQ(namesIn(masters), (Names{"Backup.zip", "Caskery-2.6.2.app", "My Game.app", "My notes.txt"}));
    EXPECT_TRUE(exists(masters + "/Caskery-2.6.2.app/Contents/Frameworks/bin/Caskery"));
    EXPECT_FALSE(exists(masters + "/../.unpacking"));
    const Names expected{"", "Updating Caskery Master Wrapper...", "Extracting Wrapper Caskery-2.6.2...",
                         "Creating Wrapper Caskery-2.6.2..."};
    Names lines = ui.statusLines();
    if (!lines.empty() && !lines.front().empty()) lines.insert(lines.begin(), "");
    EXPECT_EQ(lines, expected);
    // Nothing to do the second time.
    expectUpdate(true);
    EXPECT_EQ(asked("/Wrapper/Caskery"), 1);
}

TEST_F(MasterWrapper, EitherNameOfTheTarFileIsAccepted) {
    const testing::TemporaryFolder packing;
    testing::makeFakeMasterWrapper(packing.path);
    testing::publishNewestVersion(site, "Caskery-2.6.2");
    site.answer(archivePath,
                {.body = testing::packedTar7z(packing.path, "Caskery-2.6.2.app", "Caskery-2.6.2.tar")});
    expectUpdate(true);
    EXPECT_EQ(namesIn(masters), Names{"Caskery-2.6.2.app"});
}

TEST_F(MasterWrapper, IsUsedAsItIsWhereTheSiteDoesNotHelp) {
    keepOldMaster();
    // The site answers with a page: the newest version is not known.
    site.answer(newestPath, {.body = "<html></html>"});
    expectUpdate(true);
    EXPECT_EQ(current, "Caskery-2.6.0");
    testing::publishNewestVersion(site, "Caskery-2.6.2");
    create([&](WrapperCreation& creation) {
        EXPECT_EQ(creation.newestCaskery, "Caskery-2.6.2");
        offline();
        EXPECT_TRUE(creation.updateCaskery());
        EXPECT_EQ(creation.currentCaskery, "Caskery-2.6.0");
    });
    EXPECT_EQ(namesIn(masters), Names{"Caskery-2.6.0.app"});
}

TEST_F(MasterWrapper, FailsOfflineWithoutOne) {
    offline();
    ui.expectError("Caskery Master Wrapper download failed!");
    expectUpdate(false);
    EXPECT_EQ(current, std::nullopt);
}

TEST_F(MasterWrapper, UnpacksAnArchiveThatLiesThere) {
    offline();
    put(masters + "/Caskery-2.6.2.tar.7z", testing::packedMasterWrapper());
    expectUpdate(true);
    EXPECT_EQ(namesIn(masters), Names{"Caskery-2.6.2.app"});
}

/// Each row: what the site answers for the archive, and what the user sees of it.
TEST_F(MasterWrapper, KeepsTheOldOneWhateverTheDownloadBrings) {
    const std::string whole = testing::packedMasterWrapper();
    std::string flipped = whole;
    flipped[flipped.size() / 3] = static_cast<char>(flipped[flipped.size() / 3] ^ 0x55);
    struct Row {
        const char* name;
        SiteAnswer answer;
        const char* downloadQuestion;
        bool corrupted;
    };
    const Row rows[] = {
        {"error page", {.status = 404, .body = "<html>Not found</html>"}, nullptr, true},
        {"flipped bits", {.body = flipped}, nullptr, true},
        {"short",
         {.body = whole.substr(0, whole.size() / 2), .announcedLength = static_cast<long long>(whole.size())},
         "",
         true},
        {"hangs up",
         {.body = "", .drop = true},
         "The informed file isn't available. Do you want to inform an updated link?",
         false},
        {"empty",
         {.body = ""},
         "The informed file isn't available. Do you want to inform an updated link?",
         false},
    };
    testing::publishNewestVersion(site, "Caskery-2.6.2");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::filesystem::remove_all(masters);
        keepOldMaster();
        site.answer(archivePath, row.answer);
        if (row.downloadQuestion != nullptr) ui.expect(row.downloadQuestion).titleIs("Error").answer("No");
        if (row.corrupted) {
            ui.expect(corruptedQuestion).titleIs("Warning").defaultIs("Yes").answer("No");
            ui.expectError("Your Caskery Master Wrapper is corrupted! The wrapper creation failed!");
        } else {
            ui.expectError("Caskery Master Wrapper download failed!");
        }
        expectUpdate(false);
        EXPECT_EQ(current, "Caskery-2.6.0");
        EXPECT_TRUE(exists(masters + "/Caskery-2.6.0.app/Contents/Info.plist"));
        EXPECT_FALSE(exists(masters + "/../.unpacking"));
    }
}

TEST_F(MasterWrapper, IsDownloadedAgainAfterAYesToTheQuestion) {
    testing::publishNewestVersion(site, "Caskery-2.6.2");
    site.answerInTurn(archivePath, {{.body = "no archive"}, {.body = testing::packedMasterWrapper()}});
    ui.expect(corruptedQuestion).answer("Yes");
    expectUpdate(true);
    EXPECT_EQ(namesIn(masters), Names{"Caskery-2.6.2.app"});
    EXPECT_EQ(asked("/Wrapper/Caskery"), 2);
}

TEST_F(MasterWrapper, GivesUpOnAnArchiveThatNeverYieldsIt) {
    const testing::TemporaryFolder packing;
    std::filesystem::create_directories(packing.path + "/linked");
    struct Row {
        const char* name;
        std::string body;
    };
    testing::makeFakeMasterWrapper(packing.path, {.version = "Another"});
    const std::string another = testing::packedTar7z(packing.path, "Another.app", "Caskery-2.6.2.tar");
    std::filesystem::create_directory_symlink(packing.path + "/linked", packing.path + "/Caskery-2.6.2.app");
    const std::string link = testing::packedTar7z(packing.path, "Caskery-2.6.2.app", "Caskery-2.6.2.tar");
    testing::publishNewestVersion(site, "Caskery-2.6.2");
    keepOldMaster();
    int requests = 0;
    for (const Row& row : {Row{"another wrapper", another}, Row{"a link", link}}) {
        SCOPED_TRACE(row.name);
        site.answer(archivePath, {.body = row.body});
        ui.expectError("Caskery Master Wrapper extraction failed!");
        expectUpdate(false);
        requests += WrapperCreation::masterWrapperPasses;
        EXPECT_EQ(asked("/Wrapper/Caskery"), requests);
        EXPECT_EQ(current, "Caskery-2.6.0");
        EXPECT_EQ(namesIn(masters), Names{"Caskery-2.6.0.app"});
    }
}

TEST_F(MasterWrapper, SaysWhatToInstallWithout7Zip) {
    testing::publishMasterWrapper(site);
    const std::string missing = "Archives can't be unpacked, because 7-Zip was not found (" + resources +
                                "/7za). Install the package p7zip-full";
    std::filesystem::remove(resources + "/7za");
    ui.expectError(missing);
    expectUpdate(false);
    // A starter that finds no 7-Zip on the machine.
    put(resources + "/7za", "#!/bin/sh\nexit 127\n", true);
    ui.expect("There is already a file called \"Caskery-2.6.2.tar.7z\"").answer("Yes");
    ui.expectError(missing);
    expectUpdate(false);
}

TEST_F(MasterWrapper, IsCopiedToANewPathOnly) {
    offline();
    const std::string master = testing::makeFakeMasterWrapper(masters);
    create([&](WrapperCreation& creation) { EXPECT_TRUE(creation.copyingMasterWrapperToPath(wrapper)); });
    const std::string binary = wrapper + "/Caskery.app/Contents/MacOS/Caskery";
    EXPECT_NE(std::filesystem::status(binary).permissions() & std::filesystem::perms::owner_exec,
              std::filesystem::perms::none);
    put(wrapper + "/Contents/Info.plist", "changed");
    std::filesystem::remove_all(master);
    create([&](WrapperCreation& creation) { EXPECT_TRUE(creation.copyingMasterWrapperToPath(wrapper)); });
    EXPECT_EQ(get(wrapper + "/Contents/Info.plist"), "changed");
}

TEST_F(MasterWrapper, IsCopiedWholeOrNotAtAll) {
    offline();
    testing::makeFakeMasterWrapper(masters);
    const std::string applications = home + "/Applications";
    // What a kill in the middle of a copy leaves is no wrapper for the next run.
    put(applications + "/.Game.app.morvane-new/Contents/half", "x");
    create([&](WrapperCreation& creation) { EXPECT_TRUE(creation.copyingMasterWrapperToPath(wrapper)); });
    EXPECT_EQ(namesIn(applications), Names{"Game.app"});
    EXPECT_FALSE(exists(wrapper + "/Contents/half"));
    std::filesystem::remove_all(wrapper);

    create([&](WrapperCreation& creation) {
        ASSERT_TRUE(machine->creation.begin());
        machine->creation.request();
        EXPECT_THROW(creation.copyingMasterWrapperToPath(wrapper), Cancelled);
        machine->creation.end();
    });
    EXPECT_EQ(namesIn(applications), Names{});
}

TEST_F(MasterWrapper, CopyTellsOfEachFailure) {
    offline();
    create([&](WrapperCreation& creation) {
        ui.expectError(
            "Something strange happened. The master wrapper was there a second ago, but now it's gone! "
            "Download Caskery Forge and press the Update button.");
        EXPECT_FALSE(creation.copyingMasterWrapperToPath(wrapper));
    });
    testing::makeFakeMasterWrapper(masters);
    create([&](WrapperCreation& creation) {
        ui.expectError("Error while copying file: ");
        EXPECT_FALSE(creation.copyingMasterWrapperToPath(home + "/Nowhere/Game.app"));
    });
    // A program that removes what it should make runnable: nothing is there after the copy.
    scriptProgram("chmod", "rm -rf \"${2%/Caskery.app/*}\"");
    create([&](WrapperCreation& creation) {
        ui.expectError(
            "The master wrapper couldn't be copied to the specified destination! Probably your master "
            "wrapper is corrupted. Remove all the files from that folder and try again:\n" +
            masters);
        EXPECT_FALSE(creation.copyingMasterWrapperToPath(home + "/Desktop/Game.app"));
        ui.expectError(
            "The master wrapper couldn't be copied to the specified destination! Try to create it in a "
            "different folder, like your Desktop.");
        EXPECT_FALSE(creation.copyingMasterWrapperToPath(wrapper));
    });
}

}  // namespace
}  // namespace morvane
