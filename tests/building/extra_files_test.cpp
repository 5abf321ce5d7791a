#include "building/extra_files.h"

#include "building/configured_wrapper.h"
#include "support/loopback_site.h"

namespace morvane {
namespace {

class ExtraFiles : public testing::ConfiguredWrapper {
  protected:
    ExtraFiles() : port(NSPortManager::managerWithPath(wrapper)) {}

    void bring(const std::vector<ExtraFileEntry>& entries) {
        onWorker([&] { EXPECT_TRUE(creation->downloadExtraFiles(entries, port)); });
    }
    [[nodiscard]] ExtraFileEntry linked(const std::string& path, const std::string& destiny) const {
        return {site.baseAddress() + path, destiny};
    }
    [[nodiscard]] ExtraFileEntry run(const std::string& path) const {
        return {site.baseAddress() + path, std::nullopt, true};
    }
    /// The bytes of a zip file that holds the files.
    std::string zipped(const Names& names) {
        const std::string work = folder.path + "/work";
        Names command{"/usr/bin/7za", "a", work + "/packed.zip"};
        for (const std::string& name : names) {
            put(work + "/" + name, "contents of " + name);
            command.push_back(name);
        }
        testing::runTool(work, command);
        std::string bytes = get(work + "/packed.zip");
        EXPECT_EQ(files::remove(work), std::nullopt);
        return bytes;
    }

