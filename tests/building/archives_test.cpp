#include <algorithm>
#include <filesystem>

#include "building/archives.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"
#include "wrapper/archive_tools.h"

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
        EXPECT_TRUE(files::remove(work));
    }
    /// What the unpacking of a file in the store gives, without the store's path.
    Names extracted(const std::string& name) {
        Names result;
        onWorker([&] { result = extractFile(store + "/" + name); });
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
    const Names all = *files::listBelow(folder.path);
    for (const char* name : {"escaped", "escaped2", "escaped3", "through", "x", "outside/x"})
        EXPECT_EQ(std::ranges::count(all, name), 0) << name;
}

TEST_F(ExtractFile, InTheUsersOwnFoldersNothingIsReplacedUnasked) {
    pack("game.zip", {"setup.exe", "taxes.pdf"});
    put(store + "/taxes.pdf", "mine");
    put(store + "/game/notes.txt", "mine");
    const std::string archive = store + "/game.zip", apart = store + "/game 2";
    onWorker([&] {
        EXPECT_EQ(extractFileApart(archive), (Names{apart + "/setup.exe", apart + "/taxes.pdf"}));
        EXPECT_EQ(extractFileApart(store + "/taxes.pdf"), Names{store + "/taxes.pdf"});
        put(store + "/damaged.zip", "no archive");
        EXPECT_EQ(extractFileApart(store + "/damaged.zip"), Names{});
    });
    EXPECT_EQ(files::kindOf(store + "/damaged"), files::Kind::none);
    for (const auto& [answer, expected] :
         {std::pair{"No", "mine"}, std::pair{"Yes", "contents of taxes.pdf"}}) {
        ui.expect("The archive game.zip holds 1 of the files that are already in the " + store + " folder.")
            .defaultIs("No")
            .answer(answer);
        static_cast<void>(files::remove(store + "/setup.exe"));
        onWorker([&] { extractFileToFolder(archive, store, Replacing::ask); });
        EXPECT_EQ(get(store + "/taxes.pdf"), expected);
        EXPECT_EQ(get(store + "/setup.exe"), "contents of setup.exe");
    }
    EXPECT_EQ(get(store + "/game/notes.txt"), "mine");
}

TEST_F(ExtractFile, WhatIsUnpackedIsTamed) {
    const std::string place = store + "/place";
    put(folder.path + "/victim", "unharmed");
    put(place + "/plain", "plain");
    put(store + "/make.sh",
        "cd place; ln ../../victim other-name; ln plain second-name; mkfifo pipe; ln -s plain inside\n"
        "ln -s ../.. up; mkdir deep; ln -s $PWD/plain deep/absolute; ln -s inside chain; ln -s up/x chain2\n"
        "mkdir locked; ln -s / locked/root; chmod 0 locked\n");
    testing::runTool(store, {"/bin/sh", "make.sh"});
    archives::tame(place);
    EXPECT_EQ(*files::listBelow(place), (Names{"chain", "deep", "inside", "locked", "plain", "second-name"}));
    EXPECT_EQ(get(folder.path + "/victim"), "unharmed");
}

}  // namespace
}  // namespace morvane
