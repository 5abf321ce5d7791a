#include "app/app_delegate.h"

#include <algorithm>
#include <filesystem>
#include <future>

#include "foundation/text.h"
#include "library/library_machine.h"
#include "support/fake_wrapper.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

/// Writes down what it is told, in order.
class RecordingView : public ShellView {
  public:
    void setURLHandler(const std::function<void(const std::string&)>& handler) override {
        openLink = handler;
    }
    void setNotificationHandler(const std::function<void(const std::string&)>& handler) override {
        clickNotification = handler;
        if (handler) log.push_back("notifications");
    }
    void setWindowAppearance(WindowAppearance appearance) override {
        // The folders come before.
        const bool hasFolders = fs::is_directory(layout::applicationSupportFolder() + "/IconCache");
        log.emplace_back(appearance == WindowAppearance::light         ? "light"
                         : appearance == WindowAppearance::vibrantDark ? "dark"
                                                                       : "as the desktop");
        log.push_back(hasFolders ? "folders" : "no folders");
    }
    void setThemeImage(ThemeImage, const std::string& path) override {
        log.push_back(files::lastComponent(path));
    }
    void showListLayout() override { log.push_back("list layout"); }
    void createMenulet(const Menulet& menulet) override {
        log.push_back(menulet.tooltip + "|" + menulet.titles.at(0));
        hasMenuletImage = fs::exists(menulet.image);
    }
    void loadWebPage(WebView, const std::string& address) override { page = address; }
    void showHtml(WebView, const std::string& html) override { page = html; }
    void showMorvaneTab(MorvaneTab tab) override { tabs.push_back(static_cast<int>(tab)); }
    void showGamePage() override { tabs.push_back(-1); }
    void changed(ShownPart part) override { reloads += part == ShownPart::library ? 1 : 0; }
    void portInstalled(const std::string& wrapper) override { installed = wrapper; }

    std::function<void(const std::string&)> openLink, clickNotification;
    Lines log;
    std::string page, installed;
    std::vector<int> tabs;
    bool hasMenuletImage = false;
    int reloads = 0;
};

class Shell : public testing::LibraryMachine {
  protected:
    Shell() {
        site.answer("/ckis/listPorts.php", {.body = ""});
        scriptProgram("umount", "echo \"$@\" >> \"$0.log\"");
        setenv("MORVANE_SYSTEM_ROOT", machine->folders.systemRoot.c_str(), 1);
    }
    ~Shell() override { unsetenv("MORVANE_SYSTEM_ROOT"); }

    /// Until nothing is left to do.
    void settle() {
        do {
            onWorker([this] { machine->workQueues.joinAll(); });
        } while (machine->workQueues.busy());
    }
    void start() {
        app.reset();
        app = std::make_unique<AppDelegate>(view, progress);
        app->applicationDidFinishLaunching();
        settle();
    }
    /// A wrapper whose programs log what they are asked.
    std::string makeRunnable(const std::string& path, const std::string& name = "") {
        makeWrapper(path, name);
        put(path + "/Contents/Frameworks/bin/Caskery", "#!/bin/sh\necho \"$@\" >> \"$0.log\"\n", true);
        return path;
    }
    [[nodiscard]] std::string ran(const std::string& wrapper) const {
        const std::string log = wrapper + "/Contents/Frameworks/bin/Caskery.log";
        return fs::exists(log) ? get(log) : "";
    }
    /// A native application that leaves a mark.
    std::string makeNative(const std::string& path) {
        setPlist(path, {{"CFBundleExecutable", "play"}});
        put(path + "/Contents/MacOS/play", "#!/bin/sh\necho played >> \"$0.log\"\n", true);
        return path;
    }
    [[nodiscard]] static bool played(const std::string& path) {
        return fs::remove(path + "/Contents/MacOS/play.log");
    }
    template <class T>
    [[nodiscard]] T setting(const settings::Setting& key) const {
        const auto value = settings::stored(key);
        const T* found = value ? value->as<T>() : nullptr;
        EXPECT_NE(found, nullptr) << key.key;
        return found != nullptr ? *found : T{};
    }
    void noGamesFolder() { settings::store(settings::offeredGamesFolder, 1); }

    RecordingView view;
    const std::shared_ptr<NSProgressView> progress = std::make_shared<NSProgressView>();
    std::unique_ptr<AppDelegate> app;
    const std::string games = applications + "Games.localized";
    const std::string support = home + "/Library/Application Support/Morvane";
};

