#include "building/wrapper_creation.h"
#include "platform/files.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using testing::runTool;

class ExtractFile : public testing::TestMachine {
  protected:
    const std::string store = folder.path + "/store";

    /// An archive of that name in the store that holds the files; the tool packs by the name's extension.
    void pack(const std::string& archive, const std::vector<std::string>& names) {
        const std::string work = folder.path + "/work";
        std::vector<std::string> command{"/usr/bin/7za", "a",
                                         work + "/packed" + archive.substr(archive.rfind('.'))};
        for (const std::string& name : names) {
            put(work + "/" + name, "contents of " + name);
            command.push_back(name);
        }
        runTool(work, command);
        put(store + "/" + archive, get(command[2]));
        EXPECT_EQ(files::remove(work), std::nullopt);
    }
};

TEST_F(ExtractFile, GivesTheEntriesThatWereNotThere) {
    pack("game.zip", {"data/level1", "readme.txt", "old.txt"});
    put(store + "/old.txt", "old");
    onWorker([&] {
        EXPECT_EQ(WrapperCreation::extractFile(store + "/game.zip"),
                  (std::vector<std::string>{store + "/data", store + "/readme.txt"}));
        EXPECT_EQ(WrapperCreation::extractFile(store + "/game.zip"), std::vector<std::string>{})
            << "an archive that only overwrites";
    });
    EXPECT_EQ(get(store + "/old.txt"), "contents of old.txt");
    EXPECT_EQ(get(store + "/data/level1"), "contents of data/level1");
}

TEST_F(ExtractFile, KnowsKindsByTheExtensionAlone) {
    pack("UPPER.7Z", {"seven"});
    pack("packed.xz", {"single"});
    put(store + "/game.tar.gz", "gz");
    put(store + "/setup.exe", "MZ");
    put(store + "/damaged.zip", "not a zip");
    onWorker([&] {
        EXPECT_EQ(WrapperCreation::extractFile(store + "/UPPER.7Z"),
                  std::vector<std::string>{store + "/seven"});
        EXPECT_EQ(WrapperCreation::extractFile(store + "/packed.xz").size(), 1u);
        for (const char* name : {"/game.tar.gz", "/setup.exe", "/none"})
            EXPECT_EQ(WrapperCreation::extractFile(store + name), std::vector<std::string>{store + name});
        EXPECT_EQ(WrapperCreation::extractFile(store + "/damaged.zip"), std::vector<std::string>{});
    });
}

TEST_F(ExtractFile, TheFolderDecidesWhetherAnythingIsUnpacked) {
    const std::string fresh = store + "/a/b";
    onWorker([&] {
        EXPECT_EQ(WrapperCreation::extractFileToFolder("/x/game.zip", std::nullopt),
                  std::vector<std::string>{});
        EXPECT_EQ(WrapperCreation::extractFileToFolder("/x/game.zip", ""),
                  std::vector<std::string>{"/x/game.zip"});
        EXPECT_EQ(WrapperCreation::extractFileToFolder("/x/game.exe", fresh),
                  std::vector<std::string>{"/x/game.exe"});
    });
    EXPECT_EQ(files::kindOf(fresh), files::Kind::folder);
}

TEST_F(ExtractFile, ANameIsNeverAnOption) {
    const std::string outside = folder.path + "/outside";
    pack("-o..outside.zip", {"evil"});
    pack("@list.zip", {"listed"});
    onWorker([&] {
        EXPECT_EQ(WrapperCreation::extractFile(store + "/-o..outside.zip"),
                  std::vector<std::string>{store + "/evil"});
        EXPECT_EQ(WrapperCreation::extractFile(store + "/@list.zip"),
                  std::vector<std::string>{store + "/listed"});
    });
    EXPECT_EQ(files::kindOf(outside), files::Kind::none);
}

}  // namespace
}  // namespace morvane
