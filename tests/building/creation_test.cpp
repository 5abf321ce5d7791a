#include "building/creation.h"
#include "building/building_machine.h"
#include "building/engine_extraction.h"
#include "platform/private_folder.h"

namespace morvane {
namespace {

using testing::FakeWrapper;

class Creation : public testing::BuildingMachine {
  protected:
    /// A master wrapper whose prefix creation tells where it ran, and the engine.
    void prepare(FakeWrapper master = {}) {
        offline();
        if (master.onPrefixCreate.empty()) master.onPrefixCreate = tellsWhere;
        testing::makeFakeMasterWrapper(masters, master);
        putEngine();
    }
    void expectCreated(bool expected, const std::string& path) {
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(createWrapperAt(creation, Wrapper(path), "CK9Wine3.0"), expected);
        });
    }
    const std::string tellsWhere =
        "echo \"$wrapper\" > \"$wrapper/Contents/Resources/where\"\n"
        "echo $(stat -c %a \"$wrapper/..\" \"$wrapper/../..\") > '" +
        folder.path + "/mode'";
    const std::string where = "/Contents/Resources/where", save = "/Contents/Resources/drive_c/save.dat";
    const std::string newMaster = masters + "/Caskery-2.6.2.app";
};

TEST_F(Creation, TemporaryNameLosesWhatWineCannotBear) {
    const std::pair<const char*, const char*> rows[] = {
        {"/Tom & Jerry: Round 2 (Demo).app", "Tom and Jerry Round 2 Demo.app"},
        {"/!#$%^&*()+=|\\?><;:@.app", "and.app"},
        {"/Plain - name_ö'[1]{2}~`,.\".app", "Plain - name_ö'[1]{2}~`,.\".app"},
    };
    for (const auto& [name, expected] : rows) {
        EXPECT_EQ(temporaryNameFor(home + name), expected);
    }
}

TEST_F(Creation, MakesTheEngineAndThePrefixAtTheTemporaryPath) {
    const std::string path = home + "/Applications/Tom & Jerry: Round 2 (Demo).app";
    prepare();
    // The tool is not runnable in the master wrapper.
    fs::permissions(newMaster + "/Contents/Frameworks/bin/Caskery", fs::perms(0644));
    expectCreated(true, path);
    const std::string place = get(path + where);
    EXPECT_TRUE(place.starts_with(temporary + "/")) << place;
    EXPECT_TRUE(place.ends_with("/Tom and Jerry Round 2 Demo.app\n")) << place;
    EXPECT_EQ(get(folder.path + "/mode"), "700 700\n") << "of the folders that nobody else enters";
    EXPECT_EQ(get(testing::commandLog(path)), "CKS-wineprefixcreate\n");
    EXPECT_EQ(getCaskeryWrapperEngineFromPath(Wrapper(path)), "CK9Wine3.0");
    EXPECT_EQ(fs::status(path + "/Contents/Frameworks/ckwine.bundle").permissions(), fs::perms(0777));
    EXPECT_TRUE(exists(path + "/Contents/Resources/system.reg"));
    EXPECT_EQ(namesIn(temporary), Names{});
    EXPECT_EQ(ui.statusLines(), (Names{"Creating Wrapper Caskery-2.6.2...", "Extracting Engine CK9Wine3.0...",
                                       "Preparing Wrapper..."}));
    EXPECT_EQ(ui.progress.back().subtitle, "Please wait. If prompted to install Mono or Gecko, cancel it.");
}

TEST_F(Creation, LeavesAFinishedWrapperAlone) {
    prepare();
    testing::makeFakeWrapperAt(wrapper, "CK9Wine3.0");
    put(wrapper + save, "saved");
    fs::remove_all(masters);
    expectCreated(true, wrapper);
    EXPECT_FALSE(exists(testing::commandLog(wrapper)));
    // An engine without a prefix: a build that was stopped goes on here.
    fs::remove(wrapper + "/Contents/Resources/system.reg");
    expectCreated(true, wrapper);
    EXPECT_TRUE(exists(wrapper + "/Contents/Resources/system.reg"));
    EXPECT_EQ(get(wrapper + save), "saved");
}

TEST_F(Creation, StaysInItsPlaceAsAnOldWrapperAndWithoutATemporaryFolder) {
    prepare();
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0", {.onPrefixCreate = tellsWhere});
    put(wrapper + save, "saved");
    expectCreated(true, wrapper);
    EXPECT_EQ(get(wrapper + where), wrapper + "\n");
    EXPECT_EQ(get(wrapper + save), "saved");
    EXPECT_EQ(getCaskeryWrapperEngineFromPath(Wrapper(wrapper)), "CK9Wine3.0");

    // Nothing of ours: what somebody else has put there is not entered.
    fs::remove(temporary);
    fs::create_directory_symlink(home, temporary);
    fs::remove_all(wrapper);
    expectCreated(true, wrapper);
    EXPECT_EQ(get(wrapper + where), wrapper + "\n");
}

TEST_F(Creation, EndsWithoutTheFramework) {
    prepare();
    fs::remove(newMaster + "/Contents/Frameworks/bin/Caskery");
    ui.expectError("Wrapper creation failed! The Caskery framework couldn't be found!");
    expectCreated(false, wrapper);
    EXPECT_TRUE(exists(wrapper + "/Contents/Frameworks/ckwine.bundle"));
}

TEST_F(Creation, AsksForTheMasterWrapperWhenThereIsNoPrefix) {
    prepare({.onPrefixCreate = ":", .makesPrefix = false});
    for (const char* answer : {"No", "Yes"}) {
        ui.expect("The Wine Prefix Creation failed!").titleIs("Error").defaultIs("Yes").answer(answer);
        const bool removed = answer == std::string("Yes");
        if (removed) ui.expect("Master Wrapper removed!").titleIs("Warning");
        expectCreated(false, wrapper);
        EXPECT_EQ(exists(newMaster), !removed);
        EXPECT_TRUE(exists(wrapper + "/Contents"));
        EXPECT_EQ(namesIn(temporary), Names{});
    }
}

TEST_F(Creation, KeepsAWrapperThatCannotGoBackOnlyWhenTheUserWantsIt) {
    for (const bool keeps : {false, true}) {
        // Something new lies in the wrapper's place when its prefix is ready.
        prepare({.onPrefixCreate = "mkdir -p '" + wrapper + "/Contents'"});
        ui.expectError("Error while moving file: ");
        ui.expect("The wrapper can't be moved to " + wrapper + ".")
            .defaultIs("No")
            .answer(keeps ? "Yes" : "No");
        if (keeps) ui.expectError("The wrapper is at " + temporary + "/");
        expectCreated(false, wrapper);
        fs::remove_all(wrapper);
        EXPECT_EQ(namesIn(temporary).size(), keeps ? 1U : 0U);
    }
    const std::string told = ui.dialogs.back().text;
    const std::string place = told.substr(told.find('/'), told.find(" now") - told.find('/'));
    files::PrivateFolder::removeLeftovers(temporary);
    EXPECT_TRUE(exists(place + "/Contents/Resources/system.reg")) << place;
}

}  // namespace
}  // namespace morvane
