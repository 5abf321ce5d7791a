#include "ports/port_data.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "ports/typed_stream.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using namespace morvane::testing;

std::string archived(const Value& root) {
    return *typed_stream::archive(root);
}

NSPortData portOf(const Dictionary& cki, const std::optional<std::string>& path = std::nullopt) {
    return NSPortData::initWithDictionary(cki, path);
}

using CkiLoader = TestMachine;

TEST_F(CkiLoader, SaysWhatIsWrong) {
    const std::string missing = home + "/none.ckii";
    EXPECT_EQ(NSUtilities::loadArchivedObjectFromFile(missing, "CKII").error().message(),
              "There is no CKII file at " + missing + "!");
    const std::string unavailable =
        "That CKI file isn't available in the database. Inform us through the Contact Us tab.";
    const std::string corrupted = "That CKI file is corrupted or the format is invalid!";
    const std::pair<std::string, std::string> rows[] = {
        {"", unavailable},
        {"<html><body>404", unavailable},
        {"<html>\xff", corrupted},
        {"<HTML>", corrupted},
        {"\xff\xfe random", corrupted},
        {archived("a text"), corrupted},
        {archived(Dictionary{{"Creator", "me"}}), ""},
    };
    const std::string path = home + "/Some Game (Steam).cki";
    for (const auto& [contents, message] : rows) {
        put(path, contents);
        const auto port = NSPortData::initWithCkiAtPath(path);
        EXPECT_EQ(!port ? port.error().message() : "", message) << contents;
        EXPECT_EQ(message.empty() && port->isSteam, message.empty()) << "by the name";
    }
    EXPECT_EQ(NSUtilities::loadArchivedObjectFromFile(home, "CKI").error().message(), corrupted);
}

TEST(PortData, ReadsEveryKey) {
    const ImageData icon{"picture", 16, 16};
    const Dictionary game{{"name", "Game"},
                          {"main", "X"},
                          {"path", "C:/a.exe\" -b"},
                          {"automatic", true},
                          {"fullscreen", 1},
                          {"virtualdesktop", 2.0},
                          {"resolution", "1024x768"},
                          {"colours", "16 bits"},
                          {"version", "1.0"},
                          {"compatibility", "Windows XP"},
                          {"icon", icon}};
    Dictionary cki{
        {"WrapperMenu", Array{Dictionary{{"name", "n"}, {"type", "App"}, {"desc", "ls"}}}},
        {"Drives", Array{Dictionary{{"name", "D"}, {"place", "../drive_d"}, {"typeName", "cdrom"}}}},
        {"Extensions", Array{Dictionary{{"app", "sav"}, {"func", "C:/a.exe"}}}},
        {"Winetricks", Array{"d3dx9", "", "Install App", "d3dx9"}},
        {"EXEs", Array{game, Dictionary{{"main", "x"}}}},
        {"Before Extra Files", Array{Dictionary{{"origin", "http://o"}, {"destiny", "C:/"}, {"autorun", 1}}}},
        {"After Extra Files", Array{Dictionary{{"origin", "p"}}}},
        {"Overrides", Array{"[a]\n\"b\"=\"c\""}},
        {"CKI Version", "1.6"}};
    // Each of these texts is a key's value as well: read into another's place, it shows.
    for (const char* key : {"Creator", "Creator Mail", "Source", "Engine", "Engine Custom Link", "Company",
                            "Original Installer Name"})
        cki.set(key, key);
    const std::pair<const char*, Value> flags[] = {{"MacDriver", 1},         {"Decorate", "yes"},
                                                   {"Direct3D Boost", true}, {"Original Installer Needed", 1},
                                                   {"Button 1", 1},          {"Button 3", "1"},
                                                   {"Button 5", 0.5},        {"Button 7", true},
                                                   {"Is GOG Galaxy", 1},     {"FnToggle Default Value", "T"}};
    for (const auto& [key, value] : flags) cki.set(key, value);

    const NSPortData port = portOf(cki);
    EXPECT_EQ(port.ckiVersion, "1.6");
    EXPECT_EQ(port.portType, std::nullopt);
    EXPECT_EQ(*port.creator + ", " + *port.creatorMail + ", " + *port.source + ", " + *port.engine + ", " +
                  *port.engineCustomLink + ", " + *port.company + ", " + *port.originalInstallerName,
              "Creator, Creator Mail, Source, Engine, Engine Custom Link, Company, Original Installer Name");
    EXPECT_EQ(port.portMenu, (std::vector<MenuEntry>{{"n", "App", "ls"}}));
    const DriveEntry& drive = port.drives->at(0);
    EXPECT_EQ(drive.name + drive.place + drive.typeName, "D../drive_dcdrom");
    EXPECT_EQ(port.supportedExtensions->at(0).app + port.supportedExtensions->at(0).func, "savC:/a.exe");
    EXPECT_EQ(port.winetricks, (std::vector<std::string>{"d3dx9", "Install App", "d3dx9"}));
    ASSERT_EQ(port.exes.size(), 2U);
    const ExeEntry& exe = port.exes.front();
    EXPECT_TRUE(exe.isMain && exe.fullscreen && exe.automatic == 1 && exe.virtualdesktop == 2);
    EXPECT_EQ(exe.path, "C:/a.exe\" -b");
    EXPECT_EQ(exe.resolution + exe.colours + exe.compatibility, "1024x76816 bitsWindows XP");
    EXPECT_EQ(exe.version, "1.0");
    EXPECT_EQ(exe.icon, icon);
    EXPECT_TRUE(!port.exes.back().isMain && !port.exes.back().version);
    const ExtraFileEntry &before = port.extraFilesBeforeInstaller.at(0),
                         &after = port.extraFilesAfterInstaller.at(0);
    EXPECT_TRUE(before.autorun && before.destiny == "C:/" && !after.autorun && !after.destiny);
    EXPECT_EQ(port.overrides, (Array{"[a]\n\"b\"=\"c\""}));
    EXPECT_TRUE(port.useMacDriver && port.decorateWindows && port.useDirect3DBoost);
    EXPECT_TRUE(port.emulateThreeButtonsMouse && port.closePortNicely && port.decorateWindowWithQuartz &&
                port.maxFiles10240 && port.originalInstallerNeeded);
    EXPECT_TRUE(port.isGogGalaxy && port.fnToggleDefaultValue);
    EXPECT_FALSE(port.optionKeyWorksAsAlt || port.singleCpuMode || port.useXQuartz);
    EXPECT_FALSE(port.isSteam || port.isOrigin || port.isUplay);
}

