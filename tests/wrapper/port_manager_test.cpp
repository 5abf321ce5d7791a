#include "wrapper/port_manager.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "foundation/file_manager.h"
#include "platform/property_list.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

class PortManager : public testing::TestMachine {
  protected:
    void save(const std::string& path, const Dictionary& settings) const {
        put(path, "");
        ASSERT_TRUE(property_lists::write(path, settings));
    }
    std::string names(const std::string& path) const {
        std::string keys;
        const std::optional<Value> settings = property_lists::read(path);
        if (!settings) return "none";
        for (const auto& entry : *settings->as<Dictionary>()) keys += entry.key + " ";
        return keys;
    }

    const std::string wrapper = home + "/Applications/Game.app";
    const std::string info = wrapper + layout::infoPlist;
};

TEST_F(PortManager, KeepsUnknownKeysAndTheirOrder) {
    save(info, {{"Unknown", Array{1, "a"}}, {"Fullscreen", true}, {"Program Flags", "-x"}});
    save(wrapper + layout::x11Plist, {{"option_sends_alt", false}, {"other", 1}});
    NSPortManager manager = NSPortManager::managerWithPath(wrapper);
    manager.set(wrapper_keys::fullscreen, std::nullopt);
    manager.set(wrapper_keys::programFlags, "-y");
    manager.set(wrapper_keys::useStart, true);
    EXPECT_EQ(names(info), "Unknown Fullscreen Program Flags ") << "nothing is written before";
    EXPECT_TRUE(manager.synchronizePlist());
    EXPECT_EQ(names(info), "Unknown Program Flags use start.exe ");
    manager.set(wrapper_keys::optionSendsAlt, true);
    EXPECT_TRUE(manager.synchronizeX11Plist());

    const NSPortManager again = NSPortManager::managerWithPath(wrapper);
    EXPECT_EQ(again.get(wrapper_keys::programFlags), "-y");
    EXPECT_EQ(*again.plistObjectForKey("use start.exe"), Value(1)) << "the launcher's own form";
    EXPECT_TRUE(again.get(wrapper_keys::optionSendsAlt));
    EXPECT_EQ(again.get(wrapper_keys::bundleShortVersion), "1.0") << "missing";
    EXPECT_EQ(again.find(wrapper_keys::bundleShortVersion), std::nullopt);
}

TEST_F(PortManager, WithoutAReadableFileNothingIsWritten) {
    for (const char* contents : {"", "no property list", "<plist><string>text</string></plist>"}) {
        put(info, contents);
        NSPortManager manager = NSPortManager::managerWithPath(wrapper);
        manager.set(wrapper_keys::bundleName, "x");
        EXPECT_EQ(manager.find(wrapper_keys::bundleName), std::nullopt);
        EXPECT_TRUE(manager.synchronizePlist());
        EXPECT_EQ(get(info), contents);
    }
    NSPortManager missing = NSPortManager::managerWithPath(home + "/None.app");
    missing.set(wrapper_keys::bundleName, "x");
    EXPECT_TRUE(missing.synchronizePlist());
    EXPECT_FALSE(MVFileManager::fileExistsAtPath(home + "/None.app"));
}

TEST_F(PortManager, ItemsAreToldApartByWhatTheyHold) {
    using Kind = LibraryItem::Kind;
    put(Wrapper(wrapper).launcher(), "");
    put(wrapper + "/Editor.app" + layout::customExeMark, "");
    put(wrapper + "/Caskery.app/Contents/MacOS/Caskery", "");
    put(home + "/Old.app/Contents/Frameworks/bin/Caskery", "");
    put(home + "/Game.boxer/Game Info.plist", "");
    const struct {
        const char* path;
        Kind kind;
        const char* settings;
    } rows[] = {{"/Applications/Game.app/", Kind::wrapper, "/Contents/Info.plist"},
                {"/Applications/Game.app/Editor.app", Kind::customEXE, "/Contents/Info.plist.cexe"},
                {"/Applications/Game.app/Caskery.app", Kind::application, "/Contents/Info.plist"},
                {"/Old.app", Kind::wrapper, "/Contents/Info.plist"},
                {"/Game.boxer", Kind::boxerGame, "/Game Info.plist"},
                {"/none.app", Kind::application, "/Contents/Info.plist"}};
    for (const auto& row : rows) {
        const LibraryItem item(home + row.path);
        EXPECT_EQ(item.kind(), row.kind) << row.path;
        EXPECT_EQ(item.settingsFile(), item.path() + row.settings) << row.path;
    }
    EXPECT_EQ(LibraryItem(wrapper + "/Editor.app").wrapper(), Wrapper(wrapper));
}

