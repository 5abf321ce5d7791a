#include "wrapper/windows_paths.h"

#include <filesystem>

#include "support/test_machine.h"

namespace morvane {
namespace {

using namespace NSUtilities;

class WindowsPaths : public testing::TestMachine {
  protected:
    WindowsPaths() {
        std::filesystem::create_directories(wrapper + "/Contents/Resources/dosdevices");
        drive("c", "../drive_c");
        drive("d", folder.path + "/disc/");
        drive("e", folder.path);
        drive("z", "/behind");
    }
    void drive(const std::string& letter, const std::string& destination) const {
        std::filesystem::create_symlink(destination,
                                        wrapper + "/Contents/Resources/dosdevices/" + letter + ":");
    }

    const std::string wrapper = home + "/Applications/Game.app";
    const std::string driveC = wrapper + "/Contents/Resources/drive_c";
};

TEST_F(WindowsPaths, LeadToHostPathsThroughTheDriveLinks) {
    const std::pair<const char*, std::optional<std::string>> rows[] = {
        {"C:\\Games\\A b\\Run.exe", driveC + "/Games/A b/Run.exe"},
        {"c:/Games//x", driveC + "/Games/x"},
        {"C?Games", driveC + "Games"},  // whatever stands in the colon's place is dropped
        {"D:\\setup.exe", folder.path + "/disc/setup.exe"},
        {"Z:\\usr\\bin", "/usr/bin"},
        {"z:\\usr", "/behind/usr"},
        {"C", std::nullopt},
        {"\xC3\xA9", std::nullopt},  // one character, two bytes
    };
    for (const auto& [path, hostPath] : rows)
        EXPECT_EQ(getMacPathForWindowsPath(path, wrapper), hostPath) << path;

    ui.expectError("Error while retrieving symbolic link destination: ");
    EXPECT_EQ(getMacPathForWindowsPath("Q:/a", wrapper), std::nullopt);
}

TEST(WindowsCommandLine, SplitsIntoProgramAndArguments) {
    struct Row {
        const char *line, *program, *flags;
    };
    const Row rows[] = {
        {"\"C:\\A b\\a.exe\" -x  \"C:\\s d\"", "C:/A b/a.exe", "-x  \"C:\\s d\""},
        {"\"C:\\a.exe", "C:/a.exe", ""},
        {"C:\\A b\\a.exe -x", "C:/A b/a.exe -x", ""},
        {"C:\\a.exe \"p q\" r", "C:/a.exe ", "p q\" r"},
        {"C:\\a.exe \" p", "C:/a.exe ", " p"},
        {"/usr/a.exe", "Z:/usr/a.exe", ""},
        {"game.exe \"a\"", "game.exe \"a\"", ""},
        {"\xC3\xA9\xC3\xA9", "", ""},  // two characters
    };
    for (const Row& row : rows) {
        EXPECT_EQ(getFileNameOfWindowsPath(row.line), row.program) << row.line;
        EXPECT_EQ(getFlagsOfWindowsPath(row.line), row.flags) << row.line;
    }
}

}  // namespace
}  // namespace morvane
