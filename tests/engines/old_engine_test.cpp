#include "building/building_machine.h"
#include "building/engine_extraction.h"
#include "building/engine_preparation.h"
#include "engines/caskery_engine.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr const char* question =
    "Your engine is CK5/CK6/CK7.\nWould you like to convert it into a CK8 Engine?";

class OldEngine : public testing::BuildingMachine {
  protected:
    /// An archive of the old layout, after shell lines in the folder that holds the old bundle.
    std::string packedOld(const std::string& change = ":") const {
        const testing::TemporaryFolder packing;
        const std::string old = packing.path + "/all/CaskeryEngine.bundle";
        put(old + "/X11/bin/X", "x");
        put(old + "/Wine/bin/wine", "#!/bin/sh\n", true);
        put(old + "/Wine/lib/libwine.so", "elf");
        put(old + "/Wine/share/wine.inf", "[version]");
        testing::runTool(packing.path + "/all", {"/bin/sh", "-c", change});
        return testing::packedTar7z(packing.path + "/all", ".", "../CK7Wine1.2.5.tar");
    }
    std::string converted(const std::string& name) {
        NSCaskeryEngine engine(name);
        onWorker([&] { engine.convertOldEngine(); });
        return engine.engine;
    }
    const std::string oldArchive = engines + "/CK7Wine1.2.5.tar.7z";
};

TEST_F(OldEngine, BecomesTheEngineOfAWrapper) {
    // It also holds files that would overwrite those in the store, and links in the way of the new bundle.
    put(oldArchive, packedOld("echo evil > CK9Wine3.0.tar.7z; ln -s /tmp ckwine.bundle"));
    put(engines + "/CK9Wine3.0.tar.7z", "mine");
    for (const char* left :
         {"CK7Wine1.2.5.tar", "CK8Wine1.2.5.tar", "ckwine.bundle/x", "CaskeryEngine.bundle/x"})
        put(engines + "/" + left, "left");
    testing::makeFakeWrapperAt(wrapper, "CK9Wine2.0");
    offline();
    ui.expect(question).answer("Yes");
    // The second port with that engine finds it under its new name.
    for (int port = 0; port < 2; ++port) {
        create([&](WrapperCreation& creation) {
            ASSERT_TRUE(prepareEngine(creation, "CK7Wine1.2.5", std::nullopt));
            EXPECT_EQ(building::engineForWrapper("CK7Wine1.2.5", Wrapper(wrapper)), "CK8Wine1.2.5");
        });
        EXPECT_EQ(namesIn(engines), (Names{"CK8Wine1.2.5.tar.7z", "CK9Wine3.0.tar.7z"}));
    }
    EXPECT_EQ(get(engines + "/CK9Wine3.0.tar.7z"), "mine");
    create([&](WrapperCreation& creation) {
        EXPECT_EQ(extractEngine(creation, "CK8Wine1.2.5", Wrapper(wrapper)), ExtractedEngine::installed);
    });
    const std::string bundle = wrapper + layout::engine;
    EXPECT_EQ(namesIn(bundle), (Names{"bin", "lib", "share", "version"}));
    EXPECT_TRUE(isRunnable(bundle + "/bin/wine") && get(bundle + "/version") == "CK8Wine1.2.5\n");
}

/// Each row: what the archive is, and what the application's 7-Zip is wrapped in. All stays as it is.
TEST_F(OldEngine, StaysWhenItCannotBeConverted) {
    const std::string whole = packedOld(), lib = "CaskeryEngine.bundle/Wine/lib";
    const std::string noFolders = "it holds no \"CaskeryEngine.bundle/Wine\" with the folders bin";
    const struct {
        const char* name;
        std::string bytes, message, tool = "";
    } rows[] = {
        {"short", whole.substr(0, whole.size() - 40), "it can't be unpacked"},
        {"no lib", packedOld("rm -r " + lib), noFolders},
        {"a link", packedOld("rm -r " + lib + "; ln -s /usr/lib " + lib), noFolders},
        {"a new engine", packedOld("mv CaskeryEngine.bundle ckwine.bundle"), noFolders},
        {"half an archive", whole, "the new archive can't be packed",
         "[ \"$1\" = a ] && { echo 7z > \"$3\"; exit 0; }\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        put(oldArchive, row.bytes);
        put(resources + "/7za", "#!/bin/sh\n" + row.tool + "exec /usr/bin/7za \"$@\"\n", true);
        put(engines + "/CK8Wine1.2.5.tar.7z", "an archive of no use");
        ui.expect(question).answer("Yes");
        ui.expectError("The engine CK7Wine1.2.5 couldn't be converted: " + row.message);
        EXPECT_EQ(converted("CK7Wine1.2.5"), "CK7Wine1.2.5");
        EXPECT_EQ(namesIn(engines), (Names{"CK7Wine1.2.5.tar.7z", "CK8Wine1.2.5.tar.7z"}));
        EXPECT_EQ(get(oldArchive), row.bytes);
        EXPECT_FALSE(exists(engines + "/../.unpacking"));
    }
    // Killed at its end, a conversion has both archives there: the new one is taken as it is.
    const std::string present = testing::packedEngine("CK8Wine1.2.5");
    put(engines + "/CK8Wine1.2.5.tar.7z", present);
    ui.expect(question).answer("Yes");
    EXPECT_EQ(converted("CK7Wine1.2.5"), "CK8Wine1.2.5");
    EXPECT_EQ(namesIn(engines), Names{"CK8Wine1.2.5.tar.7z"});
    EXPECT_EQ(get(engines + "/CK8Wine1.2.5.tar.7z"), present);
}

}  // namespace
}  // namespace morvane
