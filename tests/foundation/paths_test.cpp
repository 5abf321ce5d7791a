#include <filesystem>

#include "foundation/name_patterns.h"
#include "foundation/safe_paths.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

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
    struct Row {
        std::string text;
        Levels levels;
        std::optional<std::string> path;
    };
    using enum Levels;
    for (const Row& row : std::vector<Row>{
             {"Play", one, "Play"},
             {"Größe ™ (1) '\"$", one, "Größe ™ (1) '\"$"},
             {"..\\Windows", one, "..\\Windows"},
             {"...", one, "..."},
             {"", one, std::nullopt},
             {".", one, std::nullopt},
             {"..", one, std::nullopt},
             {"a/b", one, std::nullopt},
             {"/etc", one, std::nullopt},
             {"a\0b"s, one, std::nullopt},
             {"a\nb", one, std::nullopt},
             {"a\rb", one, std::nullopt},
             {"a\x7F", one, std::nullopt},
             {"a\u0085b", one, std::nullopt},
             {"a\u2028b", one, std::nullopt},
             {std::string(255, 'n'), one, std::string(255, 'n')},
             {std::string(256, 'n'), one, std::nullopt},
             {"//drive_c/./x", many, std::nullopt},
             {"//drive_c///Games/", many, "drive_c/Games"},
             {"drive_c/new/deep", many, "drive_c/new/deep"},
             {"drive_c/../../x", many, std::nullopt},
             {"..", many, std::nullopt},
             {"/", many, std::nullopt},
             {"drive_c/" + std::string(256, 'n'), many, std::nullopt},
             {"dosdevices/c:/Games", many, "dosdevices/c:/Games"},
             {"dosdevices/c:", many, "dosdevices/c:"},
             {"dosdevices/z:", many, std::nullopt},
             {"dosdevices/z:/etc", many, std::nullopt},
             {"dosdevices/o:/x", many, std::nullopt},
             {"drive_c/My Documents", many, std::nullopt},
             {"drive_c/My Documents/save", many, std::nullopt},
             {"drive_c/My Documents/back/x", many, std::nullopt},
             {"drive_c/dangling inside", many, "drive_c/dangling inside"},
             {"drive_c/dangling outside", many, std::nullopt},
             {"drive_c/loop/x", many, std::nullopt},
         }) {
        const auto result = pathInside(wrapper, row.text, row.levels, "the folder");
        if (row.path) {
            ASSERT_EQ(failureOf(result), nullptr) << failureOf(result)->message;
            EXPECT_EQ(std::get<std::string>(result), wrapper + "/" + *row.path);
        } else {
            EXPECT_NE(failureOf(result), nullptr) << std::get<std::string>(result);
        }
    }
    EXPECT_FALSE(fs::exists(wrapper + "/drive_c/new"));
}

TEST_F(PathInside, NamesWhatItRefuses) {
    const auto refusal = pathInside(wrapper, "../x\n", Levels::one, "the program's name");
    ASSERT_NE(failureOf(refusal), nullptr);
    EXPECT_EQ(failureOf(refusal)->message,
              "\"../x?\" can't be used as the program's name: it holds control characters.");
}

TEST_F(PathInside, TrustsTheFolderItself) {
    fs::create_symlink(wrapper, home + "/alias");
    EXPECT_EQ(failureOf(pathInside(home + "/alias", "drive_c/x", Levels::many, "it")), nullptr);
    EXPECT_EQ(failureOf(pathInside(home + "/alias/", "dosdevices/c:/x", Levels::many, "it")), nullptr);
    EXPECT_NE(failureOf(pathInside(home + "/alias", "dosdevices/z:/x", Levels::many, "it")), nullptr);
}

TEST(NamePattern, TakesTheFirstFitForGood) {
    struct Row {
        const char *name, *pattern;
        bool matches;
    };
    for (const Row& row : std::initializer_list<Row>{
             {"SETUP.EXE", "setup.exe", true},
             {"setup.exe", "", true},
             {"setup.exe", "setup", false},
             {"Setup_v1.2.exe", "setup*.exe", true},
             {"setup.exe", "*", true},
             {"setup", "set*tup", true},
             {"asetup.exe", "setup*", false},
             {"setup.exe", "*.msi", false},
             {"abc", "a*b*c", true},
             {"abcbc", "a*b*c", false},
             {"xaxbx", "*a*b*", true},
             {"xaxb", "*a*b", true},
             {"xaxbx", "a*b*", false},
             {"abab", "*ab*ab", true},
             {"ababab", "*ab*ab", false},
             {"anything", "**", true},
             {"ÉCRAN.exe", "*écran*.exe", true},
             {"a", "a*b*", false},
         }) {
        EXPECT_EQ(NSValidInstallerDelegate::isPath(row.name, row.pattern), row.matches)
            << row.name << " against " << row.pattern;
    }
}

TEST_F(PathInside, InstallersAreChosenByNameAndKind) {
    put(home + "/Setup_1.EXE", "");
    put(home + "/setup_1.zip", "");
    const NSValidInstallerDelegate panel("setup*");
    EXPECT_TRUE(panel.shouldEnable(home + "/Setup_1.EXE"));
    EXPECT_FALSE(panel.shouldEnable(home + "/setup_1.zip"));
    EXPECT_FALSE(panel.shouldEnable(home + "/other.msi"));
    EXPECT_TRUE(panel.shouldEnable(home));
    EXPECT_TRUE(NSValidInstallerDelegate("").validate(home + "/any.bat"));
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
    EXPECT_EQ(found("disk1/*.EXE"), Paths{disc + "/Disk1/Install.exe"});
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
