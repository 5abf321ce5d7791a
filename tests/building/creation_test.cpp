#include "building/creation.h"
#include "building/building_machine.h"
#include "building/engine_extraction.h"
#include "building/finished_prefix.h"
#include "platform/private_folder.h"

namespace morvane {
namespace {

using testing::FakeWrapper;

class Creation : public testing::BuildingMachine {
  protected:
    /// A master wrapper whose prefix creation tells where it ran, and the engine.
    void prepare(FakeWrapper master = {}) {
        offline();
        if (master.onPrefixCreate.empty()) master.onPrefixCreate = tellsWhere;
        testing::makeFakeMasterWrapper(masters, master);
        putEngine();
    }
    void expectCreated(bool expected, const std::string& path) {
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(createWrapperAt(creation, Wrapper(path), "CK9Wine3.0"), expected);
        });
    }
    const std::string tellsWhere =
        "echo \"$wrapper\" > \"$wrapper/Contents/Resources/where\"\n"
        "echo $(stat -c %a \"$wrapper/..\" \"$wrapper/../..\") > '" +
        folder.path + "/mode'";
    const std::string where = "/Contents/Resources/where", save = "/Contents/Resources/drive_c/save.dat";
    const std::string prefixes = home + "/Library/Application Support/Caskery/Prefixes";
    const std::string newMaster = masters + "/Caskery-2.6.2.app";
};

TEST_F(Creation, MakesTheEngineAndThePrefixAtTheTemporaryPath) {
    const std::string path = home + "/Applications/Tom & Jerry: Round 2 (Demo).app";
    prepare();
    // The tool is not runnable in the master wrapper.
    fs::permissions(newMaster + "/Contents/Frameworks/bin/Caskery", fs::perms(0644));
    expectCreated(true, path);
    const std::string place = get(path + where);
    EXPECT_TRUE(place.starts_with(temporary + "/")) << place;
    EXPECT_TRUE(place.ends_with("/Tom and Jerry Round 2 Demo.app\n")) << place;
    EXPECT_EQ(get(folder.path + "/mode"), "700 700\n") << "of the folders that nobody else enters";
    EXPECT_EQ(get(testing::commandLog(path)), "CKS-wineprefixcreate\n");
    EXPECT_EQ(getCaskeryWrapperEngineFromPath(Wrapper(path)), "CK9Wine3.0");
    EXPECT_EQ(fs::status(path + "/Contents/Frameworks/ckwine.bundle").permissions(), fs::perms(0777));
    EXPECT_TRUE(exists(path + "/Contents/Resources/system.reg"));
    EXPECT_EQ(namesIn(temporary), Names{});
    EXPECT_EQ(ui.statusLines(), (Names{"Creating Wrapper Caskery-2.6.2...", "Extracting Engine CK9Wine3.0...",
                                       "Preparing Wrapper..."}));
    EXPECT_EQ(ui.progress.back().subtitle, "Please wait. If prompted to install Mono or Gecko, cancel it.");
}

TEST_F(Creation, LeavesAFinishedWrapperAlone) {
    prepare();
    testing::makeFakeWrapperAt(wrapper, "CK9Wine3.0");
    put(wrapper + save, "saved");
    fs::remove_all(masters);
    expectCreated(true, wrapper);
    EXPECT_FALSE(exists(testing::commandLog(wrapper)));
    // An engine without a prefix: a build that was stopped goes on here.
    fs::remove(wrapper + "/Contents/Resources/system.reg");
    expectCreated(true, wrapper);
    EXPECT_TRUE(exists(wrapper + "/Contents/Resources/system.reg"));
    EXPECT_EQ(get(wrapper + save), "saved");
}