TEST_F(Shell, StartsInItsOrderOnAFreshHome) {
    fs::remove_all(home);
    ui.expect("Do you want to create a games folder inside /Applications? It's a good way to")
        .titleIs("Games folder")
        .defaultIs("Yes")
        .answer("Yes");
    start();
    EXPECT_EQ(view.log, (Lines{"notifications", "as the desktop", "folders", "window.jpg", "b_azul.png",
                               "b_azul_r.png", "Morvane|Morvane " + applicationVersion()}));
    EXPECT_TRUE(view.hasMenuletImage);
    EXPECT_EQ(view.page, site.baseAddress() + "blog/");
    EXPECT_EQ(view.tabs, std::vector<int>{});
    EXPECT_EQ(ui.statusLines().back(), "Loading webpage...");
    app->webPageLoaded();
    settle();
    EXPECT_EQ(ui.progress.back().height, 0);
    for (const char* needed : {"/Library/Application Support/Caskery/Engines", "/.cache/winetricks",
                               "/Library/Application Support/Caskery/Wrapper"}) {
        EXPECT_TRUE(fs::is_directory(home + needed)) << needed;
    }
    EXPECT_EQ(get(support + "/window.jpg"), get(machine->folders.resources + "/window.jpg"));
    EXPECT_EQ(setting<bool>(settings::useOldLibrary), false);
    EXPECT_EQ(setting<bool>(settings::webAutomaticSpellingCorrection), false);
    EXPECT_EQ(setting<std::int64_t>(settings::offeredGamesFolder), 1);
    EXPECT_EQ(setting<std::int64_t>(settings::runningDaysCounter), 1);
    EXPECT_EQ(setting<Array>(settings::mainFolder), (Array{games + "/", applications}));
    EXPECT_GT(view.reloads, 0);

    // The folder with its names and its icon, unpacked by the real tool.
    EXPECT_TRUE(get(games + "/.localized/ru.strings").find("\x18\x04\x33\x04\x40\x04\x4b\x04") !=
                std::string::npos);
    EXPECT_EQ(std::distance(fs::directory_iterator(games + "/.localized"), {}), 8);
    EXPECT_EQ(pictures::decode(get(games + "/.icon.png")).value_or(Picture{}).width, 256);
    EXPECT_EQ(get(games + "/.directory"), "[Desktop Entry]\nIcon=./.icon.png\n");
    EXPECT_TRUE(fs::is_empty(machine->folders.temporary));

    // Again, on the same day, with other settings: no question, and what is missing is written again.
    const auto day = setting<Date>(settings::lastRunningDay);
    fs::remove(games + "/.localized/de.strings");
    put(support + "/window.jpg", "mine");
    settings::store(settings::useVibrantDarkStyle, true);
    settings::store(settings::useOldLibrary, true);
    view.log.clear();
    start();
    EXPECT_EQ(Lines(view.log.begin(), view.log.begin() + 2), (Lines{"notifications", "dark"}));
    EXPECT_EQ(view.log.at(6), "list layout");
    EXPECT_EQ(app->tableInUse(), LibraryLayout::list);
    EXPECT_EQ(get(support + "/window.jpg"), "mine");
    EXPECT_TRUE(fs::exists(games + "/.localized/de.strings"));
    EXPECT_EQ(setting<Date>(settings::lastRunningDay), day);
    EXPECT_EQ(setting<std::int64_t>(settings::runningDaysCounter), 1);
}

