#include "building/master_wrapper.h"
#include "building/building_machine.h"

namespace morvane {
namespace {

using testing::SiteAnswer;

constexpr const char* archivePath = "/Wrapper/Caskery-2.6.2.app.tar.7z";
constexpr const char* corruptedQuestion = "Your master wrapper is corrupted. Morvane needs to redownload it";

class MasterWrapper : public testing::BuildingMachine {
  protected:
    void keepOldMaster() { testing::makeFakeMasterWrapper(masters, {.version = "Caskery-2.6.0"}); }
    /// Afterwards this version is the current one, these names are in its folder, and nothing is left.
    void expectUpdate(bool expected, const std::optional<std::string>& current, const Names& names) {
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(updateCaskery(creation), expected);
            EXPECT_EQ(creation.currentCaskery, current);
        });
        EXPECT_EQ(namesIn(masters), names);
        EXPECT_FALSE(exists(masters + "/../.unpacking"));
    }
    void expectCopied(bool expected, const std::string& path) {
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(copyingMasterWrapperToPath(creation, Wrapper(path)), expected);
        });
    }
    const Names newMaster{"Caskery-2.6.2.app"}, oldMaster{"Caskery-2.6.0.app"};
    const std::string applications = home + "/Applications";
};

/// As a cancelled unpacking leaves it, or a killed download.
TEST_F(MasterWrapper, AnArchiveThatIsThereIsTakenWhenItIsWhole) {
    const std::string whole = testing::packedMasterWrapper(), left = masters + "/Caskery-2.6.2.tar.7z";
    testing::publishMasterWrapper(site);
    for (const auto& [body, downloads] : {std::pair{whole, 0}, {whole.substr(0, whole.size() / 2), 1}}) {
        fs::remove_all(masters);
        keepOldMaster();
        put(left, body);
        expectUpdate(true, "Caskery-2.6.2", newMaster);
        EXPECT_EQ(asked("/Wrapper/Caskery"), downloads);
    }
}

/// Each row: what the site answers for the archive, and what the user sees of it.
TEST_F(MasterWrapper, KeepsTheOldOneWhateverTheDownloadBrings) {
    const std::string whole = testing::packedMasterWrapper();
    const SiteAnswer shortened{.body = whole.substr(0, whole.size() / 2),
                               .announcedLength = static_cast<long long>(whole.size())};
    const char* notAvailable = "The informed file isn't available. Do you want to inform an updated link?";
    struct Row {
        const char* name;
        SiteAnswer answer;
        const char* downloadQuestion;
        bool corrupted;
    };
    const Row rows[] = {
        {"error page", {.status = 404, .body = "<html>Not found</html>"}, notAvailable, false},
        {"page of a portal", {.body = "<html>Log in</html>"}, nullptr, true},
        {"short", shortened, "", true},
    };
    testing::publishNewestVersion(site, "Caskery-2.6.2");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        fs::remove_all(masters);
        keepOldMaster();
        site.answer(archivePath, row.answer);
        if (row.downloadQuestion != nullptr) ui.expect(row.downloadQuestion).titleIs("Error").answer("No");
        if (row.corrupted) ui.expect(corruptedQuestion).titleIs("Warning").defaultIs("Yes").answer("No");
        ui.expectError(row.corrupted
                           ? "Your Caskery Master Wrapper is corrupted! The wrapper creation failed!"
                           : "Caskery Master Wrapper download failed!");
        create([&](WrapperCreation& creation) {
            EXPECT_FALSE(updateCaskery(creation));
            EXPECT_EQ(creation.currentCaskery, "Caskery-2.6.0");
        });
        EXPECT_TRUE(exists(masters + "/Caskery-2.6.0.app/Contents/Info.plist"));
        EXPECT_FALSE(exists(masters + "/../.unpacking"));
    }
    fs::remove_all(masters);
    site.answerInTurn(archivePath, {{.body = "no archive"}, {.body = whole}});
    ui.expect(corruptedQuestion).answer("Yes");
    const int before = asked("/Wrapper/Caskery");
    expectUpdate(true, "Caskery-2.6.2", newMaster);
    EXPECT_EQ(asked("/Wrapper/Caskery"), before + 2) << "downloaded again after the Yes";
}

TEST_F(MasterWrapper, IsCopiedWholeOrNotAtAllAndToANewPathOnly) {
    offline();
    const std::string master = testing::makeFakeMasterWrapper(masters);
    create([&](WrapperCreation& creation) {
        ASSERT_TRUE(machine->creation.begin());
        machine->creation.request();
        EXPECT_THROW(copyingMasterWrapperToPath(creation, Wrapper(wrapper)), Cancelled);
        machine->creation.end();
    });
    EXPECT_EQ(namesIn(applications), Names{});
    // What a kill in the middle of a copy leaves is no wrapper for the next run.
    put(applications + "/.Game.app.morvane-new/Contents/half", "x");
    expectCopied(true, wrapper);
    EXPECT_EQ(namesIn(applications), Names{"Game.app"});
    EXPECT_FALSE(exists(wrapper + "/Contents/half"));
    EXPECT_TRUE(isRunnable(wrapper + "/Caskery.app/Contents/MacOS/Caskery"));

    put(wrapper + "/Contents/Info.plist", "changed");
    fs::remove_all(master);
    expectCopied(true, wrapper);
    EXPECT_EQ(get(wrapper + "/Contents/Info.plist"), "changed");
}

}  // namespace
}  // namespace morvane
