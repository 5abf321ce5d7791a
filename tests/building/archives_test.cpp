#include <algorithm>
#include <filesystem>

#include "building/wrapper_creation.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class ExtractFile : public testing::TestMachine {
  protected:
    const std::string store = folder.path + "/store";

    /// An archive of that name in the store that holds the files; the tool packs by the name's extension.
    void pack(const std::string& archive, const Names& names) {
        const std::string work = folder.path + "/work";
        Names command{"/usr/bin/7za", "a", work + "/packed" + archive.substr(archive.rfind('.'))};
        for (const std::string& name : names) {
            put(work + "/" + name, "contents of " + name);
            command.push_back(name);
        }
        testing::runTool(work, command);
        put(store + "/" + archive, get(command[2]));
        EXPECT_EQ(files::remove(work), std::nullopt);
    }
    /// What the unpacking of a file in the store gives, without the store's path.
    Names extracted(const std::string& name) {
        Names result;
        onWorker([&] { result = WrapperCreation::extractFile(store + "/" + name); });
        for (std::string& path : result) {
            EXPECT_TRUE(path.starts_with(store + "/")) << path;
            path.erase(0, store.size() + 1);
        }
        return result;
    }
};

TEST_F(ExtractFile, GivesTheEntriesThatWereNotThere) {
    pack("game.zip", {"data/level1", "readme.txt", "old.txt"});
    put(store + "/old.txt", "old");
    EXPECT_EQ(extracted("game.zip"), (Names{"data", "readme.txt"}));
    EXPECT_EQ(extracted("game.zip"), Names{}) << "an archive that only overwrites";
    EXPECT_EQ(get(store + "/old.txt"), "contents of old.txt");
    EXPECT_EQ(get(store + "/data/level1"), "contents of data/level1");
}

TEST_F(ExtractFile, KnowsKindsByTheExtensionAloneAndTakesNoNameForMoreThanAName) {
    pack("UPPER.7Z", {"seven"});
    pack("packed.xz", {"single"});
    pack("-o..outside.zip", {"evil"});
    pack("@list.zip", {"listed"});
    pack("*.zip", {"star"});
    put(store + "/damaged.zip", "not a zip");
    const std::pair<const char*, Names> rows[] = {
        {"*.zip", {"star"}},           {"UPPER.7Z", {"seven"}},
        {"packed.xz", {"packed"}},     {"game.tar.gz", {"game.tar.gz"}},
        {"setup.exe", {"setup.exe"}},  {"damaged.zip", {}},
        {"-o..outside.zip", {"evil"}}, {"@list.zip", {"listed"}},
    };
    for (const auto& [name, expected] : rows) EXPECT_EQ(extracted(name), expected) << name;
    EXPECT_EQ(files::kindOf(folder.path + "/outside"), files::Kind::none);
}

TEST_F(ExtractFile, NothingLandsOutsideTheFolder) {
    const std::string outside = folder.path + "/outside";
    put(outside + "/victim", "unharmed");
    pack("evil.zip", {"aa/escaped", "deep/aa/aa/escaped2", "mine/through", "victim"});
    // Names are stored as they are: a harmless one is renamed in the archive's bytes.
    put(store + "/evil.zip", MVString::replacedAll(get(store + "/evil.zip"), "aa/", "../"));
    put(store + "/pack.sh",
        "ln -s ../outside mine; ln -s ../outside/victim victim; mkdir work; cd work; : > plain\n"
        "ln -s $PWD/../../outside absolute; ln -s ../outside relative; ln -s plain inside\n"
        "tar -cf ../evil.tar *; rm absolute relative; mkdir absolute relative; : > absolute/x; : > "
        "relative/x\n"
        "tar -rPf ../evil.tar --transform 's,^plain,../../escaped3,' *; rm -r ../work ../pack.sh\n");
    testing::runTool(store, {"/bin/sh", "pack.sh"});
    ui.expectError("\"" + store + "/mine\" was not unpacked: a link leads out of its folder.");
    EXPECT_EQ(extracted("evil.zip"), (Names{"deep", "escaped"}));
    extracted("evil.tar");
    EXPECT_EQ(get(store + "/victim"), "contents of victim") << "in place of the link";
    for (const auto& [name, linked] : {std::pair{"inside", true}, {"absolute", false}, {"relative", false}})
        EXPECT_EQ(fs::is_symlink(store + "/" + name), linked) << name;
    EXPECT_EQ(get(outside + "/victim"), "unharmed");
    const Names all = std::get<Names>(files::listBelow(folder.path));
    for (const char* name : {"escaped", "escaped2", "escaped3", "through", "x", "outside/x"})
        EXPECT_EQ(std::ranges::count(all, name), 0) << name;
}

TEST_F(ExtractFile, TheFolderDecidesWhetherAnythingIsUnpacked) {
    const std::string fresh = store + "/a/b";
    const auto into = WrapperCreation::extractFileToFolder;
    onWorker([&] {
        EXPECT_EQ(into("/x/game.zip", std::nullopt), Names{});
        EXPECT_EQ(into("/x/game.zip", ""), Names{"/x/game.zip"});
        EXPECT_EQ(into("/x/game.exe", fresh), Names{"/x/game.exe"});
    });
    EXPECT_EQ(files::kindOf(fresh), files::Kind::folder);
}

}  // namespace
}  // namespace morvane