TEST_F(Shell, LooksForAnUpdateOnceADay) {
    noGamesFolder();
    const std::string link = "https://there/new";
    enum Circumstance { newDay, sameDay, notWanted, notReachable };
    struct Row {
        const char* name;
        std::string file;
        Circumstance when;
        int looks;
        bool told;
    };
    const Row rows[] = {{"newer", "999.0\n" + link + "\nmore", newDay, 1, true},
                        {"the same day", "999.0\n" + link, sameDay, 0, false},
                        {"not wanted", "999.0\n" + link, notWanted, 0, false},
                        {"not reachable", "999.0\n" + link, notReachable, 0, false},
                        {"reachable later that day", "999.0\r\n" + link + "\r\n", sameDay, 1, true},
                        {"this one", applicationVersion() + ".0\n" + link, newDay, 1, false},
                        {"older", "0.0.1\n" + link, newDay, 1, false},
                        {"no web link", "999.0\nfile:///etc/passwd", newDay, 1, false},
                        {"an error's page", "<html>\n<body>404</body>", newDay, 1, false},
                        {"no version", "999.0 beta\n" + link, newDay, 1, false},
                        {"nothing", "", newDay, 1, false}};
    const auto looks = [&] {
        const Lines requests = site.requests();
        return std::ranges::count(requests, "GET /files/version.txt");
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        site.answer("/files/version.txt", {.body = row.file});
        reachable = [&row](const std::string&) { return row.when != notReachable; };
        settings::store(settings::automaticUpdates, row.when == notWanted ? 0 : 1);
        if (row.when != sameDay) settings::store(settings::lastUpdateCheck, Date{0});
        if (row.told) {
            ui.expect("Morvane 999.0 is available.").titleIs("Software Update").answer("Visit Page");
        }
        const auto before = looks();
        ui.opened.clear();
        start();
        EXPECT_EQ(looks() - before, row.looks);
        EXPECT_EQ(ui.opened, row.told ? Lines{link} : Lines{});
    }
    // Switched on, it looks at once, if it has not yet.
    settings::store(settings::lastUpdateCheck, std::nullopt);
    const auto before = looks();
    for (const bool on : {false, true, true}) app->preferences().atomaticallyCheckForUpdates(on);
    settle();
    EXPECT_EQ(looks(), before + 1);
}

TEST_F(Shell, WaitsForNoServer) {
    noGamesFolder();
    makeWrapper(applications + "A.app", "A");
    site.answer("/ckis/listPorts.php", {.announcedLength = 1000, .stall = true});
    std::promise<void> resolved;
    const std::shared_future<void> resolving = resolved.get_future();
    reachable = [resolving](const std::string&) {
        resolving.wait();
        return true;
    };
    app = std::make_unique<AppDelegate>(view, progress);
    app->applicationDidFinishLaunching();
    const auto isLoaded = [this] { return app->library().rows().size() == 1; };
    machine->mainQueue.runUntil(isLoaded);
    EXPECT_EQ(setting<bool>(settings::webAutomaticSpellingCorrection), false);
    EXPECT_EQ(view.page, "") << "the name service has not answered";
    // A name that resolves, and a server that sends nothing.
    resolved.set_value();
    machine->mainQueue.runUntil([this] { return !view.page.empty(); });
    app->applicationWillTerminate();
    app.reset();
    EXPECT_FALSE(view.openLink || view.clickNotification);
}

TEST_F(Shell, PutsTheKeyboardBackAtItsEnd) {
    noGamesFolder();
    const std::string mode = machine->folders.systemRoot + "/sys/module/hid_apple/parameters/fnmode";
    for (const auto& [atStart, during] : {std::pair{"2\n", "1\n"}, std::pair{"1\n", "2\n"}}) {
        put(mode, atStart);
        start();
        put(mode, during);
        app->applicationWillTerminate();
        EXPECT_EQ(get(mode), atStart);
    }
    EXPECT_EQ(get(programsFolder + "/umount.log"),
              MVString::replacedAll("D\nD\n", "D", machine->folders.volumes + "/MV_WIN_DISC"));
}

TEST_F(Shell, OpensFilesByTheirEnding) {
    noGamesFolder();
    const std::string outer = makeRunnable(applications + "A.app", "A");
    const std::string inner = makeRunnable(applications + "Native.app/Contents/B.app");
    const std::string game = makeNative(applications + "Game.app");
    makeRunnable(applications + "C.app", "A");
    start();
    struct Row {
        std::string path;
        bool handled;
        const char* answer;  ///< to the question in which port
        std::string wrapper;
    };
    const Row rows[] = {
        {home + "/Game.CKI", false, nullptr, ""},
        {home + "/readme.txt", false, nullptr, ""},
        {applications + "Gone.app", false, nullptr, ""},
        {outer + "/Contents/B.app/drive_c/x.exe", true, nullptr, outer},
        {inner + "/drive_c/SETUP.EXE", true, nullptr, inner},
        {home + "/a b/Setup.Exe", true, "OK", outer},
        {home + "/Setup.exe", false, "Cancel", ""},
    };
    for (const Row& row : rows) {
        if (row.answer != nullptr) {
            ui.expect("Inside which port do you want to run " + files::lastComponent(row.path) + "?")
                .titleIs("Running EXE")
                .defaultIs("OK")
                .answer(row.answer);
        }
        EXPECT_EQ(app->actions().openFile(row.path), row.handled) << row.path;
        settle();
        for (const std::string& wrapper : {outer, inner}) {
            const bool isIt = wrapper == row.wrapper;
            EXPECT_EQ(ran(wrapper), isIt ? row.path + "\n" : "") << row.path;
            fs::remove(wrapper + "/Contents/Frameworks/bin/Caskery.log");
        }
    }
    const auto& box = std::get<ChoiceBox>(ui.dialogs.back().accessory);
    EXPECT_EQ(box.options, (Lines{"A", "A"}));
    EXPECT_EQ(ran(applications + "C.app"), "");

    EXPECT_TRUE(app->actions().openFile(game));
    settle();
    EXPECT_TRUE(played(game));
}

