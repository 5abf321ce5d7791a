#include "building/winetricks.h"

#include "building/building_machine.h"

namespace morvane {
namespace {

constexpr const char* sumQuestion = "The SHA1 checksum of the downloaded file is ";
constexpr const char* savedQuestion =
    "You need to download setup.exe and move it into the opened folder, otherwise the winetrick installation "
    "won't "
    "work. Do you have already saved the file?";
constexpr const char* sureQuestion =
    "You haven't saved the file yet! If you don't save that file in that folder the winetricks installation "
    "won't "
    "work! Are you sure you want to continue without downloading?";
constexpr const char* updateError =
    "The winetricks list failed to update from GitHub and from 127.0.0.1. That can be a problem if that port "
    "uses "
    "any recent winetrick.";

/// A script as a source has it, or as the wrapper gets it.
std::string scriptNamed(const std::string& name, bool patched = false) {
    const std::string option = std::string("    a) WINETRICKS_OPT_SHAREDPREFIX=1 ") +
                               (patched ? "; winetricks_set_unattended 1 ;;\n" : ";;\n");
    return "#!/bin/sh\n# " + name + "\nwinetricks_latest_version_check()\n{\n" +
           (patched ? "    return\n" : "") + "    if true; then :; fi\n}\n" + option + option;
}

class Winetricks : public testing::BuildingMachine {
  protected:
    Winetricks() {
        auto& sites = machine->sites;
        sites.verbs = site.baseAddress() + "raw/";
        sites.catalogue = site.baseAddress() + "catalogue/";
        sites.sourceForge = site.baseAddress() + "forge/";
        sites.webArchive = site.baseAddress() + "archive/";
        testing::makeFakeWrapperAt(wrapper, "CK9Wine3.0");
        const std::string log = " >> '" + folder.path + "/runs'\n";
        put(wrapper + "/Contents/Frameworks/bin/Caskery",
            "#!/bin/sh\ngrep -q unattended '" + script +
                "' && mode=silent || mode=asking\necho \"$# $* $mode\"" + log,
            true);
        put(wrapper + "/Contents/MacOS/CaskeryLauncher", "#!/bin/sh\necho \"launcher $*\"" + log, true);
    }

    void putScript(const std::string& definitions) { put(script, scriptNamed("own") + definitions, true); }
    void install(const Names& requests) {
        create([&](WrapperCreation& creation) {
            EXPECT_TRUE(creation.installWinetricks(requests, NSPortManager::managerWithPath(wrapper)));
        });
    }
    void fetch(const std::string& component) {
        create([&](WrapperCreation& creation) { creation.manuallyDownloadWinetrick(component, wrapper); });
    }
    [[nodiscard]] std::string runs() const {
        return exists(folder.path + "/runs") ? get(folder.path + "/runs") : "";
    }
    /// The paths of the files that were fetched so far, in order, and forgets them.
    Names fetched() {
        Names paths;
        for (const std::string& request : site.requests()) {
            const std::string path = request.substr(4);
            if (!path.starts_with("/Wrapper/")) paths.push_back(path);
        }
        paths.erase(paths.begin(), paths.begin() + told_);
        told_ += static_cast<std::ptrdiff_t>(paths.size());
        return paths;
    }
    [[nodiscard]] std::string link(const std::string& path) const { return site.baseAddress() + path; }

    const std::string script = wrapper + "/Caskery.app/Contents/Resources/winetricks";
    const std::string helpList = wrapper + "/Caskery.app/Contents/Resources/winetricksHelpList.plist";
    const std::string shared = home + "/Library/Application Support/Caskery/winetricks/winetricks";
    const std::string cache = home + "/.cache/winetricks/";
    const std::string patched = scriptNamed("own", true);
    const std::string rightSum = "d27a1f11771200949714b1af99f048a416f5d6f4";

