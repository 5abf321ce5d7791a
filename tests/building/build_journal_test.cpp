#include "building/build_journal.h"

#include "building/building_machine.h"
#include "foundation/text.h"

namespace morvane {
namespace {

class Resuming : public testing::BuildingMachine {
  protected:
    /// A port with an installer that the user has, an extra file of the site, and a program that the installer leaves.
    Resuming() {
        putSharedVerbScript();
        testing::publishMasterWrapper(
            site, {.onInstaller = "mkdir -p \"$wrapper/Contents/Resources/drive_c/Game\"\n"
                                  "echo MZ > \"$wrapper/Contents/Resources/drive_c/Game/game.exe\"\n"});
        testing::publishEngines(site, {"CK9Wine3.0"});
        putEngine();
        put(home + "/Downloads/setup.exe", "MZ");
        site.answer("/extra.dat", {.body = "extra", .entityTag = "\"1\""});
        file =
            cki({{"CKI Version", "1.6.1"},
                 {"Engine", "CK9Wine3.0"},
                 {"Source", "Download"},
                 {"Original Installer Needed", true},
                 {"Original Installer Name", "setup.exe"},
                 {"Before Extra Files", Array{Dictionary{{"origin", site.baseAddress() + "extra.dat"},
                                                         {"destiny", "C:/Extra/"},
                                                         {"autorun", false}}}},
                 {"EXEs", Array{Dictionary{{"name", "Game"}, {"main", "X"}, {"path", "C:/Game/game.exe"}}}}});
    }
    int installAt(const std::string& place, const std::optional<BuildRecord>& lock = {},
                  const std::string& goesOn = "", const std::string& error = "") {
        ui.expect("That port has some requirements").answer("Yes");
        if (!goesOn.empty()) {
            ui.expect("The installation of Game was stopped before its end.")
                .titleIs("Unfinished Installation")
                .defaultIs("Yes")
                .answer(goesOn);
        }
        if (!error.empty()) ui.expectError(error);
        int result = 1;
        create([&](WrapperCreation& creation) {
            creation.locked = lock;
            result = creation.installCKI(file, place, Trust::no);
        });
        return result;
    }
    int install(const std::string& goesOn = "") { return installAt(wrapper, {}, goesOn); }
    [[nodiscard]] BuildRecord record() const {
        return BuildRecord::of(Wrapper(wrapper)).value_or(BuildRecord());
    }
    /// How often the wrapper's tool was asked to do that.
    [[nodiscard]] std::size_t calls(const std::string& word) const {
        return MVString::split(get(testing::commandLog(wrapper)), word).size() - 1;
    }
    /// As a kill in the step leaves the wrapper, with what the step had begun.
    void stopIn(ConfigurationStage stage) {
        BuildRecord stopped = record();
        stopped.stages.erase(std::ranges::find(stopped.stages, nameOf(stage)), stopped.stages.end());
        fs::remove_all(drive + "/Game");
        BuildJournal(Wrapper(wrapper), stopped).begin(stage);
        put(drive + "/Half/setup.tmp", "x");
        fs::create_symlink(home, drive + "/Half/home");
        registry = get(wrapper + layout::systemRegistry);
        put(wrapper + layout::systemRegistry, registry + "[Half]\n");
    }
    [[nodiscard]] std::size_t asked() const {
        return static_cast<std::size_t>(std::ranges::count(site.requests(), "GET /extra.dat"));
    }