TEST(PortData, ReadsWrongTypesAsMissing) {
    const NSPortData port = portOf(
        Dictionary{
            {"CKI Version", 1.6},
            {"Creator", Array{"A"}},
            {"WrapperMenu", "menu"},
            {"Drives", Array{"D", Dictionary{{"name", 4}, {"place", "p"}}}},
            {"MacDriver", Array{1}},
            {"Winetricks", Array{"a", 1, Value(), "b"}},
            {"EXEs",
             Array{Value(), Dictionary{{"name", "n"}, {"version", 1.0}, {"icon", "i"}, {"automatic", "1"}}}},
            {"Extra Files", Array{Dictionary{{"origin", 1}, {"destiny", "C:/"}}}},
            {"Overrides", "text"},
            {"ExesDLLsOverrides", Array{"e", 2}},
            {"Is Steam", Array{}}},
        "/a (steam).cki");
    EXPECT_EQ(port.ckiVersion, std::nullopt);
    EXPECT_EQ(port.creator, std::nullopt);
    EXPECT_EQ(port.portMenu, std::nullopt);
    ASSERT_EQ(port.drives->size(), 1U);
    EXPECT_EQ(port.drives->front().name, "");
    EXPECT_EQ(port.drives->front().place, "p");
    EXPECT_FALSE(port.useMacDriver);
    EXPECT_EQ(port.winetricks, (std::vector<std::string>{"a", "b"}));
    ASSERT_EQ(port.exes.size(), 1U);
    EXPECT_EQ(port.exes.front().name, "n");
    EXPECT_EQ(port.exes.front().version, std::nullopt);
    EXPECT_EQ(port.exes.front().icon, std::nullopt);
    EXPECT_EQ(port.exes.front().automatic, 0);
    ASSERT_EQ(port.extraFilesBeforeInstaller.size(), 1U);
    EXPECT_EQ(port.extraFilesBeforeInstaller.front().origin, std::nullopt);
    EXPECT_EQ(port.overrides, Array{"e"});
    EXPECT_TRUE(port.isSteam);
}

TEST(PortData, GatesExtraFilesByVersion) {
    const std::tuple<Value, std::size_t, std::size_t> rows[] = {
        {"1.5.7", 1, 0}, {"1.5.8", 2, 1}, {Value(), 1, 0}};
    for (const auto& [version, before, after] : rows) {
        const NSPortData port = portOf({{"CKI Version", version},
                                        {"Extra Files", Array{Dictionary{}}},
                                        {"Before Extra Files", Array{Dictionary{}, Dictionary{}}},
                                        {"After Extra Files", Array{Dictionary{}}}});
        EXPECT_EQ(port.extraFilesBeforeInstaller.size(), before);
        EXPECT_EQ(port.extraFilesAfterInstaller.size(), after);
    }
}

class BlankPort : public TestMachine {
  protected:
    static std::optional<NSPortData> blank(const std::string& path, unsigned drms = 0,
                                           MacDriver driver = MacDriver::no,
                                           const std::string& engine = "CK9Wine3.0") {
        return NSPortData::customPortAtPath(path, engine, drms, driver);
    }
};

}  // namespace
}  // namespace morvane