TEST_F(Creation, KeepsAWrapperThatCannotGoBackOnlyWhenTheUserWantsIt) {
    for (const bool keeps : {false, true}) {
        // Something new lies in the wrapper's place when its prefix is ready.
        prepare({.onPrefixCreate = "mkdir -p '" + wrapper + "/Contents'"});
        fs::remove_all(prefixes);
        ui.expectError("Error while moving file: ");
        ui.expect("The wrapper can't be moved to " + wrapper + ".")
            .defaultIs("No")
            .answer(keeps ? "Yes" : "No");
        if (keeps) ui.expectError("The wrapper is at " + temporary + "/");
        expectCreated(false, wrapper);
        fs::remove_all(wrapper);
        EXPECT_EQ(namesIn(temporary).size(), keeps ? 1U : 0U);
    }
    const std::string told = ui.dialogs.back().text;
    const std::string place = told.substr(told.find('/'), told.find(" now") - told.find('/'));
    files::PrivateFolder::removeLeftovers(temporary);
    EXPECT_TRUE(exists(place + "/Contents/Resources/system.reg")) << place;
}

class FinishedPrefixes : public Creation {
  protected:
    /// Makes a wrapper and tells whether its prefix is a copy.
    bool isCopied(const std::string& name) {
        const std::string path = files::parent(wrapper) + "/" + name + ".app";
        expectCreated(true, path);
        EXPECT_EQ(get(path + save), "saved");
        for (const std::string& entry : namesIn(path + "/Contents/Resources"))
            EXPECT_FALSE(entry.starts_with(".passing-")) << entry;
        return !exists(testing::commandLog(path));
    }
    /// The machine's Wine, as the engine runs it.
    const std::string system = folder.path + "/system";
    /// The identifier is another one each time, as Wine's is; the second file notes where a server lives.
    const FakeWrapper master{
        .onPrefixCreate =
            "printf saved > \"$wrapper/Contents/Resources/drive_c/save.dat\"\n"
            "printf '[Cryptography]\\n\"MachineGuid\"=\"%s\"\\n' $(cat /proc/sys/kernel/random/uuid) >> "
            "\"$wrapper/Contents/Resources/system.reg\"\necho wine-1 > \"$wrapper/Contents/Resources/server\"\n"};
    std::string identifierOf(const std::string& name) {
        const std::string text =
            get(files::parent(wrapper) + "/" + name + ".app/Contents/Resources/system.reg");
        return text.substr(text.find("MachineGuid"));
    }
    std::string kept() const { return prefixes + "/" + namesIn(prefixes).at(0); }
};

TEST_F(FinishedPrefixes, AreCopiedWithIdentifiersOfTheirOwn) {
    prepare(master);
    EXPECT_FALSE(isCopied("First"));
    EXPECT_TRUE(isCopied("Second"));
    EXPECT_TRUE(isCopied("Third"));
    EXPECT_EQ(namesIn(prefixes).size(), 1U);
    EXPECT_EQ(identifierOf("Second").size(), identifierOf("First").size());
    EXPECT_NE(identifierOf("Second"), identifierOf("First"));
    EXPECT_NE(identifierOf("Second"), identifierOf("Third"));
    const std::string copied = files::parent(wrapper) + "/Second.app/Contents/Resources";
    EXPECT_FALSE(exists(copied + "/server")) << "that is the place of the first one's server";
    EXPECT_EQ(*files::destinationOfLink(copied + "/dosdevices/c:"), "../drive_c");
    EXPECT_FALSE(fs::equivalent(copied + "/drive_c/save.dat", kept() + "/contents/drive_c/save.dat"));
    EXPECT_EQ(namesIn(temporary), Names{});
}

