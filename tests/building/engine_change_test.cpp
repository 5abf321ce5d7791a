#include "building/engine_change.h"

#include "building/building_machine.h"
#include "building/engine_extraction.h"
#include "building/engine_facts.h"
#include "platform/file_exchange.h"
#include "platform/property_list.h"
#include "support/windows_file.h"

namespace morvane {
namespace {

class EngineChange : public testing::BuildingMachine {
  protected:
    const std::string path = home + "/Applications/Game.app", drive = path + "/Contents/Resources";

    void SetUp() override {
        offline();
        testing::makeFakeWrapperAt(path, "CK9Wine2.0");
        put(drive + "/drive_c/save", "precious");
        put(drive + "/.update-timestamp", "1");
        putEngine();
    }
    /// What the command tool does when the drive is to be brought up to date.
    void updating(const std::string& script) const {
        put(Wrapper(path).tool(), "#!/bin/sh\necho \"$@\" >> '" + folder.path + "/asked'\n" + script, true);
    }
    std::string changed() {
        std::string why;
        create([&](WrapperCreation& creation) {
            const auto done = building::changeEngine(creation, Wrapper(path), "CK9Wine3.0");
            if (!done) why = done.error().message();
        });
        return why;
    }
    void expectEngine(const std::string& engine) const {
        EXPECT_EQ(getCaskeryWrapperEngineFromPath(Wrapper(path)), engine);
        EXPECT_EQ(get(drive + "/drive_c/save"), "precious");
        for (const std::string& name : namesIn(path + "/Contents/Frameworks"))
            EXPECT_TRUE(name == "bin" || name == "ckwine.bundle") << name;
    }
};

TEST_F(EngineChange, AFailureLeavesTheOldEngineAndTheRegistry) {
    const std::string registry = get(drive + "/system.reg");
    updating("echo spoilt > '" + drive + "/system.reg'\nexit 1\n");
    EXPECT_NE(changed().find("could not bring the wrapper's drive up to date"), std::string::npos);
    expectEngine("CK9Wine2.0");
    EXPECT_EQ(get(drive + "/system.reg"), registry);
    EXPECT_FALSE(exists(drive + "/.update-timestamp")) << "the old engine puts its own files back";
}

TEST_F(EngineChange, IsRefusedBeforeAnythingChanges) {
    updating("exit 0\n");
    put(drive + "/drive_c/old.exe", testing::windowsFile(0xaa64, false));
    ASSERT_TRUE(
        property_lists::write(path + layout::infoPlist, Dictionary{{"Program Name and Path", "/old.exe"}}));
    EXPECT_NE(changed().find("/old.exe is an ARM64 program"), std::string::npos);
    expectEngine("CK9Wine2.0");

    scriptProgram("ps", "echo '  99999 ? S 0:00 " + path + "/game.exe'");
    EXPECT_EQ(changed(), "Programs of this wrapper are running: end them first.");
    scriptProgram("ps", "");
    ASSERT_TRUE(property_lists::write(path + layout::infoPlist, Dictionary()));
    put(engines + "/CK9Wine3.0.tar.7z", "no archive");
    ui.expectError("The engine ");
    EXPECT_NE(changed(), "");
    expectEngine("CK9Wine2.0");
    EXPECT_FALSE(exists(folder.path + "/asked"));
}

TEST_F(EngineChange, ACancellationPutsTheOldEngineBack) {
    updating("echo begun > '" + folder.path + "/begun'\nsleep 30\n");
    cancelWhen([&] { return exists(folder.path + "/begun"); });
    onWorker([&] {
        WrapperCreation creation(progress);
        ASSERT_TRUE(host().creation.begin());
        EXPECT_THROW(static_cast<void>(building::changeEngine(creation, Wrapper(path), "CK9Wine3.0")),
                     Cancelled);
        host().creation.end();
    });
    expectEngine("CK9Wine2.0");
}

}  // namespace
}  // namespace morvane
