#include "building/engine_preparation.h"
#include "building/building_machine.h"
#include "building/engine_extraction.h"
#include "support/full_disk.h"

namespace morvane {
namespace {

constexpr const char* linkQuestion =
    "Your port engine (CK9Wine3.0) seems to be unavailable at the Caskery download source and don't contains "
    "a custom link. Do you have the custom engine download link?";
constexpr const char* fileQuestion = "Do you have the port engine (CK9Wine3.0) in your computer?";
constexpr const char* offlineQuestion =
    "Caskery website seems to be offline. Do you have the port engine (CK9Wine3.0) in your computer?";
constexpr const char* unavailable = "Port creation will fail! The engine isn't available!";

class EnginePreparation : public testing::BuildingMachine {
  protected:
    void expectPrepared(bool expected, const std::string& engine = "CK9Wine3.0",
                        const std::optional<std::string>& link = std::nullopt) {
        create(
            [&](WrapperCreation& creation) { EXPECT_EQ(prepareEngine(creation, engine, link), expected); });
    }
    /// The answers of a user who has no link but this file; none: who leaves the chooser.
    void expectFileQuestions(const Names& files) {
        ui.expect(linkQuestion).answer("No");
        ui.expect(fileQuestion).titleIs("Warning").defaultIs("Yes").answer("Yes");
        ui.expectChoice("Select the engine CK9Wine3.0", files);
    }
    /// Afterwards the wrapper holds the engine, if any, and the store these archives, and nothing is left.
    void expectExtracted(ExtractedEngine expected, const std::optional<std::string>& inWrapper,
                         const Names& stored) {
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(extractEngine(creation, "CK9Wine3.0", Wrapper(wrapper)), expected);
        });
        EXPECT_EQ(getCaskeryWrapperEngineFromPath(Wrapper(wrapper)), inWrapper);
        EXPECT_EQ(namesIn(engines), stored);
        EXPECT_FALSE(exists(engines + "/../.unpacking"));
    }
    void pack(const std::string& shellCommand) const {
        testing::runTool(packing.path, {"/bin/sh", "-c", shellCommand + " >&2"});
    }
    const testing::TemporaryFolder packing;
    const std::string frameworks = wrapper + "/Contents/Frameworks/", bundle = frameworks + "ckwine.bundle";
    const std::string corrupted =
        "The engine " + engines + "/CK9Wine3.0 is corrupted! Remove it and then try again!";
    const Names official{"CK9Wine3.0.tar.7z"};
    const std::string archive = testing::packedEngine("CK9Wine3.0");
};

TEST_F(EnginePreparation, KeepsNoHalfOfAFileInTheStore) {
    put(packing.path + "/large", std::string(1 << 20, 'x'));
    pack("7za a -tzip -mx0 large.zip large");
    put(home + "/Downloads/wine-3.0.zip", get(packing.path + "/large.zip"));
    expectFileQuestions({home + "/Downloads/wine-3.0.zip"});
    ui.expectError("Error while copying file: ");
    {
        const testing::FullDisk full(1 << 19);
        expectPrepared(true);
    }
    EXPECT_EQ(namesIn(engines), Names{});
}

