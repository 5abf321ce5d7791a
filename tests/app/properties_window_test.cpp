#include "app/properties_window.h"

#include "building/launch_targets.h"
#include "platform/files.h"
#include "platform/pictures.h"
#include "platform/property_list.h"
#include "ports/port_data.h"
#include "ports/typed_stream.h"
#include "support/fake_wrapper.h"
#include "support/test_machine.h"
#include "wrapper/layout.h"
#include "wrapper/registry.h"

namespace morvane {
namespace {

using Type = NSPropertiesWindow::WindowType;

class Properties : public testing::TestMachine {
  protected:
    void SetUp() override {
        testing::makeFakeWrapperAt(wrapper, "CK9Wine1.9.10");
        set({{"CFBundleName", "The Game"},
             {"Program Name and Path", "/Games/Game.exe"},
             {"Program Flags", "-w \"a b\""},
             {"Use RandR", 0},
             {"Fullscreen", true},
             {"Resolution", "800x600x15sleep0"},
             {"kept", Data{"unknown"}}});
    }
    /// Sets keys of the item's settings file.
    void set(const Dictionary& keys) const {
        NSPortManager port = NSPortManager::managerWithPath(wrapper);
        for (const auto& [key, value] : keys) port.setPlistObject(value, key);
        ASSERT_TRUE(port.synchronizePlist());
    }
    [[nodiscard]] static Value setting(const std::string& plist, const std::string& key) {
        const auto settings = property_lists::read(plist);
        const Value* value = settings ? settings->as<Dictionary>()->find(key) : nullptr;
        return value != nullptr ? *value : Value();
    }
    [[nodiscard]] Value setting(const std::string& key) const {
        return setting(wrapper + layout::infoPlist, key);
    }
    void addKey(const std::string& header, const std::string& lines, const std::string& name) const {
        NSUtilities::addRegistry(header + "\n" + lines + "\n", name, wrapper);
    }
    [[nodiscard]] std::string lines(const std::string& header, const std::string& name) const {
        return NSUtilities::getRegistry(header, name, wrapper);
    }
    std::string makeLauncher(const std::string& name) const {
        std::string application = wrapper + "/" + name + ".app";
        EXPECT_TRUE(files::copy(wrapper + layout::customExeTemplate, application));
        createAliasToCustomEXE(application, Wrapper(wrapper));
        return application;
    }
    void open(const std::string& path) {
        const auto shown = window.setDataFromWrapperAtPath(path);
        ASSERT_TRUE(shown) << shown.error().message();
    }
    static StyledText text(const std::string& words) {
        return {words, {{.length = words.size(), .italic = true}}};
    }

    const std::string wrapper = home + "/Applications/Game.app";
    std::vector<std::string> library;
    NSPropertiesWindow window{
        {.changed = {},
         .refresh =
             [this](const std::string& path, CustomEXE isCustomEXE) {
                 library.push_back((isCustomEXE == CustomEXE::yes ? "refresh launcher " : "refresh ") + path);
             },
         .removeFromLibrary = [this](const std::string& path) { library.push_back("remove " + path); },
         .addToLibrary = [this](const std::string& path) { library.push_back("add " + path); },
         .reloadItem = [this](const std::string& path) { library.push_back("show " + path); }}};

