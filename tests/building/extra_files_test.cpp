#include "building/extra_files.h"

#include <tuple>

#include "building/configured_wrapper.h"
#include "support/loopback_site.h"
#include "wrapper/port_manager.h"

namespace morvane {
namespace {

class ExtraFiles : public testing::ConfiguredWrapper {
  protected:
    ExtraFiles() {
        put(work + "/data/level1", "level");
        put(work + "/b.EXE", "MZ");
        put(work + "/a.msi", "MSI");
        testing::runTool(work, {"/usr/bin/7za", "a", "packed.zip", "data", "b.EXE", "a.msi"});
        site.answer("/a/My%20Data.zip", {.body = get(work + "/packed.zip")});
        for (const char* path : {"/keep.exe", "/linked.exe", "/safe.exe"}) site.answer(path, {.body = "new"});
    }
    void bring(const std::vector<ExtraFileEntry>& entries) {
        const NSPortManager port = NSPortManager::managerWithPath(wrapper);
        onWorker([&] { EXPECT_TRUE(downloadExtraFiles(*build, entries, port)); });
    }
    /// Without a destination it is to be run.
    ExtraFileEntry linked(const std::string& path, std::optional<std::string> destiny = {}) {
        return {site.baseAddress() + path, destiny, !destiny};
    }

    testing::LoopbackSite site;
    const std::string downloads = home + "/Downloads", work = folder.path + "/work";
};

TEST_F(ExtraFiles, LinksArePlacedUnpackedAndRun) {
    const std::string foo = driveC + "/Games/Foo";
    put(foo + "/My Data.zip", "old");
    bring({linked("a/My%20Data.zip?x=/1#y", "C:/Games/Foo"), linked("keep.exe", "C:\\Games\\Bar\\")});
    EXPECT_EQ(listing(foo), (Names{"My Data.zip", "a.msi", "b.EXE", "data"}));
    EXPECT_EQ(get(foo + "/data/level1"), "level");
    EXPECT_EQ(get(driveC + "/Games/Bar/keep.exe"), "new");
    EXPECT_EQ(asked(), "") << "nothing is to be run";
    EXPECT_EQ(ui.statusLines().front(), "Downloading extra file My Data.zip...");
    put(downloads + "/keep.exe", "kept");
    put(downloads + "/a.msi", "mine");
    put(home + "/Desktop/Old.lnk", "");
    whenInstalling(": > '" + home + "/Desktop/Tool.lnk'\n");
    ui.expect("There is already a file called \"keep.exe\"").answer("Yes");
    bring({linked("a/My%20Data.zip"), linked("keep.exe")});
    EXPECT_EQ(asked(), "CKS-installer " + downloads + "/My Data/a.msi\nCKS-installer " + downloads +
                           "/My Data/b.EXE\nCKS-installer " + downloads + "/keep.exe\n");
    EXPECT_EQ(get(downloads + "/a.msi"), "mine");
    EXPECT_EQ(get(downloads + "/keep.exe"), "kept");
    EXPECT_EQ(listing(home + "/Desktop"), Names{"Old.lnk"});
    EXPECT_EQ(ui.statusLines().back(), "Running " + downloads + "/keep.exe...");
}

TEST_F(ExtraFiles, TheUserSuppliesWhatIsNoLink) {
    const std::string own = home + "/Own/Patch 2.EXE", exact = home + "/Own/PATCH.exe",
                      place = driveC + "/Extra";
    put(own, "chosen");
    put(exact, "chosen");
    put(place + "/patch.exe", "old");
    const std::tuple<ExtraFileEntry, Names, std::string> rows[] = {
        {{"patch.exe", "C:/Extra", false}, {exact}, ""},
        {{"patch*.exe", "C:/Extra", false}, {own}, ""},
        {{std::nullopt, "C:/Extra/", false}, {own}, ""},
        {{"patch.exe", "C:/Extra", false}, {place + "/patch.exe"}, ""},  // already in its place
        {{"patch.exe", "C:/Extra", true}, {exact}, "CKS-installer " + exact + "\n"},
        // Nothing chosen: nothing is replaced or unpacked, and the name goes on as it is.
        {{"patch.exe", "C:/Extra", false}, {}, ""},
        {{"setup.exe", std::nullopt, true}, {}, "CKS-installer setup.exe\n"},
        {{work + "/packed.zip", std::nullopt, true}, {}, ""},
        {{site.baseAddress() + "nowhere.exe", std::nullopt, false}, {}, ""},
    };
    for (const auto& [entry, chosen, ran] : rows) {
        put(testing::commandLog(wrapper), "");
        ui.expectChoice("Select the file " + entry.origin.value_or(""), chosen);
        bring({entry});
        EXPECT_EQ(asked(), ran);
    }
    EXPECT_EQ(listing(place), (Names{"Patch 2.EXE", "patch.exe", "temp.exe"}));
    EXPECT_EQ(get(place + "/patch.exe"), "chosen");
    // A path that leads nowhere, or to another file, is named, and the file is asked for again.
    put(testing::commandLog(wrapper), "");
    for (const std::string& wrong : {home + "/Own/missing.exe", work + "/packed.zip"}) {
        ui.expectChoice("Select the file patch*.exe", {wrong});
        ui.expectError(wrong.ends_with("zip") ? wrong : "There is nothing at " + wrong);
    }
    ui.expectChoice("Select the file patch*.exe", {own});
    bring({{"patch*.exe", std::nullopt, true}});
    EXPECT_EQ(asked(), "CKS-installer " + own + "\n");
    const OpenPanel& panel = ui.openPanels[1];
    EXPECT_TRUE(!panel.multiple && panel.shouldEnable(own) && !panel.shouldEnable(work + "/b.EXE"));
}

TEST_F(ExtraFiles, WhatLeavesItsFolderIsLeftOutAndTheRestGoesOn) {
    const std::string outside = home + "/outside", kept = outside + "/keep.exe";
    put(kept, "kept");
    put(driveC + "/Games/keep.exe/save.dat", "saved");
    put(driveC + "/inside.txt", "inside");
    link(outside, driveC + "/out");
    link(outside, dosdevices + "/y:");
    link(kept, driveC + "/linked.exe");
    link("inside.txt", driveC + "/safe.exe");
    for (const ExtraFileEntry& entry :
         {linked("keep.exe", "C:/../../.."), linked("keep.exe", "Z:" + outside), linked("keep.exe", "Y:/"),
          linked("keep.exe", "C:/out/new"), linked("linked.exe", "C:"), linked("..%2fkeep.exe", "C:/Games"),
          linked("a%00.exe", "C:/Games"), linked("keep.exe", "C:/Games"), linked("..%2foutside%2fkeep.exe"),
          ExtraFileEntry{"..", "C:/Games", false}}) {
        ui.expectError("\"");
        bring({entry});
    }
    EXPECT_TRUE(site.requests().empty());
    // A drive without a link leaves no target: the user is asked.
    ui.expectError("Error while retrieving symbolic link destination: ");
    ui.expectChoice("Select the file " + site.baseAddress() + "keep.exe", {});
    ui.expectError("\"");
    bring({linked("keep.exe", "Q:/x"), linked("..", "C:"), linked("safe.exe", "C:")});
    EXPECT_EQ(get(driveC + "/safe.exe"), "new");
    EXPECT_EQ(get(driveC + "/inside.txt"), "inside") << "a link in the place is replaced, not followed";
    EXPECT_EQ(get(kept), "kept");
    EXPECT_EQ(get(driveC + "/Games/keep.exe/save.dat"), "saved");
}

}  // namespace
}  // namespace morvane
