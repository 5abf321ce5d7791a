#include "ports/exe_selection.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "support/test_machine.h"

namespace morvane::NSExeSelection {
namespace {

using namespace std::string_literals;

/// UTF-16 of an 8-bit text.
std::string wide(const std::string& text) {
    std::string result;
    for (const char character : text) result += {character, '\0'};
    return result;
}

struct TextRow {
    std::string name, contents, expected;
};

TEST(ShortcutPath, IsFoundInEachReading) {
    const std::vector<TextRow> rows{
        {"whole", "L\0\0C:\\Games\\Foo\\foo.exe\0rest"s, "C:/Games/Foo/foo.exe"},
        {"the type as given", "C:\\Games\\FOO.EXE\0"s, "C:/Games/FOO.EXE"},
        {"lower case wins", "\0C:\\BIG.EXE\0D:\\small.exe"s, "D:/small.exe"},
        {"first of two", "\0C:\\a.exe\0D:\\b.exe"s, "C:/a.exe"},
        {"without its drive", "D:\\\0xx\0\\Games\\Foo\\foo.exe\0"s, "D:/Games/Foo/foo.exe"},
        {"after two dots", "E:\\\0..\\Games\\foo.exe\0"s, "E:/Games/foo.exe"},
        {"two dots without a separator", "\0..foo.exe\0"s, ""},
        {"skipped piece", ".exe.exe\0C:\\a.exe"s, "C:/a.exe"},
        {"wide", "\0\0"s + wide("C:\\Games\\foo.exe") + "\0\0"s, "C:/Games/foo.exe"},
        {"wide at an odd place", "x\0\0"s + wide("C:\\Games\\foo.exe") + "\0"s, "C:/Games/foo.exe"},
        {"the first character is never looked at", ":\\a.exe", ""},
        {"nothing", "no program here", ""},
        {"empty", "", ""},
    };
    for (const TextRow& row : rows)
        EXPECT_EQ(getLNKPathFromFileContents(row.contents, ".EXE"), row.expected) << row.name;
}

TEST(ShortcutFlags, FollowTheFolderOrTheRareLayout) {
    const std::string path = "C:/Games/Foo/foo.exe";
    const std::string key = "\\Games\\Foo";
    const std::vector<TextRow> rows{
        {"after a mark", "C:" + key + "\\foo.exe\0"s + key + "\x10-window -x|\0rest"s, "-window -x"},
        {"without the mark", key + "-window|\0"s, ""},
        {"without a NUL", key + "\x10-window|", ""},
        {"too short", key + "\x10|\0"s, ""},
        {"shortest", key + "\x10z|\0"s, "z"},
        {"wide", wide(key + "\x10-w|") + "\0\0"s, "-w"},
        {"rare", "C:\\Games\\Foo\\foo.exe" + "12"s + wide("a"s + '\0' + "q-rare"s + '\0'), "-rare"},
        {"rare, but the folder",
         "C:\\Games\\Foo\\foo.exe" + "12"s + wide("a"s + '\0' + "qC:\\Games\\Foo" + '\0'), ""},
        {"rare and empty", "C:\\Games\\Foo\\foo.exe12" + wide("a"s + '\0' + "q"), ""},
    };
    for (const TextRow& row : rows)
        EXPECT_EQ(getLNKFlagsFromFileContents(row.contents, path), row.expected) << row.name;
    EXPECT_EQ(getLNKFlagsFromFileContents("\x10-x|\0"s, ""), "");
    EXPECT_EQ(getLNKFlagsFromFileContents("\x10-x|\0"s, "C:/foo.exe"), "");
}

class Selection : public testing::TestMachine {
  public:
    Selection() : wrapper(home + "/Game.app"), drive(wrapper + "/Contents/Resources/drive_c") {
        put(drive + "/Games/game.exe", "MZ");
        link("c:", "../drive_c");
        put(wrapper + "/Contents/Resources/system.reg",
            "WINE REGISTRY Version 2\n\n[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1\n"
            "\"ProgramFilesDir (x86)\"=\"C:\\\\Program Files (x86)\"\n");
    }
    void link(const std::string& letter, const std::string& destination) {
        const std::string drives = wrapper + "/Contents/Resources/dosdevices";
        ASSERT_TRUE(files::createFolder(drives, true));
        ASSERT_TRUE(files::createSymbolicLink(drives + "/" + letter, destination));
    }
    const std::string wrapper, drive;
    const std::string steam = "\"C:\\Program Files (x86)\\Steam\\steam.exe\" ";
};

TEST_F(Selection, FollowsADesktopEntryToItsShortcut) {
    put(drive + "/users/Public/Desktop/My Game.lnk", "C:\\Games\\game.exe\0\\Games\x10-f|\0"s);
    const std::string entry =
        "Exec=env WINEPREFIX=\"/w\" wine C:\\\\\\\\windows\\\\\\\\command\\\\\\\\start.exe /Unix "
        "/somewhere/dosdevices/c:/users/Public/Desktop/My\\\\ Game.lnk\nType=Application\n";
    put(home + "/a.desktop", entry);
    EXPECT_EQ(selectAsMainExe(home + "/a.desktop", wrapper), "\"C:\\Games\\game.exe\" -f");
    put(home + "/outside.lnk", "C:\\x.exe");
    const std::pair<std::string, std::optional<std::string>> rows[] = {
        {entry, drive + "/users/Public/Desktop/My Game.lnk"},
        {"x /Unix " + drive + "/Games/game.exe\n", drive + "/Games/game.exe"},
        {"x /Unix " + drive + "/Games\n", std::nullopt},
        {"x /Unix /dosdevices/c:/../../../../outside.lnk\n", std::nullopt},
    };
    for (const auto& [contents, file] : rows)
        EXPECT_EQ(getLNKFileFromDESKTOPFileContents(contents, wrapper), file) << contents;
}

TEST_F(Selection, ReadsAutorunFiles) {
    const std::string disc = drive + "/disc";
    const std::vector<TextRow> rows{
        {"CR LF", "[autorun]\r\nicon=a.ico\r\nopen=setup.exe\r\n", "C:/disc/setup.exe"},
        {"bare line feed loses a character", "open=setup.exe\n", "C:/disc/setup.ex"},
        {"quotes and blanks", "open=  \"my setup.exe\"\r\n", "C:/disc/my setup.exe"},
        {"upper case", "OPEN=setup.exe\r\n", "C:/disc/setup.exe"},
        {"lower case wins", "OPEN=big.exe\r\nopen=small.exe\r\n", "C:/disc/small.exe"},
        {"another spelling", "Open=setup.exe\r\n", "C:/disc"},
        {"several are joined", "open=a\nopen=b.exe\r\n", "C:/disc/ab.exe"},
        {"a value on the next line", "open=\r\nsetup.exe\r\n", "C:/disc/setup.exe"},
    };
    for (const TextRow& row : rows) {
        put(disc + "/autorun.inf", row.contents);
        EXPECT_EQ(getAutorunPathFromFile(disc + "/autorun.inf", wrapper), row.expected) << row.name;
    }
    put(disc + "/autorun.inf", "open=sub\\setup.exe\r\n");
    EXPECT_EQ(pathByUpdatingPath(disc, wrapper), "C:/disc/sub\\setup.exe");
    EXPECT_EQ(selectAsMainExe(disc, wrapper), "\"C:\\disc\\sub\\setup.exe\" ");
    EXPECT_EQ(selectAsMainExe(disc + "/autorun.inf", wrapper), "\"C:\\disc\\sub\\setup.exe\" ");
    EXPECT_EQ(pathByUpdatingPath(drive + "/Games", wrapper), "C:/Games");
}

TEST_F(Selection, FindsTheProgramOfADisc) {
    const std::string disc = home + "/disc";
    put(disc + "/Setup.exe", "MZ");
    put(disc + "/Sub/Start.EXE", "MZ");
    put(home + "/outside.exe", "MZ");
    const std::pair<const char*, std::optional<std::string>> rows[] = {
        {"open=SETUP.EXE\r\n", disc + "/Setup.exe"},
        {"open=sub\\start.exe\r\n", disc + "/Sub/Start.EXE"},
        {"open=setup.exe\n", std::nullopt},
        {"open=set*.exe\r\n", disc + "/Setup.exe"},
        {"open=..\\outside.exe\r\n", std::nullopt},
        {"open=../outside.exe\r\n", std::nullopt},
        {"icon=x\r\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& [contents, expected] : rows) {
        put(disc + "/AUTORUN.INF", contents);
        EXPECT_EQ(autorunProgram(disc + "/AUTORUN.INF"), expected) << contents;
    }
}

}  // namespace
}  // namespace morvane::NSExeSelection