TEST_F(FinishedPrefixes, ADamagedOneIsMadeAnew) {
    const std::vector<std::function<void()>> damages{
        [&] { fs::remove(kept() + "/contents/drive_c/save.dat"); },
        [&] { put(kept() + "/contents/drive_c/save.dat", "SAVED"); },
        [&] { put(kept() + "/contents/drive_c/more.dat", ""); },
        [&] { fs::resize_file(kept() + "/contents/system.reg", 3); }, [&] { fs::remove(kept() + "/list"); },
        [&] { put(kept() + "/list", ""); },
        [&] {
            fs::remove(kept() + "/contents/dosdevices/c:");
            fs::create_symlink("/", kept() + "/contents/dosdevices/c:");
        },
        // What a killed process leaves.
        [&] { fs::rename(kept(), prefixes + "/.passing-killed"); }};
    prepare(master);
    EXPECT_FALSE(isCopied("First"));
    for (std::size_t at = 0; at < damages.size(); ++at) {
        SCOPED_TRACE(at);
        damages[at]();
        EXPECT_FALSE(isCopied("Damaged" + std::to_string(at)));
        EXPECT_TRUE(isCopied("Next" + std::to_string(at)));
        EXPECT_EQ(namesIn(prefixes).size(), 1U);
    }
}

TEST_F(FinishedPrefixes, AreKnownByAllThatTheyAreMadeOf) {
    testing::makeFakeWrapperAt(wrapper, "CK9Wine3.0");
    const std::string engine = wrapper + "/Contents/Frameworks/ckwine.bundle";
    for (const char* file : {"/bin/wine", "/share/wine/wine.inf", "/lib/wine/x86_64-windows/ntdll.dll"})
        put(system + file, "1", true);
    put(engine + "/bin/wine", "#!/bin/sh\nexec '" + system + "/bin/wine' \"$@\"\n", true);
    const auto mark = [&] { return building::markOfPrefix(Wrapper(wrapper)).value_or("none"); };
    const auto later = [](const std::string& path) {
        fs::last_write_time(path, fs::last_write_time(path) + std::chrono::seconds(1));
    };
    const std::vector<std::pair<const char*, std::function<void()>>> same{
        {"times in the engine", [&] { later(engine + "/lib/wine/ntdll.so"); }},
        {"the name of the wrapper's server",
         [&] { fs::create_symlink("wineserver", engine + "/bin/wrapper-12Wineserver"); }},
        {"the registry", [&] { put(wrapper + "/Contents/Resources/user.reg", ""); }}};
    const std::vector<std::pair<const char*, std::function<void()>>> other{
        {"an engine's file", [&] { put(engine + "/lib/wine/ntdll.so", "ELF"); }},
        {"one more", [&] { put(engine + "/lib/wine/more.so", ""); }},
        {"one less", [&] { fs::remove(engine + "/lib/wine/more.so"); }},
        {"a link", [&] { fs::create_symlink("wine", engine + "/bin/wine64"); }},
        {"the machine's Wine", [&] { later(system + "/share/wine/wine.inf"); }},
        {"a part of it", [&] { put(system + "/lib/wine/i386-windows/ntdll.dll", ""); }},
        {"the tool", [&] { put(Wrapper(wrapper).tool(), "#!/bin/sh\n", true); }},
        {"the language", [] { ::setenv("LC_TIME", "tlh_QO.UTF-8", 1); }}};
    for (const auto& [name, change] : same) {
        const std::string before = mark();
        change();
        EXPECT_EQ(mark(), before) << name;
    }
    for (const auto& [name, change] : other) {
        const std::string before = mark();
        change();
        EXPECT_NE(mark(), before) << name;
    }
    ::unsetenv("LC_TIME");
    fs::remove_all(engine);
    EXPECT_EQ(mark(), "none");
}

TEST_F(FinishedPrefixes, FewAreKept) {
    for (const char* flavour : {"1", "2", "3", "4", "5", "6"}) {
        FakeWrapper changed = master;
        changed.onPrefixCreate += "# " + std::string(flavour) + "\n";
        prepare(changed);
        EXPECT_FALSE(isCopied(flavour));
    }
    EXPECT_EQ(namesIn(prefixes).size(), building::FinishedPrefix::mostKept);
    EXPECT_TRUE(isCopied("again")) << "the last one is among them";
}

}  // namespace
}  // namespace morvane