/// Each row: what a server sends in the place of an archive, or what has become of it on the way.
TEST_F(EnginePreparation, OnlyAWholeArchiveEntersTheStore) {
    const std::string short7z = archive.substr(0, archive.size() / 2), name = engines + "/CK9Wine3.0.tar.7z";
    std::string flipped = archive;
    flipped[flipped.size() / 3] = static_cast<char>(flipped[flipped.size() / 3] ^ 0x55);
    testing::publishEngines(site, {"CK9Wine3.0"});
    for (const std::string& body : {std::string("<html>Log in</html>"), short7z, flipped}) {
        fs::remove_all(engines);
        site.answer("/Engines/CK9Wine3.0.tar.7z", {.body = body});
        ui.expectError(
            "What was downloaded as the engine CK9Wine3.0 is damaged, or no archive at all (" + name +
            ".damaged). Check your connection and prepare the engine again, or put a whole archive at " +
            name + ".");
        expectPrepared(false);
        EXPECT_EQ(namesIn(engines), Names{"CK9Wine3.0.tar.7z.damaged"});
        site.answer("/files/Engine.zip", {.body = body});
        ui.expectError("What was downloaded as the engine CK8Wine9.0 is damaged");
        expectPrepared(false, "CK8Wine9.0", site.baseAddress() + "files/Engine.zip");
        put(home + "/Downloads/wine.7z", body);
        fs::remove_all(engines);
        // One that an earlier version has stored goes out of the way of a good one.
        put(name, body);
        put(name + ".damaged", "mine");
        site.answer("/Engines/CK9Wine3.0.tar.7z", {.body = archive});
        ui.expectError("The archive " + name +
                       " is damaged, or no archive at all. It is not used any more, and is now at " + name +
                       ".damaged-2.");
        expectPrepared(true);
        EXPECT_EQ(get(name), archive);
        EXPECT_EQ(get(name + ".damaged-2"), body);
        // The user's own file stays where it is.
        fs::remove_all(engines);
        offline();
        ui.expect(offlineQuestion).answer("Yes");
        ui.expectChoice("Select the engine CK9Wine3.0", {home + "/Downloads/wine.7z"});
        ui.expectError(home + "/Downloads/wine.7z is damaged, or no archive at all");
        expectPrepared(false);
        EXPECT_EQ(namesIn(engines), Names{});
        EXPECT_EQ(get(home + "/Downloads/wine.7z"), body);
        reachable = [](const std::string&) { return true; };
    }
    EXPECT_FALSE(exists(engines + "/../.arriving"));
}

TEST_F(EnginePreparation, RefusesNamesThatLeaveTheStore) {
    const std::string victim = home + "/Library/Application Support/x.tar.7z";
    put(victim, "mine");
    for (const char* name : {"../../x", "a/b", "..", ""}) {
        ui.expectError("");
        expectPrepared(false, name);
        ui.expectError("");
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(extractEngine(creation, name, Wrapper(wrapper)), ExtractedEngine::failure);
        });
    }
    EXPECT_EQ(get(victim), "mine");
    ui.expectError("");
    expectPrepared(false, "CK9Wine3.0", site.baseAddress() + "Engine.z\tip");
}

TEST_F(EnginePreparation, InstallsFromEveryKindOfArchive) {
    const std::string xz = "tar -cJf out ckwine.bundle", gz = "tar -czf out ckwine.bundle";
    const std::string zip = "7za a -tzip out.zip ckwine.bundle && mv out.zip out";
    const std::pair<const char*, std::string> rows[] = {
        {"CK9Wine3.0.zip", zip},
        {"CK9Wine3.0.7z", "7za a out.7z ckwine.bundle && mv out.7z out"},
        {"CK9Wine3.0.tar", "tar -cf out ckwine.bundle"},
        {"CK9Wine3.0.xz", xz},
        {"CK9Wine3.0.tgz", gz},
        {"CK9Wine3.0.tar.bz2", "tar -cjf out ckwine.bundle"},
        {"CK9Wine3.0.zip",
         "tar -cJf in.tar.xz ckwine.bundle && 7za a -tzip out.zip in.tar.xz && mv out.zip out"},
    };
    testing::makeFakeEngine(packing.path, "CK9Wine3.0");
    for (const auto& [stored, command] : rows) {
        SCOPED_TRACE(stored);
        fs::remove_all(engines);
        fs::remove_all(wrapper);
        fs::create_directories(frameworks);
        pack(command);
        put(engines + "/" + stored, get(packing.path + "/out"));
        expectExtracted(ExtractedEngine::installed, "CK9Wine3.0", {stored});
        EXPECT_TRUE(isRunnable(bundle + "/bin/wine"));
    }
}