    testing::LoopbackSite site;
    const std::string downloads = home + "/Downloads";
    NSPortManager port;
};

TEST_F(ExtraFiles, LinksArePlacedInTheWrapperAndUnpacked) {
    const std::string foo = driveC + "/Games/Foo";
    site.answer("/a/My%20Data.zip", {.body = zipped({"data/level1", "patch.dll"})});
    site.answer("/a/My Data.zip", {.body = zipped({"data/level1", "patch.dll"})});
    site.answer("/b.exe", {.body = "MZ"});
    put(foo + "/My Data.zip", "old");
    put(foo + "/save.dat", "saved");
    bring({});
    bring({linked("a/My%20Data.zip?x=/1#y", "C:/Games/Foo"), linked("b.exe", "C:\\Games\\Bar\\")});
    EXPECT_EQ(listing(foo), (Names{"My Data.zip", "data", "patch.dll", "save.dat"}));
    EXPECT_EQ(get(foo + "/data/level1"), "contents of data/level1");
    EXPECT_EQ(get(driveC + "/Games/Bar/b.exe"), "MZ");
    EXPECT_EQ(asked(), "") << "nothing is to be run";
    EXPECT_EQ(ui.statusLines(),
              (Names{"Downloading extra file My Data.zip...", "Downloading extra file b.exe..."}));
}

TEST_F(ExtraFiles, ProgramsToBeRunComeFromDownloads) {
    site.answer("/tools.zip", {.body = zipped({"b.EXE", "a.msi", "readme.txt"})});
    site.answer("/setup.bat", {.body = "echo"});
    put(downloads + "/setup.bat", "the user's");
    whenInstalling(": > '" + home + "/Desktop/Tool.lnk'\n");
    put(home + "/Desktop/Old.lnk", "");
    ui.expect("There is already a file called \"setup.bat\"").answer("Yes");
    bring({run("tools.zip?x=1"), run("setup.bat")});
    EXPECT_EQ(asked(), "CKS-installer " + downloads + "/a.msi\nCKS-installer " + downloads +
                           "/b.EXE\nCKS-installer " + downloads + "/setup.bat\n");
    EXPECT_EQ(listing(downloads), (Names{"a.msi", "b.EXE", "readme.txt", "setup.bat", "tools.zip"}));
    EXPECT_EQ(get(downloads + "/setup.bat"), "the user's");
    EXPECT_EQ(listing(home + "/Desktop"), Names{"Old.lnk"});
    EXPECT_EQ(ui.statusLines().back(), "Running " + downloads + "/setup.bat...");
}

TEST_F(ExtraFiles, TheUserSuppliesWhatIsNoLink) {
    const std::string own = home + "/Own", place = driveC + "/Extra";
    put(own + "/Patch 2.EXE", "chosen");
    put(place + "/patch.exe", "old");
    put(own + "/games.zip", zipped({"evil"}));
    const struct Row {
        ExtraFileEntry entry;
        Names chosen;
        std::string ran;
    } rows[] = {
        {{"patch.exe", "C:/Extra", false}, {own + "/Patch 2.EXE"}, ""},
        {{"patch*.exe", "C:/Extra", false}, {own + "/Patch 2.EXE"}, ""},
        {{std::nullopt, "C:/Extra/", false}, {own + "/Patch 2.EXE"}, ""},
        // Already in its place.
        {{"patch.exe", "C:/Extra", false}, {place + "/patch.exe"}, ""},
        {{"patch.exe", "C:/Extra", true}, {own + "/Patch 2.EXE"}, own + "/Patch 2.EXE"},
        // Nothing chosen: nothing is replaced or unpacked, and the name goes on as it is.
        {{"patch.exe", "C:/Extra", false}, {}, ""},
        {{"setup.exe", std::nullopt, true}, {}, "setup.exe"},
        {{own + "/games.zip", std::nullopt, true}, {}, ""},
        {{std::nullopt, std::nullopt, true}, {}, ""},
        {{site.baseAddress() + "nowhere.exe", std::nullopt, false}, {}, ""},
    };
    for (const Row& row : rows) {
        put(testing::commandLog(wrapper), "");
        ui.expectChoice("Select the file " + row.entry.origin.value_or(""), row.chosen);
        bring({row.entry});
        EXPECT_EQ(asked(), row.ran.empty() ? "" : "CKS-installer " + row.ran + "\n");
    }
    EXPECT_EQ(listing(place), (Names{"Patch 2.EXE", "patch.exe", "temp.exe"}));
    EXPECT_EQ(get(place + "/patch.exe"), "chosen");
    EXPECT_EQ(listing(own), (Names{"Patch 2.EXE", "games.zip"}));
    const OpenPanel& panel = ui.openPanels[1];
    EXPECT_TRUE(panel.files && !panel.folders && !panel.multiple);
    EXPECT_TRUE(panel.shouldEnable(own + "/Patch 2.EXE"));
    EXPECT_FALSE(panel.shouldEnable(own + "/games.zip"));
    EXPECT_TRUE(site.requests().empty());
}

TEST_F(ExtraFiles, WhatLeavesItsFolderIsLeftOutAndTheRestGoesOn) {
    const std::string outside = home + "/outside";
    put(outside + "/keep.exe", "kept");
    put(driveC + "/Games/keep.exe/save.dat", "saved");
    put(downloads + "/keep.exe", "kept");
    link(outside, driveC + "/out");
    link(outside, dosdevices + "/y:");
    link(outside + "/keep.exe", driveC + "/linked.exe");
    link("inside.txt", driveC + "/safe.exe");
    put(driveC + "/inside.txt", "inside");
    for (const char* path : {"/keep.exe", "/linked.exe", "/safe.exe"}) site.answer(path, {.body = "new"});
    for (const ExtraFileEntry& entry : {
             linked("keep.exe", "C:/../../.."),
             linked("keep.exe", "C:\\..\\x"),
             linked("keep.exe", "Z:" + outside),
             linked("keep.exe", "z:" + outside),
             linked("keep.exe", "Y:/"),
             linked("keep.exe", "C:/out"),
             linked("keep.exe", "C:/out/new"),
             linked("keep.exe", "C:/a\nb"),
             linked("linked.exe", "C:"),
             linked("%2e%2e", "C:/Games"),
             linked("..%2fkeep.exe", "C:/Games"),
             linked("a%00.exe", "C:/Games"),
             linked("keep.exe", "C:/Games"),
             run("..%2foutside%2fkeep.exe"),
             run(".."),
             ExtraFileEntry{"..", "C:/Games", false},
         }) {
        SCOPED_TRACE(*entry.origin + " to " + entry.destiny.value_or("Downloads"));
        ui.expectError("\"");
        bring({entry});
    }
    EXPECT_TRUE(site.requests().empty());
    EXPECT_EQ(ui.dialogs.size(), 16U);
    // A drive without a link leaves no target: the user is asked.
    ui.expectError("Error while retrieving symbolic link destination: ");
    ui.expectChoice("Select the file " + site.baseAddress() + "keep.exe", {});
    ui.expectError("\"");
    bring({linked("keep.exe", "Q:/x"), linked("..", "C:"), linked("safe.exe", "C:")});
    EXPECT_EQ(get(driveC + "/safe.exe"), "new");
    EXPECT_EQ(get(driveC + "/inside.txt"), "inside") << "a link in the place is replaced, not followed";
    EXPECT_EQ(listing(outside), Names{"keep.exe"});
    EXPECT_EQ(get(outside + "/keep.exe"), "kept");
    EXPECT_EQ(get(downloads + "/keep.exe"), "kept");
    EXPECT_EQ(get(driveC + "/Games/keep.exe/save.dat"), "saved");
}

}  // namespace
}  // namespace morvane