// The wrapper's command tool, standing in for one that runs Wine: it logs its arguments and the batch file's
// text.
class RunEXE : public testing::TestMachine {
  protected:
    RunEXE() {
        put(wrapper + "/Contents/Frameworks/bin/Caskery",
            "#!/bin/sh\nprintf '%s|' \"$@\" >> \"$0.log\"\n[ -f \"$2\" ] && cat \"$2\" >> \"$0.log\"\nexit "
            "3\n",
            true);
        std::filesystem::create_directories(driveC);
        std::filesystem::create_directories(wrapper + "/Contents/Resources/dosdevices");
        std::filesystem::create_symlink("../drive_c", wrapper + "/Contents/Resources/dosdevices/c:");
    }
    std::string run(const std::string& program, const std::string& flags) {
        std::filesystem::remove(log);
        onWorker([&] { EXPECT_TRUE(NSPortManager::managerWithPath(wrapper).runEXE(program, flags)); });
        return MVFileManager::fileExistsAtPath(log) ? get(log) : "not run";
    }

    const std::string wrapper = home + "/Applications/Game.app";
    const std::string driveC = wrapper + layout::driveC;
    const std::string log = wrapper + "/Contents/Frameworks/bin/Caskery.log";
};

TEST_F(RunEXE, KeepsAFileThatHasTheBatchFilesName) {
    put(driveC + "/setup.bat", "the game's own");
    EXPECT_EQ(run(driveC + "/setup.bat", ""),
              "CKS-installer|" + driveC + "/setup 2.bat|start \"C:\\setup.bat\" ");
    EXPECT_EQ(get(driveC + "/setup.bat"), "the game's own");
}

TEST_F(RunEXE, RefusesNamesThatWouldAddCommands) {
    for (const char* program : {"/Games/a\ndel.exe", "/Games/a\" & del \".exe", "/x\r/a.exe"}) {
        ui.expectError("");
        EXPECT_EQ(run(driveC + program, ""), "not run") << program;
    }
    EXPECT_TRUE(std::filesystem::is_empty(driveC));
}

class Icon : public testing::TestMachine {
  protected:
    Icon() { std::filesystem::create_directories(resources); }
    void setIcon(const std::string& name, const std::optional<ImageData>& image) {
        NSPortManager manager;
        manager.path = wrapper;
        manager.plist = Dictionary{{"CFBundleIconFile", name}};
        onWorker([&] { manager.setIconWithImage(image); });
    }
    static ImageData picture(int width, int height) {
        const auto bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
        return {pictures::encodePng({width, height, std::vector<std::uint8_t>(bytes, 200)}), 0, 0};
    }
    std::vector<std::string> left() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(resources))
            names.push_back(entry.path().filename());
        return names;
    }

    const std::string wrapper = home + "/Applications/Game.app";
    const std::string resources = wrapper + layout::resources;
    // Keeps the icon set for the test to look at, and writes the icon beside it.
    const std::string writer = "cp -r \"$3\" \"$0.set\"; echo \"$1 $2 $3\" > \"${3%.iconset}.icns\"";
};