TEST_F(Shell, LinksShowTheFirstPortAndInstallIt) {
    noGamesFolder();
    start();
    const std::string answer =
        " 7 || Bob || Caf\xe9 || 1 || 0 || --<br>8 || Eve || Other || 1 || 0 || --<br>";
    struct Row {
        std::string link, request, answer;
        const char* error;
    };
    const std::string list = "GET /ckis/listPorts.php?search=", brief = "GET /ckis/portDescription.php?id=";
    const char *notFound = "Port not found!",
               *broken = "Error while loading server app information! Please, try again.";
    const Row rows[] = {
        {"no link", "", "", nullptr},
        {"mvid://123", brief + "123&brief=true", "", notFound},
        {"morvane://Half%20Life/BR/x", list + "Half%20Life&country=BR", "<html><br>1 || 2", notFound},
        {"morvane://..%2F..", list + "..%2F..", "7 || Bob || x<br>", broken},
        {"morvane://a&b#c d\r\nHost: x", list + "a%26b%23c%20d%0D%0AHost:%20x", "", notFound},
        {"mvid://", brief + "&brief=true", "", notFound},
        {"mvid://" + std::string(1'000'000, '1'), "", "", notFound},
        {"mvid://7", brief + "7&brief=true", answer, nullptr},
    };
    for (const Row& row : rows) {
        const std::size_t before = site.requests().size();
        site.answer("/ckis/listPorts.php", {.body = row.answer});
        site.answer("/ckis/portDescription.php", {.body = row.answer});
        if (row.error != nullptr) ui.expectError(row.error);
        if (row.answer == answer) ui.expect("Read the license agreement").answer("I Disagree");
        view.openLink(row.link);
        settle();
        const auto requests = site.requests();
        EXPECT_EQ(requests.size() > before ? requests[before] : "", row.request) << row.link.substr(0, 40);
        EXPECT_EQ(view.tabs.empty(), row.answer != answer) << row.link.substr(0, 40);
    }
    EXPECT_EQ(view.tabs, (std::vector<int>{-1, 2})) << "the page, then the window's tab";
    ASSERT_NE(app->gamePage().gameData(), nullptr);
    EXPECT_EQ(app->gamePage().gameData()->gameName, "Café");
    EXPECT_EQ(app->gamePage().gameData()->gameID, 7);

    // In a web view.
    EXPECT_TRUE(app->actions().shouldWebViewFollow("http://127.0.0.1/?mvid://1"));
    EXPECT_FALSE(app->actions().shouldWebViewFollow("com-codeweavers-crossover-crosstie:install?crosstie=1"));
    EXPECT_EQ(ui.opened, Lines{"com-codeweavers-crossover-crosstie:install?crosstie=1"});
    ui.expect("Read the license agreement").answer("I Disagree");
    EXPECT_FALSE(app->actions().shouldWebViewFollow("mvid://7"));
    settle();
}

