#include <sys/resource.h>

#include <csignal>

#include "building/building_machine.h"
#include "building/engine_store.h"

namespace morvane {
namespace {

using testing::SiteAnswer;
using Names = std::vector<std::string>;

constexpr const char* linkQuestion =
    "Your port engine (CK9Wine3.0) seems to be unavailable at the Caskery download source and don't contains "
    "a custom "
    "link. Do you have the custom engine download link?";
constexpr const char* fileQuestion = "Do you have the port engine (CK9Wine3.0) in your computer?";
constexpr const char* offlineQuestion =
    "Caskery website seems to be offline. Do you have the port engine (CK9Wine3.0) in your computer?";
constexpr const char* unavailable = "Port creation will fail! The engine isn't available!";

class EnginePreparation : public testing::BuildingMachine {
  protected:
    void expectPrepared(bool expected, const std::string& engine = "CK9Wine3.0",
                        const std::optional<std::string>& link = std::nullopt) {
        create([&](WrapperCreation& creation) { EXPECT_EQ(creation.prepareEngine(engine, link), expected); });
    }
    void expectExtracted(ExtractedEngine expected, const std::string& engine = "CK9Wine3.0") {
        create(
            [&](WrapperCreation& creation) { EXPECT_EQ(creation.extractEngine(engine, wrapper), expected); });
    }
    [[nodiscard]] std::optional<std::string> installed() const {
        return WrapperCreation::getCaskeryWrapperEngineFromPath(wrapper);
    }
    [[nodiscard]] std::string corrupted(const std::string& engine = "CK9Wine3.0") const {
        return "The engine " + engines + "/" + engine + " is corrupted! Remove it and then try again!";
    }
};

TEST_F(EnginePreparation, TakesAnArchiveFromTheStoreWithoutTheNetwork) {
    offline();
    for (const char* ending : {"tar.7z", "zip", "xz", "tar", "tar.gz", "tar.bz2", "tgz", "tar.xz"}) {
        std::filesystem::remove_all(engines);
        put(engines + "/CK9Wine3.0." + ending, "x");
        expectPrepared(true);
    }
    // Another engine's archive, and a file of no archive kind.
    std::filesystem::remove_all(engines);
    put(engines + "/CK9Wine3.0.1.tar.7z", "x");
    put(engines + "/CK9Wine3.0.txt", "x");
    ui.expect(offlineQuestion).titleIs("Warning").defaultIs("Yes").answer("No");
    ui.expectError(unavailable);
    expectPrepared(false);
}

TEST_F(EnginePreparation, DownloadsTheOfficialArchive) {
    testing::publishEngines(site, {"CK9Wine3.0", "CK9Wine2.0"});
    expectPrepared(true);
    EXPECT_EQ(namesIn(engines), Names{"CK9Wine3.0.tar.7z"});
    EXPECT_EQ(ui.statusLines().back(), "Downloading engine CK9Wine3.0...");
    // An older name of an engine that is there in the newest generation only.
    expectPrepared(true, "CK8Wine2.0");
    EXPECT_EQ(namesIn(engines), (Names{"CK9Wine2.0.tar.7z", "CK9Wine3.0.tar.7z"}));
    EXPECT_EQ(building::engineForWrapper("CK8Wine2.0", wrapper), "CK9Wine2.0");
    EXPECT_EQ(building::engineForWrapper("CK9Wine3.0", wrapper), "CK9Wine3.0");
    // It is in the store now, and needs no network any more.
    offline();
    expectPrepared(true, "CK8Wine2.0");
    testing::makeFakeWrapperAt(wrapper, "CK8Wine2.0");
    EXPECT_EQ(building::engineForWrapper("CK8Wine2.0", wrapper), "CK8Wine2.0") << "an engine that is in use";
}

TEST_F(EnginePreparation, StoresADownloadFromALinkUnderItsExtension) {
    struct Row {
        std::string link;
        const char* stored;
    };
    for (const Row& row :
         {Row{"files/Engine.zip", "CK9Wine3.0.zip"}, Row{"files/wine-3.0.tar.xz", "CK9Wine3.0.xz"},
          Row{"files/Engine", "CK9Wine3.0.tar.gz"},
          Row{"files/Engine.7z?from=a.b/c.d#e.f", "CK9Wine3.0.7z"}}) {
        std::filesystem::remove_all(engines);
        site.answer("/" + row.link.substr(0, row.link.find('?')), {.body = "engine"});
        expectPrepared(true, "CK9Wine3.0", site.baseAddress() + row.link);
        EXPECT_EQ(namesIn(engines), Names{row.stored});
    }
    // A link without text is no reason to ask, and none to download.
    std::filesystem::remove_all(engines);
    expectPrepared(true, "CK9Wine3.0", "");
    EXPECT_EQ(namesIn(engines), Names{});
    // A download that is called off.
    ui.expectError("The website seems to be offline.");
    expectPrepared(false, "CK9Wine3.0", "http://offline.invalid/Engine.zip");
}

TEST_F(EnginePreparation, AsksForALinkUntilItIsOne) {
    site.answer("/Engine.zip", {.body = "engine"});
    ui.expect(linkQuestion).titleIs("Warning").defaultIs("Yes").answer("Yes");
    ui.expectInput("Paste here the engine download link").type("my disk");
    ui.expect(linkQuestion).answer("Yes");
    ui.expectInput("Paste here the engine download link").answer("Cancel");
    ui.expect(linkQuestion).answer("Yes");
    ui.expectInput("Paste here the engine download link").type(site.baseAddress() + "Engine.zip");
    expectPrepared(true);
    EXPECT_EQ(get(engines + "/CK9Wine3.0.zip"), "engine");
}

TEST_F(EnginePreparation, AsksForAFile) {
    put(home + "/Downloads/wine-3.0.tar.xz", "engine");
    ui.expect(linkQuestion).answer("No");
    ui.expect(fileQuestion).titleIs("Warning").defaultIs("Yes").answer("Yes");
    ui.expectChoice("Select the engine CK9Wine3.0", {home + "/Downloads/wine-3.0.tar.xz"});
    expectPrepared(true);
    EXPECT_EQ(get(engines + "/CK9Wine3.0.xz"), "engine");
    ASSERT_EQ(ui.openPanels.size(), 1U);
    const testing::ScriptedUserInterface& shown = ui;
    const OpenPanel& panel = shown.openPanels.front();
    EXPECT_TRUE(panel.files && !panel.folders && !panel.multiple && panel.packagesAsFolders);
    for (const char* type : {"7z", "zip", "xz", "rar", "gz", "bz2"}) {
        EXPECT_NE(std::find(panel.types.begin(), panel.types.end(), type), panel.types.end()) << type;
    }
    // The chooser is left: preparation goes on all the same, and the extraction finds nothing.
    std::filesystem::remove_all(engines);
    ui.expect(linkQuestion).answer("No");
    ui.expect(fileQuestion).answer("Yes");
    ui.expectChoice("Select the engine CK9Wine3.0", {});
    expectPrepared(true);
    offline();
    ui.expect(offlineQuestion).answer("Yes");
    ui.expectChoice("Select the engine CK9Wine3.0", {});
    expectPrepared(true);
}

TEST_F(EnginePreparation, KeepsNoHalfOfAFileInTheStore) {
    put(home + "/Downloads/wine-3.0.zip", std::string(1 << 20, 'x'));
    ui.expect(linkQuestion).answer("No");
    ui.expect(fileQuestion).answer("Yes");
    ui.expectChoice("Select the engine CK9Wine3.0", {home + "/Downloads/wine-3.0.zip"});
    ui.expectError("Error while copying file: ");
    // A full disk without a disk.
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    const rlimit half{.rlim_cur = 1 << 19, .rlim_max = before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &half);
    expectPrepared(true);
    ::setrlimit(RLIMIT_FSIZE, &before);
    ::signal(SIGXFSZ, handler);
    EXPECT_EQ(namesIn(engines), Names{});
}

TEST_F(EnginePreparation, EndsWhenTheUserHasNeither) {
    ui.expect(linkQuestion).answer("No");
    ui.expect(fileQuestion).answer("No");
    ui.expectError(unavailable);
    expectPrepared(false);
}

TEST_F(EnginePreparation, RefusesNamesThatLeaveTheStore) {
    const std::string victim = home + "/Library/Application Support/x.tar.7z";
    put(victim, "mine");
    for (const std::string& name :
         {std::string("../../x"), std::string("a/b"), std::string(".."), std::string()}) {
        ui.expectError("");
        expectPrepared(false, name);
        ui.expectError("");
        expectExtracted(ExtractedEngine::failure, name);
    }
    EXPECT_EQ(get(victim), "mine");
    ui.expectError("");
    expectPrepared(false, "CK9Wine3.0", site.baseAddress() + "Engine.z\tip");
}

TEST_F(EnginePreparation, InstallsFromEveryKindOfArchive) {
    struct Row {
        const char* stored;
        std::vector<std::string> packing;  // the last word of each is made in the folder of the bundle
    };
    const Row rows[] = {
        {"CK9Wine3.0.zip", {"7za a -tzip out ckwine.bundle"}},
        {"CK9Wine3.0.7z", {"7za a out ckwine.bundle"}},
        {"CK9Wine3.0.tar", {"tar -cf out ckwine.bundle"}},
        {"CK9Wine3.0.xz", {"tar -cJf out ckwine.bundle"}},
        {"CK9Wine3.0.tar.xz", {"tar -cJf out ckwine.bundle"}},
        {"CK9Wine3.0.gz", {"tar -czf out ckwine.bundle"}},
        {"CK9Wine3.0.tar.gz", {"tar -czf out ckwine.bundle"}},
        {"CK9Wine3.0.tgz", {"tar -czf out ckwine.bundle"}},
        {"CK9Wine3.0.tar.bz2", {"tar -cjf out ckwine.bundle"}},
        {"CK9Wine3.0.zip", {"tar -cJf engine.tar.xz ckwine.bundle", "7za a -tzip out engine.tar.xz"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.stored);
        std::filesystem::remove_all(engines);
        std::filesystem::remove_all(wrapper);
        const testing::TemporaryFolder packing;
        testing::makeFakeEngine(packing.path, "CK9Wine3.0");
        for (const std::string& command : row.packing) {
            testing::runTool(packing.path, {"/bin/sh", "-c", command + " >&2"});
        }
        std::string out = "/out";
        for (const char* added : {"/out.zip", "/out.7z"}) {
            if (exists(packing.path + added)) out = added;
        }
        std::filesystem::create_directories(engines);
        std::filesystem::copy_file(packing.path + out, engines + "/" + row.stored);
        std::filesystem::create_directories(wrapper + "/Contents/Frameworks");
        expectExtracted(ExtractedEngine::installed);
        EXPECT_EQ(installed(), "CK9Wine3.0");
        EXPECT_NE(
            std::filesystem::status(wrapper + "/Contents/Frameworks/ckwine.bundle/bin/wine").permissions() &
                std::filesystem::perms::owner_exec,
            std::filesystem::perms::none);
        EXPECT_EQ(namesIn(engines), Names{row.stored}) << "the archive stays, and nothing else";
        EXPECT_FALSE(exists(engines + "/../.unpacking"));
    }
}

TEST_F(EnginePreparation, ReplacesTheEngineOfAWrapper) {
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
    put(wrapper + "/Contents/Frameworks/ckwine.bundle/bin/old", "x");
    put(engines + "/CK9Wine3.0.tar.7z", testing::packedEngine("CK9Wine3.0"));
    // Left in the store by a tool that unpacks there.
    put(engines + "/CK9Wine3.0.tar", "left");
    put(engines + "/ckwine.bundle/version", "CK9Wine1.0\n");
    expectExtracted(ExtractedEngine::installed);
    EXPECT_EQ(installed(), "CK9Wine3.0");
    EXPECT_FALSE(exists(wrapper + "/Contents/Frameworks/ckwine.bundle/bin/old"));
    EXPECT_EQ(namesIn(wrapper + "/Contents/Frameworks"), (Names{"bin", "ckwine.bundle"}));
    EXPECT_EQ(namesIn(engines), Names{"CK9Wine3.0.tar.7z"});

    put(wrapper + "/Contents/Frameworks/ckwine.bundle/bin/mine", "x");
    expectExtracted(ExtractedEngine::alreadyThere);
    EXPECT_TRUE(exists(wrapper + "/Contents/Frameworks/ckwine.bundle/bin/mine"));
}

TEST_F(EnginePreparation, GoesOnWhereAKilledReplacementStopped) {
    const std::string frameworks = wrapper + "/Contents/Frameworks/";
    put(engines + "/CK9Wine3.0.tar.7z", testing::packedEngine("CK9Wine3.0"));
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
    std::filesystem::rename(frameworks + "ckwine.bundle", frameworks + "ckwine.bundle.old");
    put(frameworks + "ckwine.bundle.new/version", "CK9Wine3.0\n");
    expectExtracted(ExtractedEngine::installed);
    EXPECT_EQ(installed(), "CK9Wine3.0");
    EXPECT_EQ(namesIn(frameworks), (Names{"bin", "ckwine.bundle"}));
}

/// Each row: what is in the store under the official name. The old engine stays in the wrapper.
TEST_F(EnginePreparation, KeepsTheOldEngineWhenTheArchiveIsBad) {
    const testing::TemporaryFolder packing;
    const std::string whole = testing::packedEngine("CK9Wine3.0");
    testing::makeFakeEngine(packing.path, "CK9Wine3.0");
    std::filesystem::create_directories(packing.path + "/CaskeryEngine.bundle/Wine/bin");
    const std::string otherTar = testing::packedTar7z(packing.path, "ckwine.bundle", "Other.tar");
    const std::string oldEngine =
        testing::packedTar7z(packing.path, "CaskeryEngine.bundle", "CK9Wine3.0.tar");
    std::filesystem::rename(packing.path + "/ckwine.bundle", packing.path + "/elsewhere");
    std::filesystem::create_directory_symlink(packing.path + "/elsewhere", packing.path + "/ckwine.bundle");
    const std::string link = testing::packedTar7z(packing.path, "ckwine.bundle", "CK9Wine3.0.tar");
    std::string flipped = whole;
    flipped[flipped.size() / 3] = static_cast<char>(flipped[flipped.size() / 3] ^ 0x55);
    struct Row {
        const char* name;
        std::string body;
        bool opensStore;
        const char* message = nullptr;
    };
    const Row rows[] = {
        {"a page", "<html>Not found</html>", true},
        {"short", whole.substr(0, whole.size() / 2), true},
        {"flipped bits", flipped, true},
        {"a tar file of another name", otherTar, true},
        {"a link for the bundle", link, false},
        {"an old engine", oldEngine, false,
         "The engine CK9Wine3.0 is of an old generation and has to be converted before it can be used."},
    };
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        ui.opened.clear();
        put(engines + "/CK9Wine3.0.tar.7z", row.body);
        ui.expectError(row.message != nullptr ? row.message : corrupted());
        expectExtracted(ExtractedEngine::failure);
        EXPECT_EQ(installed(), "CK9Wine2.0");
        EXPECT_EQ(ui.opened, row.opensStore ? Names{engines} : Names{});
        EXPECT_EQ(namesIn(engines), Names{"CK9Wine3.0.tar.7z"});
        EXPECT_FALSE(exists(engines + "/../.unpacking"));
    }
}

TEST_F(EnginePreparation, ReportsAStoreThatHoldsNothingUsable) {
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
    // Another engine's archive begins with the same name; it must not be taken.
    put(engines + "/CK9Wine3.0.1.tar.7z", testing::packedEngine("CK9Wine3.0.1"));
    put(engines + "/CK9Wine3.0.exe", "MZ");
    ui.expectError(corrupted());
    expectExtracted(ExtractedEngine::failure);
    // An archive that unpacks to nothing of use; the one that the user brought beside it is taken.
    const testing::TemporaryFolder packing;
    testing::makeFakeEngine(packing.path, "CK9Wine3.0");
    testing::runTool(
        packing.path,
        {"/bin/sh", "-c", "tar -czf engine.tgz ckwine.bundle; 7za a -tzip bad.zip ckwine.bundle/bin >&2"});
    put(engines + "/CK9Wine3.0.cab", "no cabinet");
    put(engines + "/CK9Wine3.0.tgz", get(packing.path + "/engine.tgz"));
    expectExtracted(ExtractedEngine::installed);
    EXPECT_EQ(installed(), "CK9Wine3.0");
}

TEST_F(EnginePreparation, AnArchiveOfOddThingsEndsAsAnyOther) {
    const testing::TemporaryFolder packing;
    testing::runTool(packing.path,
                     {"/bin/sh", "-c",
                      "mkfifo a.zip && mkdir b.zip && ln -s /dev/zero c.zip && ln -s a.zip d.tgz && "
                      "tar -cf out.tar a.zip b.zip c.zip d.tgz"});
    put(engines + "/CK9Wine3.0.tar", get(packing.path + "/out.tar"));
    std::filesystem::create_directories(wrapper + "/Contents/Frameworks");
    ui.expectError(corrupted());
    expectExtracted(ExtractedEngine::failure);
    EXPECT_EQ(namesIn(engines), Names{"CK9Wine3.0.tar"});
}

TEST_F(EnginePreparation, AnArchiveCannotReachWhatLiesBesideItInTheStore) {
    // A zip file that holds a file of its own name, and of another engine's.
    const testing::TemporaryFolder packing;
    put(packing.path + "/CK9Wine3.0.zip", "evil");
    put(packing.path + "/CK9Wine2.0.tar.7z", "evil");
    testing::makeFakeEngine(packing.path, "CK9Wine3.0");
    testing::runTool(
        packing.path,
        {"/bin/sh", "-c", "7za a -tzip out.zip CK9Wine3.0.zip CK9Wine2.0.tar.7z ckwine.bundle >&2"});
    const std::string bytes = get(packing.path + "/out.zip");
    put(engines + "/CK9Wine3.0.zip", bytes);
    put(engines + "/CK9Wine2.0.tar.7z", "mine");
    std::filesystem::create_directories(wrapper + "/Contents/Frameworks");
    expectExtracted(ExtractedEngine::installed);
    EXPECT_EQ(get(engines + "/CK9Wine3.0.zip"), bytes);
    EXPECT_EQ(get(engines + "/CK9Wine2.0.tar.7z"), "mine");
}

}  // namespace
}  // namespace morvane
