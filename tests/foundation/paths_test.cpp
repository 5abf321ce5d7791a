#include <filesystem>

#include "foundation/name_patterns.h"
#include "foundation/safe_paths.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

using Pairs = std::vector<std::pair<const char*, const char*>>;

namespace fs = std::filesystem;
using namespace std::string_literals;

class PathInside : public testing::TestMachine {
  public:
    const std::string wrapper = home + "/Game.app";

    PathInside() {
        fs::create_directories(wrapper + "/drive_c/Games");
        fs::create_directories(wrapper + "/dosdevices");
        fs::create_directories(home + "/Documents");
        fs::create_directories(home + "/Game.app.old");
        fs::create_symlink("../drive_c", wrapper + "/dosdevices/c:");
        fs::create_symlink("/", wrapper + "/dosdevices/z:");
        fs::create_symlink("../../Game.app.old", wrapper + "/dosdevices/o:");
        fs::create_symlink(home + "/Documents", wrapper + "/drive_c/My Documents");
        fs::create_symlink(wrapper + "/drive_c/Games", home + "/Documents/back");
        fs::create_symlink("Games/later", wrapper + "/drive_c/dangling inside");
        fs::create_symlink(home + "/later", wrapper + "/drive_c/dangling outside");
        fs::create_symlink("loop", wrapper + "/drive_c/loop");
    }
};

TEST_F(PathInside, RefusesWhatLeadsOut) {
    using enum Levels;
    const std::tuple<Levels, std::string, std::string> taken[] = {
        {one, "Größe ™ (1) '\"$", "Größe ™ (1) '\"$"},
        {one, "..\\Windows", "..\\Windows"},
        {one, "...", "..."},
        {one, std::string(255, 'n'), std::string(255, 'n')},
        {many, "//drive_c///Games/", "drive_c/Games"},
        {many, "drive_c/new/deep", "drive_c/new/deep"},
        {many, "dosdevices/c:/Games", "dosdevices/c:/Games"},
        {many, "drive_c/dangling inside", "drive_c/dangling inside"}};
    for (const auto& [levels, text, path] : taken) {
        EXPECT_EQ(pathInside(wrapper, text, levels, "it").value_or(""), wrapper + "/" + path) << text;
    }
    const std::vector<std::string> names{"",      ".",        "..",       "a/b",
                                         "/etc",  "a\0b"s,    "a\nb",     "a\rb",
                                         "a\x7F", "a\u0085b", "a\u2028b", std::string(256, 'n')};
    for (const std::string& name : names) EXPECT_FALSE(pathInside(wrapper, name, one, "it")) << name;
    const std::vector<std::string> paths{"//drive_c/./x",
                                         "drive_c/../../x",
                                         "..",
                                         "/",
                                         "drive_c/" + std::string(256, 'n'),
                                         "dosdevices/z:",
                                         "dosdevices/z:/etc",
                                         "dosdevices/o:/x",
                                         "drive_c/My Documents",
                                         "drive_c/My Documents/save",
                                         "drive_c/My Documents/back/x",
                                         "drive_c/dangling outside",
                                         "drive_c/loop/x"};
    for (const std::string& path : paths) EXPECT_FALSE(pathInside(wrapper, path, many, "it")) << path;
    EXPECT_FALSE(fs::exists(wrapper + "/drive_c/new"));
}

TEST_F(PathInside, NamesWhatItRefuses) {
    const auto refusal = pathInside(wrapper, "../x\n", Levels::one, "the program's name");
    ASSERT_FALSE(refusal);
    EXPECT_EQ(refusal.error().message(),
              "\"../x?\" can't be used as the program's name: it holds control characters.");
}

TEST_F(PathInside, TrustsTheFolderItself) {
    fs::create_symlink(wrapper, home + "/alias");
    EXPECT_TRUE(pathInside(home + "/alias", "drive_c/x", Levels::many, "it"));
    EXPECT_FALSE(pathInside(home + "/alias", "dosdevices/z:/x", Levels::many, "it"));
}

TEST(NamePattern, TakesTheFirstFitForGood) {
    const Pairs fit{{"SETUP.EXE", "setup.exe"},
                    {"setup.exe", ""},
                    {"Setup_v1.2.exe", "setup*.exe"},
                    {"setup", "set*tup"},
                    {"abc", "a*b*c"},
                    {"xaxbx", "*a*b*"},
                    {"xaxb", "*a*b"},
                    {"abab", "*ab*ab"},
                    {"anything", "**"},
                    {"ÉCRAN.exe", "*écran*.exe"}};
    for (const auto& [name, pattern] : fit)
        EXPECT_TRUE(NSValidInstallerDelegate::isPath(name, pattern)) << name << " | " << pattern;
    const Pairs unfit{{"setup.exe", "setup"}, {"asetup.exe", "setup*"}, {"setup.exe", "*.msi"},
                      {"abcbc", "a*b*c"},     {"xaxbx", "a*b*"},        {"ababab", "*ab*ab"},
                      {"a", "a*b*"}};
    for (const auto& [name, pattern] : unfit)
        EXPECT_FALSE(NSValidInstallerDelegate::isPath(name, pattern)) << name << " | " << pattern;
}

TEST_F(PathInside, PatternsAreSearchedLevelByLevel) {
    const std::string disc = folder.path + "/Volumes/Disc";
    put(disc + "/Disk1/Install.exe", "");
    put(disc + "/Disk1/readme.txt", "");
    put(disc + "/disk2/deep/Install.exe", "");
    put(disc + "/disk3.txt", "");
    put(home + "/Documents/secret.exe", "");
    fs::create_symlink(home + "/Documents", disc + "/disk4");
    fs::create_symlink("disk2", disc + "/same");
    const auto found = [&](const std::string& pattern) {
        return MVFileManager::filesCompatibleWithStructure(pattern, disc);
    };
    using Paths = std::vector<std::string>;
    EXPECT_EQ(found("disk*/install.exe"), Paths{disc + "/Disk1/Install.exe"});
    EXPECT_EQ(found("*/deep/*"), (Paths{disc + "/disk2/deep/Install.exe", disc + "/same/deep/Install.exe"}));
    EXPECT_EQ(found("disk*"),
              (Paths{disc + "/Disk1", disc + "/disk2", disc + "/disk3.txt", disc + "/disk4"}));
    for (const char* nothing : {"disk4/*", "../*", "..", ".", "disk1/../disk1/*", "disk3.txt/*", "disk9/*"}) {
        EXPECT_EQ(found(nothing), Paths{}) << nothing;
    }
    EXPECT_EQ(MVFileManager::filesCompatibleWithStructure("*", disc + "/none"), Paths{});
    EXPECT_EQ(MVFileManager::filesCompatibleWithStructure("disk3*", disc + "/"), Paths{disc + "/disk3.txt"});
}

}  // namespace
}  // namespace morvane
