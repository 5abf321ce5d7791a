#include "building/registry_writers.h"
#include "building/configured_wrapper.h"
#include "wrapper/port_manager.h"

namespace morvane {
namespace {

class RegistryWriters : public testing::ConfiguredWrapper {
  protected:
    NSPortManager store() const { return NSPortManager::managerWithPath(wrapper); }
    void addKey(const std::string& lines, const char* registry = "user") const {
        NSUtilities::addRegistry(lines, registry, wrapper);
    }
    bool save(const std::vector<DriveEntry>& drives) {
        bool result = false;
        onWorker([&] { result = saveDrives(drives, Wrapper(wrapper)); });
        return result;
    }
};

TEST_F(RegistryWriters, OverridesReplaceWholeKeysAndFragmentsWithoutOneAreRefused) {
    NSPortData data;
    data.overrides = {"[Software\\\\Wine\\\\DllOverrides]\n\"d3d9\"=\"native\"\n", 7,
                      "\"TEMP\"=\"stray\"\n[Software\\\\A]\n", "[Software\\\\A\nB]\n", "no key"};
    ui.expectError("\"\"TEMP\"=\"stray\"?[Software");
    ui.expectError("\"[Software\\\\A?B]?\" can't be used as the registry lines of a key (Overrides).");
    ui.expectError("\"no key\" can't be used");
    addKey("[Software\\\\Wine\\\\DllOverrides] 1\n\"d3d8\"=\"native\"\n");
    onWorker([&] {
        NSPortManager port = store();
        EXPECT_TRUE(saveOverridesForPortData(*build, data, port));
    });
    EXPECT_EQ(key(R"([Software\\Wine\\DllOverrides])", "user"), "\"d3d9\"=\"native\"");
    EXPECT_EQ(timesIn("user", "stray"), 0);
    EXPECT_EQ(setting("Try To Use GPU Info"), Value(0));
}

using SaveDrives = RegistryWriters;

TEST_F(SaveDrives, NeverReplacesARealFolderNorReachesThroughALinkedOne) {
    const std::string elsewhere = home + "/elsewhere";
    put(wrapper + "/drive_d/save.dat", "my game");
    put(dosdevices + "/d:/save.dat", "my other game");
    for (int folders = 0; folders < 2; ++folders) ui.expectError("Error while creating symbolic link: ");
    save({{"d", "../drive_d", "auto"}});
    EXPECT_EQ(get(wrapper + "/drive_d/save.dat"), "my game");
    EXPECT_EQ(get(dosdevices + "/d:/save.dat"), "my other game");

    put(elsewhere + "/c:", "not ours");
    EXPECT_TRUE(files::remove(dosdevices));
    link(elsewhere, dosdevices);
    ui.expectError("The drives can't be set, because ");
    save({{"d", "../drive_d", "auto"}});
    EXPECT_EQ(get(elsewhere + "/c:"), "not ours");
}

TEST_F(SaveDrives, RefusesHostileEntriesAndGoesOn) {
    struct Row {
        DriveEntry entry;
        const char *shown, *as;
    };
    link(home, wrapper + "/Contents/Resources/out");
    const char *letter = "a drive letter", *place = "the place of a drive";
    const std::vector<Row> rows{
        {{"", "../drive_d", "auto"}, "", letter},
        {{"../../x", "../drive_d", "auto"}, "../../x", letter},
        {{"d", "../../../../evil", "auto"}, "/../../../evil", place},
        {{"d", "../out/evil", "auto"}, "/out/evil", place},
        {{"d", "..", "auto"}, "..", place},
        {{"d", "..evil", "auto"}, "..evil", place},
        {{"d", "/ok\nevil", "auto"}, "/ok?evil", place},
        {{"c", "/", "auto"}, "/", place},
        {{"d", "../drive_d", "cd\"\n[Software]"}, "cd\"?[Software]", "the type of a drive"},
        {{"E", "../drive_e", "hd"}, nullptr, nullptr},
        {{"e", "/", "auto"}, "e", letter},
    };
    std::vector<DriveEntry> drives;
    for (const Row& row : rows) {
        drives.push_back(row.entry);
        if (row.as != nullptr)
            ui.expectError("\"" + std::string(row.shown) + "\" can't be used as " + row.as);
    }
    const auto before = listing(home);
    EXPECT_TRUE(save(drives));
    EXPECT_EQ(listing(dosdevices), (Names{"c:", "e:", "z:"}));
    EXPECT_EQ(destination(dosdevices + "/c:"), "../drive_c");
    EXPECT_EQ(key(R"([Software\\Wine\\Drives])", "system"), "\"e:\"=\"hd\"");
    EXPECT_EQ(listing(home), before);
    EXPECT_EQ(listing(home + "/Applications"), Names{"Game.app"});
    EXPECT_FALSE(exists(wrapper + "/drive_d"));
}

using SaveExtensions = RegistryWriters;

}  // namespace
}  // namespace morvane