    static constexpr const char* drivers = R"([Software\\Wine\\Drivers])";
    static constexpr const char* x11 = R"([Software\\Wine\\X11 Driver])";
    static constexpr const char* mac = R"([Software\\Wine\\Mac Driver])";
    static constexpr const char* fonts = R"([Software\\Wine\\Fonts])";
    static constexpr const char* substitutes =
        R"([Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes])";
    static constexpr const char* systemFonts =
        R"([System\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Fonts])";
};

TEST_F(Properties, ShowsAWrapperAndLeavesItAsItIsWhenNothingChanges) {
    open(wrapper);
    const auto& shown = window.shown();
    EXPECT_EQ(shown.name.text, "The Game");
    EXPECT_EQ(shown.version.text, "1.0");
    EXPECT_EQ(shown.run.text, "\"C:\\Games\\Game.exe\" -w \"a b\"");
    EXPECT_EQ(shown.windowType, Type::ofPort);
    EXPECT_TRUE(shown.windowTypeEnabled);
    EXPECT_TRUE(shown.wineSystemTray.on);
    EXPECT_FALSE(shown.helveticaNeueFont.on);
    EXPECT_FALSE(shown.highQualityMode.enabled);
    EXPECT_FALSE(window.switchHighQualityMode(true));

    const std::string user = get(wrapper + "/Contents/Resources/user.reg");
    const std::string settings = get(wrapper + layout::infoPlist) + " ";
    put(wrapper + layout::infoPlist, settings);
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(get(wrapper + layout::infoPlist), settings) << "not even anew";
    EXPECT_EQ(get(wrapper + "/Contents/Resources/user.reg"), user);
    EXPECT_EQ(files::kindOf(wrapper + layout::descriptionCkii), files::Kind::none);
    EXPECT_EQ(setting("Program Flags"), Value("-w \"a b\""));
    EXPECT_EQ(setting("kept"), Value(Data{"unknown"}));
    EXPECT_EQ(library, (std::vector<std::string>{"refresh " + wrapper, "show " + wrapper}));
}

TEST_F(Properties, LaunchOptionsAreTheItemsOwn) {
    const std::string launcher = makeLauncher("Editor");
    open(wrapper);
    EXPECT_TRUE(window.setVariable("DXVK_HUD", "fps"));
    EXPECT_TRUE(window.setVariable("GONE", "x"));
    EXPECT_TRUE(window.setVariable("GONE", std::nullopt));
    EXPECT_TRUE(window.typeCommandBefore("gamescope -f --"));
    for (const auto& refused : {window.setVariable("A=B", "x"), window.setVariable("WINEPREFIX", "/x"),
                                window.typeCommandBefore("'unended")})
        EXPECT_FALSE(refused);
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(setting("Morvane Environment"), Value(Dictionary{{"DXVK_HUD", "fps"}}));
    EXPECT_EQ(setting("Morvane Command Before"), Value("gamescope -f --"));
    EXPECT_EQ(setting("kept"), Value(Data{"unknown"}));

    open(launcher);
    EXPECT_EQ(window.shown().launch, LaunchOptions());
    EXPECT_TRUE(window.typeCommandBefore(""));
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(setting(launcher + layout::customExePlist, "Morvane Command Before"), Value(""));
    EXPECT_EQ(setting("Morvane Command Before"), Value("gamescope -f --"));
}

TEST_F(Properties, TheSandboxIsTheWrappers) {
    const std::string launcher = makeLauncher("Editor");
    open(wrapper);
    EXPECT_EQ(window.shown().sandbox, Sandbox::off);
    EXPECT_TRUE(window.chooseSandbox(Sandbox::strict));
    EXPECT_TRUE(window.isChanged());
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(setting("Morvane Sandbox"), Value("strict"));
    EXPECT_EQ(setting("kept"), Value(Data{"unknown"}));

    open(launcher);
    EXPECT_EQ(window.shown().sandbox, Sandbox::strict);
    EXPECT_FALSE(window.chooseSandbox(Sandbox::off));
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(setting("Morvane Sandbox"), Value("strict"));
}

TEST_F(Properties, AWindowSavesInTheBackground) {
    open(wrapper);
    EXPECT_FALSE(window.isChanged());
    window.typeName("New");
    EXPECT_TRUE(window.isChanged());
    using enum NSPropertiesWindow::Closing;
    for (const auto& [button, becomes] :
         {std::pair("Save", save), {"Don't Save", discard}, {"Cancel", stay}}) {
        ui.expect("You have changed the properties of The Game.").answer(button).defaultIs("Save");
        EXPECT_EQ(window.closing(), becomes);
    }
    std::vector<bool> ended;
    for (int clicks = 0; clicks < 2; ++clicks) window.save([&](bool saved) { ended.push_back(saved); });
    EXPECT_TRUE(window.isSaving());
    EXPECT_FALSE(window.typeName("Newer"));
    EXPECT_FALSE(window.switchFunctionKeys(true));
    machine->mainQueue.runUntil([&] { return !ended.empty(); });
    EXPECT_EQ(ended, std::vector<bool>{true});
    EXPECT_EQ(setting("CFBundleName"), Value("New"));
    EXPECT_FALSE(window.isSaving());
    EXPECT_FALSE(window.isChanged());
    EXPECT_EQ(library, (std::vector<std::string>{"refresh " + wrapper, "show " + wrapper}));

    // One that is closed meanwhile: what was begun is ended, and its end told.
    auto closed = std::make_unique<NSPropertiesWindow>();
    ASSERT_TRUE(closed->setDataFromWrapperAtPath(wrapper));
    closed->typeVersion("9");
    closed->save([&](bool saved) { ended.push_back(saved); });
    closed.reset();
    machine->mainQueue.runUntil([&] { return ended.size() == 2; });
    EXPECT_EQ(setting("CFBundleShortVersionString"), Value("9"));
}

TEST_F(Properties, RunCommands) {
    struct Row {
        const char* typed;
        const char* program;
        int start;
        const char* flags;
        const char* batch;  // of the name "The Game"
    };
    const Row rows[] = {
        {"\"C:\\New\\Go.EXE\" -x \"y z\"", "/New/Go.EXE", 0, "-x \"y z\"", nullptr},
        {"C:/setup.msi", "/setup.msi", 1, "", nullptr},
        {"\"D:\\Go.exe\" -x", "/execThe Game.bat", 1, "-w \"a b\"", "\"D:\\Go.exe\" -x"},
        {"c:/go.exe", "/execThe Game.bat", 1, "-w \"a b\"", "c:/go.exe"},
        {"", "/Games/Game.exe", -1, "-w \"a b\"", nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.typed);
        set({{"Program Name and Path", "/Games/Game.exe"},
             {"Program Flags", "-w \"a b\""},
             {"use start.exe", -1}});
        open(wrapper);
        window.typeRunCommand(row.typed);
        EXPECT_TRUE(window.saveDataToWrapper());
        EXPECT_EQ(setting("Program Name and Path"), Value(row.program));
        EXPECT_EQ(setting("use start.exe"), Value(row.start));
        EXPECT_EQ(setting("Program Flags"), Value(row.flags));
        if (row.batch != nullptr) {
            EXPECT_EQ(get(wrapper + layout::driveC + "/execThe Game.bat"), row.batch);
            EXPECT_EQ(window.shown().run.text, row.batch);
        }
    }
    put(wrapper + layout::driveC + "/a.bat", "cd x\ngo.exe");
    set({{"Program Name and Path", "/a.bat"}});
    open(wrapper);
    EXPECT_EQ(window.shown().run.text, "cd x & go.exe");
    set({{"Program Name and Path", ""}});
    open(wrapper);
    EXPECT_FALSE(window.typeRunCommand("C:/a.exe"));
}

TEST_F(Properties, ABatchFileThatCannotBeWrittenLeavesTheProgram) {
    open(wrapper);
    put(wrapper + layout::driveC + "/exec" + window.shown().name.text + ".bat/a folder", "");
    window.typeRunCommand("D:\\Spiel über.exe");
    ui.expectError("Error while writting file: ");
    EXPECT_FALSE(window.saveDataToWrapper());
    EXPECT_EQ(setting("Program Name and Path"), Value("/Games/Game.exe"));
}

TEST_F(Properties, RegistryOptionsAreWrittenWhenTheyChange) {
    addKey(x11, "\"Decorated\"=\"Y\"\n\"ShowSystray\"=\"N\"", "user");
    addKey(drivers, "\"Graphics\"=\"mac\"", "user");
    addKey(substitutes, "\"Arial\"=\"x\"\n\"MS Shell Dlg\"=\"Tahoma\"", "system");
    open(wrapper);
    EXPECT_FALSE(window.shown().wineSystemTray.on);
    EXPECT_FALSE(window.chooseWindowType(Type::fakeWindowed));
    window.switchWineSystemTray(true);
    window.switchHighQualityMode(true);
    window.switchHelveticaNeueFont(true);
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(lines(x11, "user"), "\"Decorated\"=\"Y\"\n\"ShowSystray\"=\"Y\"");
    EXPECT_EQ(lines(mac, "user"), "\"RetinaMode\"=\"Y\"");
    EXPECT_EQ(lines(substitutes, "system"),
              "\"MS Shell Dlg 2\"=\"Helvetica Neue Medium\"\n\"Arial\"=\"x\"\n"
              "\"MS Shell Dlg\"=\"Helvetica Neue Medium\"");
    EXPECT_EQ(lines(systemFonts, "system"), "\"LogPixels\"=dword:00000069");
    EXPECT_EQ(lines(fonts, "user"), "\"LogPixels\"=dword:00000069");
    EXPECT_TRUE(window.shown().highQualityMode.on);

    window.switchHelveticaNeueFont(false);
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(NSUtilities::getStringValueForKey("MS Shell Dlg", lines(substitutes, "system")), "Tahoma");
    EXPECT_EQ(NSUtilities::getStringValueForKey("MS Shell Dlg 2", lines(substitutes, "system")), "Tahoma");
    EXPECT_EQ(NSUtilities::getValueForKey("LogPixels", lines(systemFonts, "system")), "dword:00000060");
    EXPECT_EQ(NSUtilities::getValueForKey("LogPixels", lines(fonts, "user")), "dword:00000060");
}

TEST_F(Properties, FakeScreenModesAndBack) {
    struct Row {
        int randr;
        bool fullscreen;
        const char* resolution;
        const char* faked;
        const char* restored;
    };
    const Row rows[] = {
        {0, true, "800x600x15sleep0", "Current Resolutionx15sleep0", "800x600x15sleep0"},
        {0, false, "640x480x8sleep0", "Current Resolutionx8sleep0", "640x480x8sleep0"},
        {1, false, "novdx24sleep0", "Current Resolutionx24sleep0", "novdx24sleep0"},
        {1, false, "640x480x8sleep0", "Current Resolutionx8sleep0", "novdx8sleep0"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.resolution);
        set({{"Use RandR", row.randr}, {"Fullscreen", row.fullscreen}, {"Resolution", row.resolution}});
        open(wrapper);
        window.chooseWindowType(Type::fakeWindowed);
        EXPECT_TRUE(window.saveDataToWrapper());
        EXPECT_EQ(setting("Resolution"), Value(row.faked));
        EXPECT_EQ(setting("Fullscreen"), Value(false));
        EXPECT_EQ(setting("OriginalResolution"),
                  Value(std::to_string(row.randr) + (row.fullscreen ? "1" : "0") + row.resolution));
        window.chooseWindowType(Type::fakeFullScreen);
        EXPECT_TRUE(window.saveDataToWrapper());
        EXPECT_EQ(window.shown().windowType, Type::fakeFullScreen);
        window.chooseWindowType(Type::ofPort);
        EXPECT_TRUE(window.saveDataToWrapper());
        EXPECT_EQ(setting("Use RandR"), Value(row.randr));
        const Value fullscreen = setting("Fullscreen");
        EXPECT_EQ(isFlagSet(&fullscreen), row.fullscreen);
        EXPECT_EQ(setting("Resolution"), Value(row.restored));
        EXPECT_TRUE(setting("OriginalResolution").isNull());
    }
}

TEST_F(Properties, TheDescriptionIsRewrittenInWhiteBesideItsOtherKeys) {
    const std::string file = wrapper + layout::descriptionCkii;
    put(file, *typed_stream::archive(Dictionary{
                  {"ID", 12}, {"Description", text("old")}, {"Steam Link", "http://a/"}, {"new", Array{1}}}));
    open(wrapper);
    EXPECT_EQ(window.shown().description.text, "old");
    window.editDescription(text("now"));
    EXPECT_TRUE(window.saveDataToWrapper());
    const auto loaded = NSUtilities::loadArchivedObjectFromFile(file, "CKII");
    const auto* root = loaded->as<Dictionary>();
    EXPECT_EQ(*root->get<std::int64_t>("ID"), 12);
    EXPECT_EQ(*root->find("new"), Value(Array{1}));
    const auto* description = root->get<StyledText>("Description");
    EXPECT_EQ(description->text, "now");
    EXPECT_TRUE(description->runs.at(0).italic);
    EXPECT_TRUE(description->runs.at(0).white);

    put(file, "no archive");
    open(wrapper);
    window.editDescription(text("third"));
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(window.shown().description.text, "third");
    EXPECT_EQ(get(file + ".damaged"), "no archive");
}

TEST_F(Properties, ARenamedLauncherTakesItsLinkAlong) {
    const std::string old = makeLauncher("Editor"), now = wrapper + "/Map Editor.app";
    const std::string folderOfLinks = home + "/Applications";
    open(folderOfLinks + "/Editor.app");
    EXPECT_EQ(window.kind(), NSPropertiesWindow::Kind::customEXE);
    EXPECT_EQ(window.wrapperPath(), old);
    EXPECT_EQ(window.mainWrapperPath(), wrapper);
    EXPECT_EQ(window.shown().name.text, "Editor");
    window.typeName("Map Editor");
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_EQ(setting(now + layout::customExePlist, "CFBundleName"), Value("Map Editor"));
    EXPECT_EQ(*files::destinationOfLink(folderOfLinks + "/Map Editor.app"), "Game.app/Map Editor.app");
    EXPECT_EQ(files::kindOf(folderOfLinks + "/Editor.app"), files::Kind::none);
    EXPECT_EQ(library, (std::vector<std::string>{"remove " + old, "add " + now, "show " + now}));
}

TEST_F(Properties, ARenameLeavesALinkOfSomebodyElse) {
    const std::string editor = makeLauncher("Editor"), link = home + "/Applications/Editor.app";
    for (const std::string& destination : {std::string("Other.app/Editor.app"), home}) {
        ASSERT_TRUE(files::remove(link));
        ASSERT_TRUE(files::createSymbolicLink(link, destination));
        open(files::kindOf(editor) == files::Kind::none ? wrapper + "/New.app" : editor);
        window.typeName(files::kindOf(editor) == files::Kind::none ? "Editor" : "New");
        EXPECT_TRUE(window.saveDataToWrapper());
        EXPECT_EQ(files::destinationOfLink(link).value_or(""), destination);
    }
}

TEST_F(Properties, NamesThatCannotBeAreRefused) {
    struct Row {
        const char* name;
        const char* message;
        bool otherSettingsSaved;
    };
    const std::string editor = makeLauncher("Editor");
    makeLauncher("Other");
    const Row rows[] = {
        {"Other", "There is already an app with that name in the same folder! The app couldn't be renamed!",
         true},
        {"Caskery", "There is already an app with that name in the same folder! The app couldn't be renamed!",
         true},
        {"../../Evil", "\"../../Evil.app\" can't be used as the name", false},
        {"a/b", "\"a/b.app\" can't be used as the name", false},
        {"a\nb", "\"a?b.app\" can't be used as the name", false},
        {"", "\"\" can't be used as the name", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        NSPortManager port = NSPortManager::managerWithCustomExePath(editor);
        port.setPlistObject(Value("1"), "CFBundleShortVersionString");
        ASSERT_TRUE(port.synchronizePlist());
        open(editor);
        window.typeVersion("9");
        window.typeName(row.name);
        ui.expectError(row.message);
        EXPECT_FALSE(window.saveDataToWrapper());
        EXPECT_EQ(setting(editor + layout::customExePlist, "CFBundleShortVersionString"),
                  Value(row.otherSettingsSaved ? "9" : "1"));
        EXPECT_EQ(files::kindOf(editor), files::Kind::folder);
    }
    open(wrapper);
    window.typeName("../x");
    ui.expectError("\"../x\" can't be used as the name");
    EXPECT_FALSE(window.saveDataToWrapper());
    EXPECT_FALSE(window.setDataFromWrapperAtPath(home + "/Applications/None.app"));
}

TEST_F(Properties, ARunningWrapperIsStoppedBeforeItsRegistryIsWritten) {
    for (const char* name : {"killall", "launchctl"}) scriptProgram(name, "");
    const std::string log = folder.path + "/killed";
    scriptProgram("kill", "echo \"$@\" >> '" + log + "'");
    scriptProgram("ps", "echo '99999999 ?  S  0:00 " + wrapper + "/Contents/x.exe'");
    const std::string question = "Game.app is running, and would undo the changes when it ends.";
    open(wrapper);
    window.typeName("New");
    EXPECT_TRUE(window.saveDataToWrapper()) << "the settings file is nobody else's";

    window.switchWineSystemTray(false);
    window.typeName("Newer");
    ui.expect(question).titleIs("App Running").defaultIs("Cancel").answer("Cancel");
    EXPECT_FALSE(window.saveDataToWrapper());
    EXPECT_TRUE(window.isSaveCancelled());
    EXPECT_EQ(setting("CFBundleName"), Value("New"));
    EXPECT_EQ(files::kindOf(log), files::Kind::none);

    ui.expect(question).answer("Stop and Save");
    EXPECT_TRUE(window.saveDataToWrapper());
    EXPECT_FALSE(window.isSaveCancelled());
    EXPECT_EQ(get(log), "-9 99999999\n");
    EXPECT_EQ(lines(x11, "user"), "\"ShowSystray\"=\"N\"");
}

TEST(HighQualityMode, NeedsAnEngineThatKnowsIt) {
    struct Row {
        const char* engine;
        bool compatible;
    };
    const Row rows[] = {{"CK9Wine1.9.10", true},  {"CK9Wine1.9.9", false},     {"CK9Wine1.9", false},
                        {"CK9Wine1.10", true},    {"CK9Wine1.8.50", false},    {"CK9Wine2.0", true},
                        {"CK9WineCX19.0", false}, {"CK9WineCXG13.2.1", false}, {"CK9Wine", true}};
    for (const Row& row : rows)
        EXPECT_EQ(isHighQualityModeCompatibleWithEngine(row.engine), row.compatible) << row.engine;
    EXPECT_TRUE(isHighQualityModeCompatibleWithEngine(std::nullopt));
}

}  // namespace
}  // namespace morvane
