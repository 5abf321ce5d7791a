// Recipes of strangers, each with what must happen. Whatever they say, nothing but the wrapper changes.
#include "hostile/hostile_machine.h"
#include "platform/pictures.h"

namespace morvane {
namespace {

enum class End { built, refused };

struct Recipe {
    const char* name;
    Dictionary keys;
    End end = End::built;
    /// Parts of what the user is told. With nothing here, nothing is said.
    std::vector<std::string> told = {};
};

Dictionary program(const std::string& name, const std::string& path, bool isMain = true) {
    Dictionary program{{"name", name}, {"path", path}};
    if (isMain) program.set("main", "X");
    return program;
}

Dictionary listOf(const char* key, Dictionary entry) {
    return {{key, Array{std::move(entry)}}};
}

Dictionary launcher(const std::string& name) {
    return {{"EXEs", Array{program("Game", "C:/Game/game.exe"), program(name, "C:/Game/game.exe", false)}}};
}
Dictionary mainProgram(const std::string& path) {
    return listOf("EXEs", program("Game", path));
}
Dictionary drive(const std::string& name, const std::string& place, const std::string& type = "hd") {
    return listOf("Drives", {{"name", name}, {"place", place}, {"typeName", type}});
}
Dictionary extension(const std::string& app, const std::string& func = "C:/Game/game.exe") {
    return listOf("Extensions", {{"app", app}, {"func", func}});
}
Dictionary menu(const std::string& name) {
    return listOf("WrapperMenu", {{"name", name}, {"type", "App"}, {"desc", "true"}});
}
Dictionary extraFile(const std::string& origin, const std::string& destiny, bool runs = false) {
    return listOf("Before Extra Files", {{"origin", origin}, {"destiny", destiny}, {"autorun", runs}});
}
Dictionary overrides(const std::string& text) {
    return {{"Overrides", Array{text}}};
}
Dictionary components(const std::string& request) {
    return {{"Winetricks", Array{request}}};
}
Dictionary installer(const std::string& name) {
    return {{"Original Installer Needed", true}, {"Original Installer Name", name}};
}

const std::string nul("\0", 1);

class HostileRecipes : public testing::HostileMachine {
  protected:
    /// A file of a game that is there, but for these keys.
    std::string hostile(const Dictionary& keys) {
        Dictionary all = mainProgram("C:/Game/game.exe");
        all.set("Engine", "CK9Wine3.0");
        for (const auto& [key, value] : keys) all.set(key, value);
        return cki(all);
    }
    void expectEnds(const std::vector<Recipe>& recipes, const Names& alsoChanged = {}) {
        for (const Recipe& recipe : recipes) {
            SCOPED_TRACE(recipe.name);
            const bool built = builds(hostile(recipe.keys), alsoChanged);
            EXPECT_EQ(built, recipe.end == End::built) << allTold();
            EXPECT_EQ(exists(wrapper), built);
            for (const std::string& told : recipe.told)
                EXPECT_TRUE(wasTold(told)) << told << "\n" << allTold();
            EXPECT_TRUE(!recipe.told.empty() || ui.dialogs.empty()) << allTold();
            if (built) expectOwnLinksOnly();
            fs::remove_all(wrapper);
        }
    }
    /// No link of the wrapper leads out of it, but for drives that the port has named.
    void expectOwnLinksOnly() const {
        const Names drives{"d:", "z:", "drive_d"};
        for (const auto& entry : fs::recursive_directory_iterator(wrapper)) {
            if (!entry.is_symlink()) continue;
            const std::string name = entry.path().filename().string();
            if (std::ranges::find(drives, name) != drives.end()) continue;
            EXPECT_TRUE(fs::weakly_canonical(entry.path()).string().starts_with(wrapper)) << entry.path();
        }
    }
};

TEST_F(HostileRecipes, NamesAndPathsStayWhereTheyBelong) {
    const std::string refusedName = "the name of a program", refusedPath = "the path of a program";
    expectEnds({
        {"a launcher that climbs", launcher("../../Evil"), End::built, {refusedName}},
        {"a launcher of an absolute path", launcher("/etc/evil"), End::built, {refusedName}},
        {"a launcher with NUL", launcher("Evil" + nul + "x"), End::built, {refusedName}},
        {"a launcher with a line break", launcher("Evil\nx"), End::built, {refusedName}},
        {"a launcher of a long name", launcher(std::string(300, 'n')), End::built, {refusedName}},
        {"the wrapper's own tool", launcher("Caskery"), End::built, {refusedName}},
        {"no name", launcher(""), End::built, {refusedName}},
        {"a program that climbs", mainProgram("C:/../../../../../secret.exe"), End::built, {refusedPath}},
        {"a program that climbs with backslashes",
         mainProgram("C:\\..\\..\\secret.exe"),
         End::built,
         {refusedPath}},
        {"a program with NUL", mainProgram("C:/Game/game.exe" + nul + "/x"), End::built, {refusedPath}},
        {"a pattern that climbs", mainProgram("C:/*/../../secret.exe"), End::built, {refusedPath}},
        {"a drive that is none", mainProgram("1:/Game/game.exe")},
        {"no drive", mainProgram("/etc/passwd")},
        {"a share", mainProgram("\\\\server\\share\\game.exe")},
        {"an option for a program", mainProgram("-h")},
        {"an empty path", mainProgram("")},
        {"a menu entry that climbs", menu("../../../Evil"), End::built, {"the title of a menu entry"}},
        {"a menu entry with NUL", menu("Evil" + nul), End::built, {"the title of a menu entry"}},
        {"a menu entry with a line break", menu("a\nb"), End::built, {"the title of a menu entry"}},
        {"a menu entry of a long name",
         menu(std::string(300, 'm')),
         End::built,
         {"the title of a menu entry"}},
    });
}

TEST_F(HostileRecipes, DrivesEndingsAndTheRegistryAreWhatTheySay) {
    const std::string letter = "a drive letter", place = "the place of a drive", type = "the type of a drive",
                      ending = "a file extension", lines = "the registry lines of a key";
    expectEnds({
        {"a drive beyond Z", drive("[", "../drive_d"), End::built, {letter}},
        {"a drive of two letters", drive("dd", "../drive_d"), End::built, {letter}},
        {"a drive without a letter", drive("", "../drive_d"), End::built, {letter}},
        {"a drive called ..", drive("..", "../drive_d"), End::built, {letter}},
        {"a drive of a foreign letter", drive("ß", "../drive_d"), End::built, {letter}},
        {"drive C outside", drive("C", "/"), End::built, {place}},
        {"drive C that climbs", drive("C", "../../../../Other.app"), End::built, {place}},
        {"a drive that climbs", drive("D", "../../../../../Documents"), End::built, {place}},
        {"a drive that climbs later", drive("D", "../drive_d/../../../../x"), End::built, {place}},
        {"a place with a line break", drive("D", "../a\nb"), End::built, {place}},
        {"a place with NUL", drive("D", "../a" + nul), End::built, {place}},
        {"a place that is a name", drive("D", "drive_d"), End::built, {place}},
        {"an empty place", drive("D", ""), End::built, {place}},
        {"a folder of the user's", drive("D", home + "/Documents")},
        {"a folder that is not there", drive("D", home + "/Nothing")},
        {"a type that is lines", drive("D", "../drive_d", "hd\"\n[Software]\n\"x\"=\"y"), End::built, {type}},
        {"an ending with a folder", extension("a/b"), End::built, {ending}},
        {"an ending with a backslash", extension("a\\b"), End::built, {ending}},
        {"an ending with a key", extension("a]\n[Software\\\\x"), End::built, {ending}},
        {"an ending with NUL", extension("a" + nul), End::built, {ending}},
        {"an empty ending", extension(""), End::built, {ending}},
        {"a command that is lines",
         extension("sav", "x\"\n[Software]\n\"a\"=\"b"),
         End::built,
         {"the command of a file extension"}},
        {"registry lines without a key", overrides("\"a\"=\"b\""), End::built, {lines}},
        {"a key that never ends", overrides("[Software"), End::built, {lines}},
        {"an empty key", overrides("[]\n\"a\"=\"b\""), End::built, {lines}},
        {"a key over two lines", overrides("[Soft\nware]\n\"a\"=\"b\""), End::built, {lines}},
        {"a key with NUL", overrides("[Soft" + nul + "ware]\n\"a\"=\"b\""), End::built, {lines}},
        {"what starts with Windows",
         overrides("[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\Run]\n\"evil\"=\"evil.exe\"\n")},
    });
}

TEST_F(HostileRecipes, NoKeyOfThePortStartsAProgramWithWindows) {
    const std::string run = "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion\\\\Run]";
    const std::string other = "[Software\\\\Game]\n\"a\"=\"b\"\n";
    for (const std::string& lines :
         {run + "\n\"evil\"=\"evil.exe\"\n", other + "\n" + run + "\n\"evil\"=\"evil.exe\"\n",
          run + "\n\"a\"=\"1\"\n\n" + run + "\n\"evil\"=\"evil.exe\"\n",
          MVString::uppercased(run) + "\n\"evil\"=\"evil.exe\"\n", run + " 123\n\"evil\"=\"evil.exe\"\n",
          run + "\r\n\"evil\"=\"evil.exe\"\r\n"}) {
        EXPECT_TRUE(builds(hostile(overrides(lines))));
        EXPECT_EQ(get(wrapper + "/Contents/Resources/user.reg").find("evil"), std::string::npos) << lines;
        fs::remove_all(wrapper);
    }
}

TEST_F(HostileRecipes, WhatIsToBeRunIsChosenByTheUser) {
    // The requirements are named first; then the user is asked for the file, who has none.
    const std::string needs = "That port has some requirements";
    const std::string request = "a component of winetricks";
    expectEnds({
        {"an installer that climbs", installer("../secret.exe"), End::built, {needs}},
        {"an installer of an absolute path", installer(home + "/secret.exe"), End::built, {needs}},
        {"an installer through a link", installer("../Linked/*"), End::built, {needs}},
        {"an installer with options", installer("-h --help *.exe"), End::built, {needs}},
        {"an installer with NUL", installer("setup" + nul + ".exe"), End::built, {needs}},
        {"an installer of many stars", installer(std::string(200, '*') + "x"), End::built, {needs}},
    });
    // Of an engine that cannot be had, the user says that there is none.
    ui.answerOfTheRest = "No";
    for (const Recipe& recipe : std::vector<Recipe>{
             {"a component that is an option", components("--force")},
             {"a component that is a path", components("/etc/evil.verb")},
             {"a component that climbs", components("../evil")},
             {"a component of a shell", components("$(touch ~/evil)")},
             {"a component with a line break", components("vcrun\nevil")},
             {"an engine that climbs", components("Change Engine: ../../evil")},
             {"an engine of a file", components("Change Engine: CK9Wine9.9 \"file:///etc/passwd\"")},
         }) {
        SCOPED_TRACE(recipe.name);
        EXPECT_TRUE(builds(hostile(recipe.keys)));
        const std::string log = testing::commandLog(wrapper);
        EXPECT_EQ(exists(log) ? get(log) : "", "") << "no program ran";
        fs::remove_all(wrapper);
    }
}

TEST_F(HostileRecipes, ExtraFilesArriveInTheWrapperOrInDownloads) {
    const std::string at = site.baseAddress();
    site.answer("/a.exe", {.body = "MZ"});
    site.answer("/loop", {.status = 302, .body = "", .contentType = "text/html\r\nLocation: " + at + "loop"});
    for (const auto& [path, to] : {std::pair{"/file.exe", "file://" + home + "/secret.exe"},
                                   {"/script.exe", std::string("javascript:alert(1)")},
                                   {"/data.exe", std::string("data:text/plain,evil")},
                                   {"/gopher.exe", std::string("gopher://127.0.0.1:1/x")},
                                   {"/nowhere.exe", std::string("http://[::1/")}})
        site.answer(path, {.status = 302, .body = "", .contentType = "text/html\r\nLocation: " + to});
    site.answer("/long.exe", {.body = "MZ", .announcedLength = 1'000'000'000'000});
    site.answer("/short.exe", {.body = std::string(5000, 'x'), .announcedLength = 10});
    site.answer("/negative.exe",
                {.body = "MZ", .contentType = "text/html\r\nContent-Length: -1", .withoutLength = true});
    site.answer("/endless.exe", {.body = "MZ", .contentType = std::string(200'000, 'x')});
    const std::string destiny = "the folder of an extra file", name = "the name of an extra file",
                      needs = "That port has some requirements";
    expectEnds({
        {"a folder that climbs", extraFile(at + "a.exe", "C:/../../../../Documents"), End::built, {destiny}},
        {"with backslashes", extraFile(at + "a.exe", "C:\\..\\..\\..\\Documents"), End::built, {destiny}},
        {"another drive", extraFile(at + "a.exe", "Z:" + home + "/Documents"), End::built, {destiny}},
        {"a folder with NUL", extraFile(at + "a.exe", "C:/a" + nul + "b"), End::built, {destiny}},
        {"a name that climbs", extraFile(at + "..%2F..%2Fa.exe", "C:/Game"), End::built, {name}},
        {"a name with NUL", extraFile(at + "a%00.exe", "C:/Game"), End::built, {name}},
        {"two dots for a name", extraFile(at + "%2e%2e", "C:/Game"), End::built, {name}},
        {"two dots to be run", extraFile(at + "%2e%2e", "", true), End::built, {name}},
        {"a file of this computer",
         extraFile("file://" + home + "/secret.exe", "C:/Game"),
         End::built,
         {needs}},
        {"a script", extraFile("javascript:alert(1)", "C:/Game"), End::built, {needs}},
        {"an option", extraFile("--help", "C:/Game"), End::built, {needs}},
    });
    for (const char* path : {"loop", "file.exe", "script.exe", "data.exe", "gopher.exe", "nowhere.exe",
                             "long.exe", "short.exe", "negative.exe", "endless.exe"}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(builds(hostile(extraFile(at + path, "C:/Game"))));
        const std::string arrived = driveC + "/Game/" + path;
        if (exists(arrived)) {
            EXPECT_NE(get(arrived), "mine");
            EXPECT_LE(fs::file_size(arrived), 5000U);
        }
        fs::remove_all(wrapper);
    }
}

TEST_F(HostileRecipes, EnginesAreNamesAndLinksThatCanBeFetched) {
    ui.answerOfTheRest = "No";
    for (const auto& [name, link] : {std::pair{"../../../../Applications/Other.app", ""},
                                     {"/etc/passwd", ""},
                                     {"-h", ""},
                                     {"", ""},
                                     {"CK9Wine3.0/../../x", ""},
                                     {"CK9Wine9.9", "file:///etc/passwd"},
                                     {"CK9Wine9.9", "javascript:alert(1)"},
                                     {"CK9Wine9.9", "-o/tmp/x"},
                                     {"CK9Wine3.0\nx", ""},
                                     {"..", ""},
                                     {".", ""}}) {
        SCOPED_TRACE(name);
        Dictionary keys{{"Engine", name}};
        if (*link != '\0') keys.set("Engine Custom Link", link);
        EXPECT_FALSE(builds(hostile(keys)));
        EXPECT_FALSE(ui.dialogs.empty()) << "and says why";
        EXPECT_FALSE(exists(wrapper));
    }
}

TEST_F(HostileRecipes, WhatIsTooLargeIsRefusedOrCutShort) {
    const std::string big(100'000'000, 'x'), tooMany = "That CKI file lists more than 1000 entries under ";
    const auto many = [](const char* key, Value entry) {
        return Dictionary{{key, Array(20'000, std::move(entry))}};
    };
    Value deep = "end";
    for (int level = 0; level < 250; ++level) deep = Array{std::move(deep)};
    expectEnds({
        {"a long company", {{"Company", big}}},
        {"registry lines", overrides("[Software\\\\a]\n\"a\"=\"" + big.substr(0, 10'000'000) + "\"\n")},
        {"a deep list", {{"Overrides", std::move(deep)}}},
        {"programs", {{"EXEs", Array(1'000'000, Value(Dictionary()))}}, End::refused, {tooMany + "\"EXEs\""}},
        {"drives", many("Drives", Dictionary{{"name", "D"}}), End::refused, {tooMany + "\"Drives\""}},
        {"endings", many("Extensions", Dictionary{{"app", "a"}}), End::refused, {tooMany + "\"Extensions\""}},
        {"menu entries",
         many("WrapperMenu", Dictionary{{"type", "App"}}),
         End::refused,
         {tooMany + "\"WrapperMenu\""}},
        {"keys", many("Overrides", "[a]\n"), End::refused, {tooMany + "\"Overrides\""}},
        {"components", many("Winetricks", "a"), End::refused, {tooMany + "\"Winetricks\""}},
        {"extra files",
         many("Before Extra Files", Dictionary{{"origin", "a"}}),
         End::refused,
         {tooMany + "\"Before Extra Files\""}},
    });
}

TEST_F(HostileRecipes, FilesThatAreNoRecipesAreRefused) {
    const std::string good = get(hostile({}));
    const std::pair<const char*, std::string> rows[] = {
        {"nothing", ""},
        {"a page", "<html>not here</html>"},
        {"the first half", good.substr(0, good.size() / 2)},
        {"the end left out", good.substr(0, good.size() - 1)},
        {"more behind it", good + "x"},
        {"zeros", std::string(1'000'000, '\0')},
        {"a length that lies", MVString::replacedAll(good, std::string("\x0a") + "CK9Wine3.0",
                                                     "\x81\xff\x7f"
                                                     "CK9Wine3.0")},
        {"a program", std::string("MZ") + std::string(1000, '\x90')},
    };
    for (const auto& [name, bytes] : rows) {
        SCOPED_TRACE(name);
        put(folder.path + "/Game.cki", bytes);
        EXPECT_FALSE(builds(folder.path + "/Game.cki"));
        EXPECT_TRUE(wasTold("That CKI file ")) << allTold();
        EXPECT_FALSE(exists(wrapper));
    }
}

/// A value of another kind than a key has counts as missing, whatever the key.
TEST_F(HostileRecipes, EveryKeyMayBeOfAnyKind) {
    const Dictionary exe{{"name", "Game"}, {"main", "X"}, {"path", "C:/Game/game.exe"}};
    const std::vector<std::pair<std::string, Value>> kinds{
        {"null", Value()},
        {"text", "\x01../x"},
        {"integer", std::int64_t{INT64_MIN}},
        {"real", 1e308},
        {"boolean", true},
        {"date", Date{1e300}},
        {"data", Data{std::string("\0\xff", 2)}},
        {"list", Array{Array{}, "x", 1}},
        {"dictionary", Dictionary{{"x", "y"}}},
        {"picture", ImageData{pictures::encodePng({1, 1, {1, 2, 3, 4}}), 1, 1}},
        {"styled text", StyledText{"a", {{.length = 1, .bold = true}}}}};
    const Names keys{"Creator",
                     "Creator Mail",
                     "Source",
                     "Port Type",
                     "Engine Custom Link",
                     "Company",
                     "WrapperMenu",
                     "Drives",
                     "Extensions",
                     "MacDriver",
                     "Decorate",
                     "Direct3D Boost",
                     "Winetricks",
                     "EXEs",
                     "Before Extra Files",
                     "After Extra Files",
                     "Extra Files",
                     "Original Installer Needed",
                     "Original Installer Name",
                     "Button 1",
                     "Button 2",
                     "Button 3",
                     "Button 4",
                     "Button 5",
                     "Button 6",
                     "Button 7",
                     "Overrides",
                     "ExesDLLsOverrides",
                     "DLLsOverrides",
                     "OpenGLOverrides",
                     "Direct3DOverrides",
                     "Is Steam",
                     "Is Origin",
                     "Is Uplay",
                     "Is GOG Galaxy",
                     "FnToggle Default Value",
                     "Author Key",
                     "Author Signature"};
    struct Entry {
        const char* list;
        Names keys;
    };
    const Entry entries[] = {{"EXEs",
                              {"name", "main", "path", "automatic", "fullscreen", "virtualdesktop",
                               "resolution", "colours", "compatibility", "version", "icon"}},
                             {"Drives", {"name", "place", "typeName"}},
                             {"Extensions", {"app", "func"}},
                             {"WrapperMenu", {"name", "type", "desc"}},
                             {"Before Extra Files", {"origin", "destiny", "autorun"}}};
    for (const auto& [kind, value] : kinds) {
        SCOPED_TRACE(kind);
        Dictionary all, inEntries, asEntries;
        for (const std::string& key : keys) {
            // What a client's installer is fetched from is not of this table.
            if (!key.starts_with("Is ") || !booleanReading(&value)) all.set(key, value);
        }
        for (const Entry& entry : entries) {
            Array list;
            for (const std::string& key : entry.keys) {
                Dictionary element = entry.list == std::string("EXEs") ? exe : Dictionary();
                element.set(key, value);
                list.push_back(std::move(element));
            }
            inEntries.set(entry.list, std::move(list));
            asEntries.set(entry.list, Array{value});
        }
        for (const Dictionary& recipe : {all, inEntries, asEntries}) {
            EXPECT_TRUE(builds(hostile(recipe))) << allTold();
            fs::remove_all(wrapper);
        }
    }
}

}  // namespace
}  // namespace morvane