TEST_F(Shell, AnOpenedPortDescriptionIsBuiltAndKept) {
    noGamesFolder();
    putSharedVerbScript();
    machine->sites.caskery = site.baseAddress();
    for (const char* name : {"killall", "kill", "ps", "launchctl", "system_profiler"})
        scriptProgram(name, "");
    testing::publishMasterWrapper(
        site, {.onPrefixCreate = "mkdir -p \"$wrapper/Contents/Resources/drive_c/Game\"\n"
                                 "touch \"$wrapper/Contents/Resources/drive_c/Game/g.exe\"\n"});
    testing::publishEngines(site, {"CK9Wine3.0"});
    put(home + "/Library/Application Support/Caskery/Engines/CK9Wine3.0.tar.7z",
        testing::packedEngine("CK9Wine3.0"));
    const Dictionary description{
        {"CKI Version", "1.5.9"},
        {"Name", "Game"},
        {"Engine", "CK9Wine3.0"},
        {"EXEs", Array{Dictionary{{"name", "Game"}, {"main", "X"}, {"path", "C:/Game/g.exe"}}}}};
    const std::string cki = home + "/Game.cki", wrapper = applications + "Game.app";
    putArchive(cki, description);
    start();

    ui.expectChoice("Select the CKI file", {});
    app->actions().createWrapper();
    ui.expectChoice("Select the CKI file", {cki});
    ui.expect("Read the license agreement").answer("I Agree");
    ui.expect("That port wasn't downloaded directly from our server").answer("Install it anyway");
    ui.expectSave("Create Port at...", wrapper);
    app->actions().createWrapper();
    settle();
    EXPECT_EQ(view.installed, wrapper);
    EXPECT_EQ(stored(), Lines{"Game=Game.app"});
    EXPECT_EQ(typed_stream::unarchive(get(wrapper + "/mv_backup.cki")).value_or(Value()), Value(description));

    // Over the wrapper that is there now, also for the launchers in it.
    fs::remove(wrapper + "/mv_backup.cki");
    put(wrapper + "/Level.app/Contents/MacOS/CustomEXE", "", true);
    ui.expect("Read the license agreement").answer("I Agree");
    ui.expect("That port wasn't downloaded directly from our server").answer("Install it anyway");
    ui.expectSave("Create Port at...", wrapper);
    EXPECT_TRUE(app->actions().openFile(cki));
    settle();
    EXPECT_EQ(stored(), (Lines{"Game=Game.app", "Level=Game.app/Level.app"}));
    for (const char* bundle : {"", "/Level.app"}) {
        EXPECT_TRUE(fs::exists(wrapper + bundle + "/mv_backup.cki")) << bundle;
    }

    // What cannot be built is told, and adds nothing.
    view.installed.clear();
    put(cki, "no archive");
    ui.expect("Read the license agreement").answer("I Agree");
    ui.expect("That port wasn't downloaded directly from our server").answer("Install it anyway");
    ui.expectSave("Create Port at...", applications + "Bad.app");
    ui.expectError("That CKI file is corrupted or the format is invalid!");
    EXPECT_TRUE(app->actions().openFile(cki));
    settle();
    EXPECT_EQ(view.installed, "");
}

TEST_F(Shell, ARowOfARankingListOpensTheWholeEntry) {
    noGamesFolder();
    scriptProgram("system_profiler", "");
    start();
    const std::string page = "/ckis/portDescription.php",
                      line = "12 || Bob || Add-on || 0 || 0 || -- || 1 || 7",
                      whole = " ||  ||  ||  ||  ||  || Good ||  ||  ||  ||  ||  || 0 || ";
    site.answer("/ckis/rankingPorts.php", {.body = "12 || Bob || Add-on || 2016-03-05"});
    app->showMorvaneTab(MorvaneTab::rankings);
    settle();
    /// How often the entry is asked for when its row is opened.
    const auto open = [&](const std::vector<testing::SiteAnswer>& answers) {
        site.answerInTurn(page, answers);
        const auto asked = [&] {
            return std::ranges::count_if(
                site.requests(), [&](const auto& request) { return request.starts_with("GET " + page); });
        };
        const auto before = asked();
        app->rankingList(NSRankingList::TableType::latest).doubleClick(0);
        settle();
        return asked() - before;
    };
    ui.expectError("Port not found!");
    EXPECT_EQ(open({{.body = ""}}), 1);
    EXPECT_EQ(open({{.body = line}, {.body = whole}}), 2);
    ASSERT_NE(app->gamePage().gameData(), nullptr);
    EXPECT_EQ(app->gamePage().gameData()->gameDependencyID, 7);
    site.answer("/ckis/listPorts.php", {.body = line + "<br>"});
    app->library().refreshList();
    settle();
    EXPECT_EQ(open({{.body = whole}}), 1) << "the line is known";
}

}  // namespace
}  // namespace morvane