/// Each row: what is in the store under the official name. The old engine stays in the wrapper.
TEST_F(EnginePreparation, KeepsTheOldEngineWhenTheArchiveIsBad) {
    const std::string whole = testing::packedEngine("CK9Wine3.0");
    testing::makeFakeEngine(packing.path, "CK9Wine3.0");
    const std::string otherTar = testing::packedTar7z(packing.path, "ckwine.bundle", "Other.tar");
    pack("mv ckwine.bundle elsewhere && ln -s elsewhere ckwine.bundle");
    const std::string link = testing::packedTar7z(packing.path, "ckwine.bundle", "CK9Wine3.0.tar");
    const std::pair<const char*, std::string> rows[] = {
        {"short", whole.substr(0, whole.size() / 2)},
        {"a tar file of another name", otherTar},
        {"a link for the bundle", link},
    };
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
    for (const auto& [name, body] : rows) {
        SCOPED_TRACE(name);
        ui.opened.clear();
        put(engines + "/CK9Wine3.0.tar.7z", body);
        ui.expectError(corrupted);
        expectExtracted(ExtractedEngine::failure, "CK9Wine2.0", official);
        EXPECT_EQ(ui.opened, body == link ? Names{} : Names{engines});
    }
}

/// Each row: an outer archive with a link, and in it an archive that writes through the link.
TEST_F(EnginePreparation, AnArchiveInAnArchiveStaysInItsFolder) {
    const std::string outside = folder.path + "/outside";
    put(outside + "/version", "mine");
    testing::makeFakeEngine(packing.path, "CK9Wine3.0");
    put(packing.path + "/evil/version", "evil");
    pack(
        "tar -cf CK9Wine3.0.tar --transform 's,^evil,ckwine.bundle,' evil/version && cp CK9Wine3.0.tar in.tar");
    const std::string outer = "rm -rf out* ckwine.bundle && ln -s " + outside + " ckwine.bundle && ";
    const std::pair<const char*, std::string> rows[] = {
        {"CK9Wine3.0.tar.7z", "7za a -snl out.7z ckwine.bundle CK9Wine3.0.tar && mv out.7z out"},
        {"CK9Wine3.0.tar", "tar -cf out ckwine.bundle in.tar"},
        {"CK9Wine3.0.zip", "7za a -snl -tzip out.zip ckwine.bundle in.tar && mv out.zip out"},
    };
    for (const auto& [stored, command] : rows) {
        SCOPED_TRACE(stored);
        fs::remove_all(engines);
        fs::remove_all(wrapper);
        fs::create_directories(frameworks);
        pack(outer + command);
        put(engines + "/" + stored, get(packing.path + "/out"));
        create([&](WrapperCreation& creation) {
            if (extractEngine(creation, "CK9Wine3.0", Wrapper(wrapper)) == ExtractedEngine::failure) return;
            EXPECT_FALSE(fs::is_symlink(bundle));
        });
        EXPECT_EQ(get(outside + "/version"), "mine");
        EXPECT_EQ(namesIn(outside), Names{"version"});
    }
}

TEST_F(EnginePreparation, AnArchiveCannotReachWhatLiesBesideItInTheStore) {
    // A zip file that holds a file of its own name, and of another engine's.
    put(packing.path + "/CK9Wine3.0.zip", "evil");
    put(packing.path + "/CK9Wine2.0.tar.7z", "evil");
    testing::makeFakeEngine(packing.path, "CK9Wine3.0");
    pack("7za a -tzip out.zip CK9Wine3.0.zip CK9Wine2.0.tar.7z ckwine.bundle");
    const std::string bytes = get(packing.path + "/out.zip");
    put(engines + "/CK9Wine3.0.zip", bytes);
    put(engines + "/CK9Wine2.0.tar.7z", "mine");
    fs::create_directories(frameworks);
    expectExtracted(ExtractedEngine::installed, "CK9Wine3.0", {"CK9Wine2.0.tar.7z", "CK9Wine3.0.zip"});
    EXPECT_EQ(get(engines + "/CK9Wine3.0.zip"), bytes);
    EXPECT_EQ(get(engines + "/CK9Wine2.0.tar.7z"), "mine");
}

}  // namespace
}  // namespace morvane