/// Both the scaling and the icon file, as another program's filter and another reader see them.
TEST_F(Icon, IsTheOneThatOtherProgramsMakeAndRead) {
    // Its edges do not overshoot the range of a byte, where the other filter cuts between its two passes.
    Picture picture{700, 350, {}};
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            for (const int channel :
                 {60 + (x + 3 * y) % 130, x / 4 + y / 7, 60 + (x / 40 + y / 30) % 2 * 130, 255})
                picture.rgba.push_back(static_cast<std::uint8_t>(channel));
        }
    }
    put(home + "/picture.png", pictures::encodePng(picture));
    const std::string custom = wrapper + "/Tool.app";
    std::filesystem::create_directories(custom + layout::resources);
    put(custom + layout::customExePlist,
        "<plist version=\"1.0\"><dict><key>CFBundleIconFile</key><string>tool</string></dict></plist>");
    onWorker([&] {
        const NSPortManager manager = NSPortManager::managerWithCustomExePath(custom);
        EXPECT_TRUE(manager.setIconWithImage(ImageData{get(home + "/picture.png"), 0, 0}));
    });
    const std::string icon = custom + layout::resources + "/tool.icns";
    EXPECT_EQ(pictures::sizeOf(get(icon))->width, 1024);
    testing::runTool(home, {"/usr/bin/icns2png", "-x", "-o", ".", icon});
    testing::runTool(home,
                     {"/usr/bin/convert", "picture.png", "-filter", "Lanczos", "-resize", "256x", "-gravity",
                      "center", "-background", "none", "-extent", "256x256", "-depth", "8", "expected.png"});
    const auto found = pictures::decode(get(home + "/tool_256x256x32.png"));
    const auto expected = pictures::decode(get(home + "/expected.png"));
    ASSERT_TRUE(found && expected && found->rgba.size() == expected->rgba.size());
    int worst = 0;
    for (std::size_t i = 0; i < found->rgba.size(); ++i) {
        if (expected->rgba[i | 3U] != 0)
            worst = std::max(worst, std::abs(found->rgba[i] - expected->rgba[i]));
    }
    EXPECT_LE(worst, 2);
}

TEST_F(Icon, SetHoldsEverySizeAndItsDoubleUpToTheLargestThatIsStored) {
    scriptProgram("iconutil", writer);
    setIcon("game", picture(1024, 1024));
    std::map<std::string, int> widths, expected{{"icon_1024x1024.png", 1024}};
    for (const int edge : {16, 32, 64, 128, 256, 512}) {
        const std::string name = "icon_" + std::to_string(edge) + "x" + std::to_string(edge);
        expected[name + ".png"] = edge;
        expected[name + "@2x.png"] = 2 * edge;
    }
    for (const auto& file : std::filesystem::directory_iterator(programsFolder + "/iconutil.set"))
        widths[file.path().filename()] = pictures::sizeOf(get(file.path()))->width;
    EXPECT_EQ(widths, expected);
}

TEST_F(Icon, StaysWhenNoNewOneComesOut) {
    put(resources + "/game.icns", "old");
    for (const char* failing : {"exit 1", ": > \"${3%.iconset}.icns\""}) {
        scriptProgram("iconutil", failing);
        setIcon("game.icns", picture(64, 1));
        EXPECT_EQ(get(resources + "/game.icns"), "old") << failing;
        EXPECT_EQ(left(), std::vector<std::string>{"game.icns"});
    }
    std::filesystem::rename(resources + "/game.icns",
                            resources + "/game.icns.previous");  // as a kill leaves it
    setIcon("game.icns", picture(64, 1));
    EXPECT_EQ(get(resources + "/game.icns"), "old");

    scriptProgram("iconutil", writer);
    setIcon("game", std::nullopt);
    setIcon("game", ImageData{"no picture", 0, 0});
    setIcon("", picture(64, 1));
    EXPECT_EQ(left(), std::vector<std::string>{"game.icns"});
    EXPECT_EQ(get(resources + "/game.icns"), "old");
}

TEST_F(Icon, NeverLeavesTheResources) {
    scriptProgram("iconutil", writer);
    put(wrapper + "/Contents/other.icns", "foreign");
    put(home + "/target/file", "foreign");
    ui.expectError("");
    setIcon("../other", picture(64, 1));
    EXPECT_EQ(get(wrapper + "/Contents/other.icns"), "foreign");
    std::filesystem::create_symlink(home + "/target", resources + "/game.iconset");
    ui.expectError("");
    setIcon("game", picture(64, 1));
    EXPECT_EQ(get(home + "/target/file"), "foreign");
}

}  // namespace
}  // namespace morvane