  private:
    std::ptrdiff_t told_ = 0;
};

TEST_F(Winetricks, RefreshesTheScriptFromTheFirstGoodSource) {
    const std::string github = "/raw/Winetricks/winetricks/master/src/winetricks";
    const std::string catalogue = "/catalogue/ckis/winetricks/winetricks";
    const std::string page = "<HTML>" + std::string(100, 'x'), lower = "\n <!DOCTYPE html>" + page;
    const struct {
        std::string github, catalogue, shared, expected;
        bool result;
    } rows[] = {
        {scriptNamed("github"), scriptNamed("catalogue"), scriptNamed("old"), scriptNamed("github", true),
         true},
        {page, scriptNamed("catalogue"), "", scriptNamed("catalogue", true), true},
        {lower, "short", scriptNamed("old", true), scriptNamed("old", true), true},
        {scriptNamed("not UTF-8 \xFF"), scriptNamed("catalogue"), "", scriptNamed("catalogue", true), true},
        {page, page, page, "before", false},
        {std::string(49, 'x'), "", "", "before", false},
        {std::string(50, 'x'), "", "", std::string(50, 'x'), true},
    };
    for (const auto& row : rows) {
        site.answer(github, {.body = row.github});
        site.answer(catalogue, {.body = row.catalogue});
        put(script, "before");
        put(helpList, "list");
        fs::remove_all(fs::path(shared).parent_path());
        if (!row.shared.empty()) put(shared, row.shared);
        if (!row.result) ui.expectError(updateError);
        create([&](WrapperCreation& creation) {
            EXPECT_EQ(creation.updateWinetricksListAtFile(wrapper), row.result) << row.expected;
        });
        EXPECT_EQ(get(script), row.expected);
        EXPECT_EQ(exists(helpList), !row.result);
        if (!row.result) continue;
        EXPECT_EQ(get(shared), row.expected);
        EXPECT_TRUE(isRunnable(script));
    }
    EXPECT_TRUE(fetched().front().starts_with(github + "?")) << "no cache on the way answers";
    offline();
    put(shared, scriptNamed("old", true));
    create([&](WrapperCreation& creation) { EXPECT_TRUE(creation.updateWinetricksListAtFile(wrapper)); });
    EXPECT_EQ(get(script), get(shared));
    fs::remove(shared);
    ui.expectError(updateError);
    create([&](WrapperCreation& creation) { EXPECT_TRUE(creation.updateWinetricksListAtFile(wrapper)); });
    EXPECT_EQ(get(script), scriptNamed("old", true));
    EXPECT_EQ(fetched(), Names{});
}

TEST_F(Winetricks, InstallsRequestsInOrder) {
    put(script, patched, true);
    scriptProgram("system_profiler", "[ \"$1\" = SPDisplaysDataType ] && cat '" + folder.path + "/displays'");
    put(folder.path + "/displays",
        "Graphics/Displays:\n\n    NVIDIA GeForce:\n\n      Chipset Model: NVIDIA GeForce\n"
        "      Bus: PCIe\n");
    put(wrapper + "/Contents/Resources/winetricksInstalled.plist", "x");
    put(wrapper + "/winetricks/winetricksCached.plist", "x");
    const auto refused = [this](const char* name) {
        ui.expectError("\"" + std::string(name) + "\" can't be used as the name of a winetrick");
    };
    for (const char* name : {"--force", "", "/tmp/x", "Evil.VERB", "a?b"}) refused(name);
    install({"vcrun2010", "corefonts", "macdriver=mac", "d3dx9 | VC:NVIDIA", "d3dx10 | VC:Intel", "two words",
             "--force", "", "/tmp/x", "Evil.VERB", "a\nb"});
    EXPECT_EQ(runs(),
              "2 CKS-winetricks vcrun2010 silent\n2 CKS-winetricks corefonts asking\n"
              "2 CKS-winetricks macdriver=mac silent\n2 CKS-winetricks d3dx9 silent\n"
              "2 CKS-winetricks two words silent\n");
    EXPECT_EQ(get(script), patched);
    EXPECT_FALSE(exists(wrapper + "/Contents/Resources/winetricksInstalled.plist"));
    EXPECT_FALSE(exists(wrapper + "/winetricks/winetricksCached.plist"));
    EXPECT_EQ(ui.statusLines().back(), "Installing winetrick two words...");
}

TEST_F(Winetricks, ChangesTheEngine) {
    // Whatever the quotes are.
    site.answer("/e.7z", {.body = testing::packedEngine("CK9Wine5.0")});
    install({"Change Engine: CK9Wine5.0 “" + link("e.7z") + "”"});
    EXPECT_EQ(WrapperCreation::getCaskeryWrapperEngineFromPath(wrapper), "CK9Wine5.0");
    EXPECT_EQ(runs(), "launcher CKS-InstallICE\nlauncher CKS-wineboot\n");
}

TEST_F(Winetricks, FetchesEverythingThatAComponentCalls) {
    putScript("helper_shared()\n{\n    w_download_to fonts " + link("h/font.zip") + " " + rightSum +
              "\n}\n"
              "w_metadata one dlls\n    w_call two\n    w_call icodecs\n    helper_shared\n"
              "    w_download_manual " +
              link("m") +
              " gacutil-net40.tar.bz2 0123\n"
              "    w_download $WINETRICKS_SOURCEFORGE/p/one.exe " +
              rightSum +
              "\n"
              "    w_download " +
              link("gone") +
              "\n"
              "w_metadata two dlls\n    w_call one\n    helper_shared\n    w_download " +
              link("two.exe") + "\n");
    for (const char* path :
         {"/h/font.zip", "/forge/p/one.exe", "/two.exe", "/catalogue/ckis/winetricks/icodecs/codinstl.exe",
          "/catalogue/ckis/winetricks/dotnet40/gacutil-net40.tar.bz2"}) {
        site.answer(path, {.body = "right"});
    }
    site.answer("/gone", {.body = ""});
    ui.expectError("The informed file isn't available.").answer("No");
    fetch("one");
    EXPECT_EQ(fetched(), (Names{"/h/font.zip", "/two.exe", "/catalogue/ckis/winetricks/icodecs/codinstl.exe",
                                "/catalogue/ckis/winetricks/dotnet40/gacutil-net40.tar.bz2",
                                "/forge/p/one.exe", "/gone"}));
    for (const char* file : {"fonts/font.zip", "two/two.exe", "icodecs/codinstl.exe",
                             "dotnet40/gacutil-net40.tar.bz2", "one/one.exe"}) {
        EXPECT_EQ(get(cache + file), "right") << file;
    }
    EXPECT_EQ(ui.statusLines().back(), "Downloading winetrick one...");
    // What is in the cache is checked, and not fetched again.
    ui.expectError("The informed file isn't available.").answer("No");
    install({"two", "one", "undefined", "one"});
    EXPECT_EQ(fetched(), Names{"/gone"});
}

TEST_F(Winetricks, OffersAWrongFileAgain) {
    const struct {
        const char* name;
        const char *first, *archived;
        std::string sum;
        std::vector<const char*> answers;
        bool givenUp;
        int transfers;  // from the link and from the archive, in turns
        bool kept;
    } rows[] = {
        {"declined", "bad", "right", rightSum, {"No"}, false, 1, false},
        {"from the archive", "bad", "right", rightSum, {"Yes"}, false, 2, true},
        {"wrong everywhere, then declined", "bad", "bad", rightSum, {"Yes", "No"}, false, 3, false},
        {"wrong everywhere", "bad", "bad", rightSum, {"Yes", "Yes", "Yes", "Yes"}, true, 8, false},
        {"another kind of sum", "right", "right", std::string(64, 'a'), {"No"}, false, 1, false},
        {"no sum", "bad", "bad", "", {}, false, 1, true},
    };
    for (const auto& row : rows) {
        putScript("w_metadata one dlls\n    w_download " + link("f") + " " + row.sum + "\n");
        fs::remove_all(cache);
        site.answer("/f", {.body = row.first});
        site.answer("/archive/" + link("f"), {.body = row.archived});
        for (const char* answer : row.answers)
            ui.expect(sumQuestion).titleIs("Warning").defaultIs("Yes").answer(answer);
        if (row.givenUp) ui.expectError("\"f\" of the winetrick one was downloaded several times");
        fetch("one");
        Names expected;
        for (int i = 0; i < row.transfers; ++i) expected.push_back(i % 2 ? "/archive/" + link("f") : "/f");
        EXPECT_EQ(fetched(), expected) << row.name;
        EXPECT_EQ(exists(cache + "one/f"), row.kept) << row.name;
    }
}

TEST_F(Winetricks, HasTheUserFetchWhatOnlyHeCan) {
    putScript("w_metadata one dlls\n    w_download_manual \"" + link("page") + "\" setup.exe " + rightSum +
              "\n");
    const std::string target = cache + "one/setup.exe";
    const Names once{link("page"), cache + "one"};
    // Gives up, after having thought better of it once.
    ui.expect(savedQuestion).titleIs("Warning").defaultIs("Yes").answer("No");
    ui.expect(sureQuestion).titleIs("Warning").defaultIs("No").answer("No");
    ui.expect(savedQuestion).answer("Yes");
    ui.expect(savedQuestion).answer("No");
    ui.expect(sureQuestion).answer("Yes");
    fetch("one");
    EXPECT_EQ(ui.opened, (Names{once[0], once[1], once[0], once[1], once[0], once[1]}));
    EXPECT_EQ(ui.statusLines().back(), "Please, download setup.exe and put in the opened folder");
    // Answers that are given in advance.
    for (int i = 0; i < winetricks::manualDownloadQuestions; ++i) ui.expect(savedQuestion).answer("Yes");
    ui.expectError("\"setup.exe\" is still not in the opened folder.");
    fetch("one");
    // A wrong file is removed, and asked for again.
    put(target, "bad");
    ui.expect(savedQuestion).answer("No");
    ui.expect(sureQuestion).answer("Yes");
    fetch("one");
    EXPECT_FALSE(exists(target));
    ui.opened.clear();
    put(target, "right");
    fetch("one");
    EXPECT_EQ(ui.opened, Names{});
    EXPECT_EQ(get(target), "right");
    EXPECT_EQ(fetched(), Names{});
}

TEST_F(Winetricks, FetchesNothingOutOfTheCacheAndNothingButWebLinks) {
    put(folder.path + "/secret", "secret");
    fs::create_directories(cache);
    fs::create_directory_symlink(folder.path, cache + "linked");
    putScript("w_metadata .. dlls\n    w_download " + link("a") +
              "\nw_metadata linked dlls\n    w_download " + link("secret") + " " + rightSum +
              "\nw_metadata a/b dlls\n    w_download " + link("a") + "\nhelper_up()\n    w_download_to .. " +
              link("a") +
              "\nw_metadata one dlls\n    w_call ..\n    w_call a/b\n    w_call linked\n    helper_up\n"
              "    w_download_manual file:///etc/passwd setup.exe\n"
              "    w_download " +
              link("x/..") +
              "\n    w_download file:///etc/passwd\n"
              "    w_download FILE://localhost/etc/passwd\n    w_download $_W_url\n"
              "    w_download " +
              link("good") +
              "\n"
              "w_metadata two dlls\n    w_download_manual " +
              link("page") + " ../../setup.exe\n");
    site.answer("/good", {.body = "good"});
    for (const char* name : {"..", "a/b", "linked", ".."}) {
        ui.expectError("\"" + std::string(name) + "\" can't be used as a winetrick's name: ");
    }
    ui.expectError("The download link seems to be invalid. \"file:///etc/passwd\" of the winetrick one");
    ui.expectError("\"..\" can't be used as a file name of a winetrick: ");
    for (const char* name : {"file:///etc/passwd", "FILE://localhost/etc/passwd", "$_W_url"}) {
        ui.expectError("The download link seems to be invalid. \"" + std::string(name) +
                       "\" of the winetrick one");
    }
    ui.expectError("\"../../setup.exe\" can't be used as a file name of a winetrick: ");
    install({"one", "two"});
    EXPECT_EQ(fetched(), Names{"/good"});
    EXPECT_EQ(namesIn(home + "/.cache"), Names{"winetricks"});
    EXPECT_EQ(namesIn(cache), (Names{"linked", "one"}));
    EXPECT_EQ(get(folder.path + "/secret"), "secret");
    EXPECT_EQ(ui.opened, Names{});
    EXPECT_EQ(runs(), "2 CKS-winetricks one asking\n2 CKS-winetricks two asking\n")
        << "installed all the same";
}

TEST_F(Winetricks, StopsForACancellation) {
    put(script, patched, true);
    put(wrapper + "/Contents/Frameworks/bin/Caskery",
        "#!/bin/sh\necho begun >> '" + folder.path + "/runs'\nexec sleep 60\n", true);
    cancelWhen([this] { return runs() == "begun\n"; });
    create([&](WrapperCreation& creation) {
        ASSERT_TRUE(machine->creation.begin());
        EXPECT_THROW(
            creation.installWinetricks({"corefonts", "vcrun2010"}, NSPortManager::managerWithPath(wrapper)),
            Cancelled);
        machine->creation.end();
    });
    EXPECT_EQ(runs(), "begun\n");
    EXPECT_EQ(get(script), patched) << "silent again";
}

}  // namespace
}  // namespace morvane