    std::string file, registry;
    const std::string drive = wrapper + layout::driveC;
};

TEST_F(Resuming, GoesOnWithTheStepThatWasCutShort) {
    ASSERT_EQ(install(), 0);
    EXPECT_TRUE(record().isFinished);
    EXPECT_FALSE(exists(wrapper + layout::buildSnapshot));
    const BuildRecord first = record();
    const std::size_t fetched = asked();

    stopIn(ConfigurationStage::installer);
    EXPECT_TRUE(isUnfinished(Wrapper(wrapper)));
    EXPECT_EQ(install("Yes"), 0);
    EXPECT_FALSE(exists(drive + "/Half"));
    EXPECT_TRUE(exists(home + "/Downloads/setup.exe"));
    EXPECT_TRUE(exists(drive + "/Game/game.exe"));
    EXPECT_EQ(get(wrapper + layout::systemRegistry).find("[Half]"), std::string::npos);
    EXPECT_EQ(calls("CKS-wineprefixcreate"), 1U);
    EXPECT_EQ(calls("CKS-installer"), 2U);
    EXPECT_EQ(asked(), fetched) << "the extra file is there";
    EXPECT_EQ(record().files, first.files);
    EXPECT_EQ(record().stages, first.stages);
    EXPECT_TRUE(record().isFinished);
    EXPECT_FALSE(exists(wrapper + layout::buildSnapshot));

    // Anew: what is there goes once the new one is ready.
    stopIn(ConfigurationStage::mainProgram);
    put(drive + "/kept", "x");
    EXPECT_EQ(install("No"), 0);
    EXPECT_FALSE(exists(drive + "/kept"));
    EXPECT_EQ(calls("CKS-installer"), 1U);
    EXPECT_FALSE(exists(wrapper + ".morvane-replaced"));

    // Of another recipe, or with a record that cannot be read, nothing is asked.
    for (const std::string& damaged :
         {MVString::replacedAll(record().xml(), record().port, "other"), std::string("x")}) {
        put(wrapper + layout::buildRecord, MVString::replacedAll(damaged, "<true/>", "<false/>"));
        EXPECT_EQ(install(), 0);
    }
}

TEST_F(Resuming, NothingIsRemovedByAListOfAnotherDrive) {
    ASSERT_EQ(install(), 0);
    stopIn(ConfigurationStage::installer);
    for (const char* list : {"/nowhere", "", "no list at all"}) {
        put(wrapper + layout::buildSnapshot + "/files", std::string(list) + std::string(1, '\0'));
        BuildRecord stopped = record();
        BuildJournal(Wrapper(wrapper), stopped).begin(ConfigurationStage::installer);
        EXPECT_TRUE(exists(drive + "/Half/setup.tmp")) << list;
    }
    // The user's folder in the place of the drive is none of ours.
    fs::rename(drive, home + "/drive");
    fs::create_symlink(home + "/drive", drive);
    put(wrapper + layout::buildSnapshot + "/files", std::string("/windows\0", 9));
    BuildRecord stopped = record();
    BuildJournal(Wrapper(wrapper), stopped).begin(ConfigurationStage::installer);
    EXPECT_TRUE(exists(home + "/drive/Half/setup.tmp"));
}

TEST_F(Resuming, ALockAllowsNothingElse) {
    ASSERT_EQ(install(), 0);
    const std::string path = home + "/game.lock", again = home + "/Applications/Again.app";
    put(path, record().xml());
    const auto lock = BuildRecord::readLock(path);
    ASSERT_TRUE(lock);
    EXPECT_EQ(lock->files.size(), 3U) << "engine, installer, extra file";
    EXPECT_EQ(installAt(again, *lock), 0);
    EXPECT_EQ(get(again + "/Contents/Resources/drive_c/Extra/extra.dat"), "extra");
    fs::remove_all(again);

    const std::string link = site.baseAddress() + "extra.dat";
    site.answer("/extra.dat", {.body = "EXTRA", .entityTag = "\"2\""});
    EXPECT_EQ(installAt(again, *lock, "", link + " is not the file of the lock: its SHA-256 is "), -1);
    EXPECT_TRUE(isUnfinished(Wrapper(again)));

    BuildRecord other = *lock;
    std::erase_if(other.files, [&](const UsedFile& used) { return used.link == link; });
    fs::remove_all(again);
    EXPECT_EQ(installAt(again, other, "", "The lock does not know " + link), -1);
    fs::remove_all(again);
    other.port = "another";
    EXPECT_EQ(installAt(again, other, "", "The lock is of another port."), -1);
    EXPECT_FALSE(exists(again));

    for (const char* bad : {"", "no list", "<plist version=\"1.0\"><dict/></plist>"}) {
        put(path, bad);
        EXPECT_FALSE(BuildRecord::readLock(path)) << bad;
    }
}

}  // namespace
}  // namespace morvane
