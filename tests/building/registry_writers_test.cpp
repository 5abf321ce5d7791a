#include "building/configured_wrapper.h"

namespace morvane {
namespace {

using testing::ConfiguredWrapper;

constexpr const char* direct3D = R"([Software\\Wine\\Direct3D])";

class RegistryWriters : public ConfiguredWrapper {
  protected:
    /// The texts that a test must not find outside the wrapper afterwards.
    [[nodiscard]] std::vector<std::string> applications() const { return listing(home + "/Applications"); }
    NSPortManager store() const { return NSPortManager::managerWithPath(wrapper); }
};

TEST_F(RegistryWriters, KeepTheOtherValuesOfTheKey) {
    onWorker([&] {
        NSUtilities::addRegistry(std::string(direct3D) + " 12345\n\"renderer\"=\"gl\"\n\"CSMT\"=\"maybe\"",
                                 "user", wrapper);
        creation->saveDirect3DBoost(true, wrapper);
        EXPECT_EQ(key(direct3D, "user"), "\"renderer\"=\"gl\"\n\"CSMT\"=\"enabled\"");
        creation->saveDirect3DBoost(false, wrapper);
        EXPECT_EQ(key(direct3D, "user"), "\"renderer\"=\"gl\"\n\"CSMT\"=\"disabled\"");
        creation->saveMacDriver(true, wrapper);
        EXPECT_EQ(key(R"([Software\\Wine\\Drivers])", "user"), "\"Graphics\"=\"mac\"");
        creation->saveMacDriver(false, wrapper);
        EXPECT_EQ(key(R"([Software\\Wine\\Drivers])", "user"), "\"Graphics\"=\"x11\"");
        creation->saveDecorateWindow(true, wrapper);
        EXPECT_EQ(key(R"([Software\\Wine\\X11 Driver])", "user"), "\"Decorated\"=\"Y\"\n\"Managed\"=\"Y\"");
        creation->saveDecorateWindow(false, wrapper);
        EXPECT_EQ(key(R"([Software\\Wine\\X11 Driver])", "user"), "\"Decorated\"=\"N\"\n\"Managed\"=\"N\"");
    });
    EXPECT_EQ(timesIn("user", direct3D), 1);
}

TEST_F(RegistryWriters, VideoMemoryIsWrittenInMegabytes) {
    struct Row {
        const char* memory;
        std::optional<std::string> written;
    };
    for (const Row& row : {Row{"VRAM (Total): 1536 MB", "1536"}, Row{"VRAM (Dynamic, Max): 2 GB", "2048"},
                           Row{"VRAM (Total): 512 KB", std::nullopt}, Row{"Vendor: none", std::nullopt}}) {
        scriptProgram("system_profiler", std::string("printf '    Card:\\n      Chipset Model: X\\n      ") +
                                             row.memory + "\\n'");
        {
            MutexLock lock(machine->hardware.mutex);
            machine->hardware.value = {};
        }
        onWorker([&] {
            NSUtilities::deleteRegistry(direct3D, "user", wrapper);
            NSUtilities::addRegistry(std::string(direct3D) + "\n\"CSMT\"=\"enabled\"", "user", wrapper);
            EXPECT_EQ(creation->settingVideoCardMemorySizeAtPort(store()), row.written.has_value())
                << row.memory;
            const std::string lines = key(direct3D, "user");
            EXPECT_EQ(NSUtilities::getStringValueForKey("VideoMemorySize", lines), row.written.value_or(""))
                << row.memory;
            EXPECT_EQ(NSUtilities::getStringValueForKey("CSMT", lines), "enabled") << row.memory;
        });
    }
}

TEST_F(RegistryWriters, NothingStartsWithTheWrapper) {
    onWorker([&] {
        NSUtilities::addRegistry(
            "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\Run] 1\n\"Steam\"=\"x\"\n", "user",
            wrapper);
        creation->removeFromRegistryAppsThatRunAutomaticallyOnWrapperStartupAtFile(wrapper);
    });
    EXPECT_EQ(timesIn("user", "\"Steam\""), 0);
    EXPECT_EQ(timesIn("user", R"([Software\\Microsoft\\Windows\\CurrentVersion\\Run])"), 1);
}

TEST_F(RegistryWriters, OverridesReplaceWholeKeysAndFragmentsWithoutOneAreRefused) {
    NSPortData data;
    data.overrides = {Value("[Software\\\\Wine\\\\DllOverrides]\n\"d3d9\"=\"native\"\n"), Value(7),
                      Value("\"TEMP\"=\"stray\"\n[Software\\\\A]\n"), Value("[Software\\\\A\nB]\n"),
                      Value("no key")};
    ui.expectError("\"\"TEMP\"=\"stray\"?[Software");
    ui.expectError("\"[Software\\\\A?B]?\" can't be used as the registry lines of a key (Overrides).");
    ui.expectError("\"no key\" can't be used");
    onWorker([&] {
        NSUtilities::addRegistry("[Software\\\\Wine\\\\DllOverrides] 1\n\"d3d8\"=\"native\"\n", "user",
                                 wrapper);
        NSPortManager port = store();
        EXPECT_TRUE(creation->saveOverridesForPortData(data, port));
    });
    EXPECT_EQ(key(R"([Software\\Wine\\DllOverrides])", "user"), "\"d3d9\"=\"native\"");
    EXPECT_EQ(timesIn("user", "stray"), 0);
    EXPECT_EQ(setting("Try To Use GPU Info"), Value(0));
}

using SaveDrives = RegistryWriters;

TEST_F(SaveDrives, MakesLinksFolderAndType) {
    link("/gone", dosdevices + "/e:");  // dangling
    link("elsewhere", wrapper + "/drive_d");
    onWorker([&] {
        NSUtilities::addRegistry("[Software\\\\Wine\\\\Drives] 1\n\"e:\"=\"hd\"\n", "system", wrapper);
        EXPECT_TRUE(creation->saveDrives(
            std::vector<DriveEntry>{
                {"C", "../drive_c", "auto"}, {"D", "../drive_d", "cdrom"}, {"m", "/media/disc", "auto"}},
            wrapper));
    });
    EXPECT_EQ(listing(dosdevices), (std::vector<std::string>{"c:", "d:", "m:", "z:"}));
    EXPECT_EQ(destination(dosdevices + "/c:"), "../drive_c");
    EXPECT_EQ(destination(dosdevices + "/d:"), "../drive_d");
    EXPECT_EQ(destination(dosdevices + "/m:"), "/media/disc");
    EXPECT_EQ(destination(wrapper + "/drive_d"), "Contents/Resources/drive_d");
    EXPECT_EQ(destination(wrapper + "/drive_m"), "/media/disc");
    EXPECT_EQ(files::kindOf(wrapper + "/Contents/Resources/drive_d"), files::Kind::folder);
    EXPECT_EQ(key(R"([Software\\Wine\\Drives])", "system"), "\"d:\"=\"cdrom\"");
    EXPECT_FALSE(exists("/media/disc"));
}

TEST_F(SaveDrives, LeavesAWrapperThatCanStart) {
    onWorker([&] { creation->saveDrives(std::vector<DriveEntry>{}, wrapper); });
    EXPECT_EQ(listing(dosdevices), (std::vector<std::string>{"c:", "z:"})) << "an empty list changes nothing";
    onWorker([&] { creation->saveDrives(std::vector<DriveEntry>{{"d", "../drive_d", "auto"}}, wrapper); });
    EXPECT_EQ(destination(dosdevices + "/c:"), "../drive_c");
    EXPECT_EQ(destination(dosdevices + "/z:"), "/");
}

TEST_F(SaveDrives, NeverReplacesARealFolder) {
    put(wrapper + "/drive_d/save.dat", "my game");
    put(dosdevices + "/d:/save.dat", "my other game");
    ui.expectError("Error while creating symbolic link: ");
    ui.expectError("Error while creating symbolic link: ");
    onWorker([&] { creation->saveDrives(std::vector<DriveEntry>{{"d", "../drive_d", "auto"}}, wrapper); });
    EXPECT_EQ(get(wrapper + "/drive_d/save.dat"), "my game");
    EXPECT_EQ(get(dosdevices + "/d:/save.dat"), "my other game");
}

TEST_F(SaveDrives, DoesNotReachThroughALinkedFolder) {
    const std::string elsewhere = home + "/elsewhere";
    put(elsewhere + "/c:", "not ours");
    EXPECT_EQ(files::remove(dosdevices), std::nullopt);
    link(elsewhere, dosdevices);
    ui.expectError("The drives can't be set, because ");
    onWorker([&] { creation->saveDrives(std::vector<DriveEntry>{{"d", "../drive_d", "auto"}}, wrapper); });
    EXPECT_EQ(get(elsewhere + "/c:"), "not ours");
}

TEST_F(SaveDrives, RefusesHostileEntriesAndGoesOn) {
    struct Row {
        DriveEntry entry;
        const char* told;
    };
    link(home, wrapper + "/Contents/Resources/out");
    const std::vector<Row> rows{
        {{"", "../drive_d", "auto"}, "\"\" can't be used as a drive letter"},
        {{"dd", "../drive_d", "auto"}, "\"dd\" can't be used as a drive letter"},
        {{"../../x", "../drive_d", "auto"}, "\"../../x\" can't be used as a drive letter"},
        {{"1", "../drive_d", "auto"}, "\"1\" can't be used as a drive letter"},
        {{"d", "../../../../evil", "auto"}, "\"/../../../evil\" can't be used as the place of a drive"},
        {{"d", "../drive_d/../../../evil", "auto"}, "\"/drive_d/../../../evil\" can't be used as the place"},
        {{"d", "../out/evil", "auto"}, "\"/out/evil\" can't be used as the place of a drive"},
        {{"d", "..", "auto"}, "\"..\" can't be used as the place of a drive"},
        {{"d", "..evil", "auto"}, "\"..evil\" can't be used as the place of a drive"},
        {{"d", "evil", "auto"}, "\"evil\" can't be used as the place of a drive"},
        {{"d", "", "auto"}, "\"\" can't be used as the place of a drive"},
        {{"d", "/ok\nevil", "auto"}, "\"/ok?evil\" can't be used as the place of a drive"},
        {{"c", "/", "auto"}, "\"/\" can't be used as the place of a drive"},
        {{"d", "../drive_d", "cd\"\n[Software]"}, "\"cd\"?[Software]\" can't be used as the type of a drive"},
    };
    std::vector<DriveEntry> drives;
    for (const Row& row : rows) {
        drives.push_back(row.entry);
        ui.expectError(row.told);
    }
    drives.push_back({"E", "../drive_e", "hd"});
    drives.push_back({"e", "/", "auto"});
    ui.expectError("\"e\" can't be used as a drive letter");
    const auto before = listing(home);
    onWorker([&] { EXPECT_TRUE(creation->saveDrives(drives, wrapper)); });
    EXPECT_EQ(listing(dosdevices), (std::vector<std::string>{"c:", "e:", "z:"}));
    EXPECT_EQ(destination(dosdevices + "/c:"), "../drive_c");
    EXPECT_EQ(key(R"([Software\\Wine\\Drives])", "system"), "\"e:\"=\"hd\"");
    EXPECT_EQ(listing(home), before);
    EXPECT_EQ(applications(), std::vector<std::string>{"Game.app"});
    EXPECT_FALSE(exists(wrapper + "/drive_d"));
}

using SaveExtensions = RegistryWriters;

TEST_F(SaveExtensions, WritesBothKeysAndTheAssociations) {
    onWorker([&] {
        NSPortManager port = store();
        EXPECT_TRUE(creation->saveExtensions(
            std::vector<ExtensionEntry>{{"sav", R"(C:/Game/game.exe "%1")"}, {"txt", "C:/Jeux/Château.exe"}},
            port));
    });
    EXPECT_EQ(timesIn("system", "[Software\\\\Classes\\\\.sav]\n@=\"savfile\"\n\n"), 1);
    EXPECT_EQ(timesIn("system",
                      "[Software\\\\Classes\\\\savfile\\\\shell\\\\open\\\\command]\n"
                      "@=\"C:\\\\Game\\\\game.exe \\\"%1\\\"\"\n\n"),
              1);
    EXPECT_EQ(timesIn("system", "[Software\\\\Classes\\\\.txt]"), 1) << "the key that was there is replaced";
    EXPECT_EQ(timesIn("system", R"(@="C:\\Jeux\\Ch\xe2teau.exe")"), 1) << "the file stays ASCII";
    EXPECT_EQ(setting("Associations"), Value("sav txt"));
}

TEST_F(SaveExtensions, NoneLeavesTheSettingAndAnEmptyListClearsIt) {
    onWorker([&] {
        NSPortManager port = store();
        creation->saveExtensions(std::nullopt, port);
        EXPECT_TRUE(setting("Associations").isNull());
        creation->saveExtensions(std::vector<ExtensionEntry>{}, port);
        EXPECT_EQ(setting("Associations"), Value(""));
    });
}

TEST_F(SaveExtensions, RefusesTextsThatWouldAddKeys) {
    const std::vector<ExtensionEntry> extensions{
        {"", "x.exe"},           {"a]\n[Software\\\\B", "x.exe"}, {"a b", "x.exe"}, {"..", "x.exe"},
        {"a\\\\shell", "x.exe"}, {"sav", "x.exe\"\n[Software]"},  {"ok", "x.exe"}};
    for (int refused = 0; refused < 5; ++refused) ui.expectError("\"");
    ui.expectError("\"x.exe\"?[Software]\" can't be used as the command of a file extension");
    const std::string before = get(wrapper + layout::systemRegistry);
    onWorker([&] {
        NSPortManager port = store();
        creation->saveExtensions(extensions, port);
    });
    EXPECT_EQ(setting("Associations"), Value("ok"));
    EXPECT_EQ(get(wrapper + layout::systemRegistry),
              before +
                  "\n\n\n[Software\\\\Classes\\\\.ok]\n@=\"okfile\"\n\n"
                  "[Software\\\\Classes\\\\okfile\\\\shell\\\\open\\\\command]\n@=\"x.exe\"\n\n");
}

}  // namespace
}  // namespace morvane
