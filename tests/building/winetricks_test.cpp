#include "building/engine_extraction.h"
#include "building/winetricks_files.h"

#include "building/building_machine.h"
#include "building/winetricks.h"
#include "building/winetricks_script.h"
#include "foundation/text.h"
#include "wrapper/port_manager.h"
#include "wrapper/registry.h"

namespace morvane {
namespace {

constexpr const char* sumQuestion = "The SHA1 checksum of the downloaded file is ";
constexpr const char* savedQuestion = "You need to download setup.exe and move it into the opened folder";
constexpr const char* sureQuestion = "You haven't saved the file yet! If you don't save that file in that";
constexpr const char* updateError = "The winetricks list failed to update from GitHub and from 127.0.0.1. ";

/// A script as a source has it, or as the wrapper gets it.
std::string verbs(bool patched = false) {
    const std::string option =
        patched ? "SHAREDPREFIX=1 ; winetricks_set_unattended 1 ;;" : "SHAREDPREFIX=1 ;;";
    return "#!/bin/sh\nwinetricks_latest_version_check()\n{\n" + std::string(patched ? "    return\n" : "") +
           "    if\n  a) WINETRICKS_OPT_" + option + "\n  b) WINETRICKS_OPT_" + option + "\n";
}

class Winetricks : public testing::BuildingMachine {
  protected:
    Winetricks() {
        machine->sites.verbs = base + "raw/";
        machine->sites.catalogue = base + "catalogue/";
        machine->sites.sourceForge = base + "forge/";
        machine->sites.webArchive = base + "archive/";
        testing::makeFakeWrapperAt(wrapper, "CK9Wine3.0");
        const std::string log = " >> '" + runs + "'\n";
        const std::string mode = "grep -q unattended '" + script + "' && mode=silent || mode=asking\n";
        put(commandTool, "#!/bin/sh\n" + mode + "echo \"$# $* $mode\"" + log, true);
        put(wrapper + "/Contents/MacOS/CaskeryLauncher", "#!/bin/sh\necho \"launcher $*\"" + log, true);
    }

    /// In which "@" is the site's address and "SUM" the sum of what it should give.
    void putScript(const std::string& definitions) {
        const std::string text = MVString::replacedAll(definitions, "@", base);
        put(script, verbs() + MVString::replacedAll(text, "SUM", rightSum));
    }
    void refresh(bool expected, NeedsVerbs needs = NeedsVerbs::yes) {
        onWorker([&] { EXPECT_EQ(updateWinetricksListAtFile(Wrapper(wrapper), needs), expected); });
    }
    [[nodiscard]] NSPortManager port() const { return NSPortManager::managerWithPath(wrapper); }
    void install(const Names& requests) {
        create([&](auto& creation) { EXPECT_TRUE(installWinetricks(creation, requests, port())); });
    }
    /// The paths of the files that were fetched so far, in order, and forgets them.
    Names fetched() {
        Names paths;
        for (const std::string& request : site.requests()) paths.push_back(request.substr(4));
        std::erase_if(paths, [](const auto& path) { return path.starts_with("/Wrapper/"); });
        paths.erase(paths.begin(), paths.begin() + told_);
        told_ += static_cast<std::ptrdiff_t>(paths.size());
        return paths;
    }

    const std::string rightSha256 = "27042F4e6eca7d0b2a7ee4026df2ecfa51d3339e6d122aa099118ecd8563bad9";
    const std::string runs = folder.path + "/runs", base = site.baseAddress();
    const std::string script = wrapper + "/Caskery.app/Contents/Resources/winetricks";
    const std::string commandTool = wrapper + "/Contents/Frameworks/bin/Caskery";
    const std::string shared = home + "/Library/Application Support/Caskery/winetricks/winetricks";
    const std::string cache = home + "/.cache/winetricks/", patched = verbs(true);
    const std::string rightSum = "d27a1f11771200949714b1af99f048a416f5d6f4";

  private:
    std::ptrdiff_t told_ = 0;
};

TEST_F(Winetricks, RefreshesTheScriptFromTheFirstGoodSource) {
    const std::string github = "/raw/Winetricks/winetricks/master/src/winetricks";
    const std::string catalogue = "/catalogue/ckis/winetricks/winetricks";
    const std::string good = verbs(), page = "<HTML>" + std::string(100, 'x');
    const struct {
        std::string github, catalogue, shared, expected;
        bool result = true;
    } rows[] = {
        {good, page, page, patched},
        {page, good, "", patched},
        {"\n <!DOCTYPE html>" + page, "short", patched, patched},
        {good + '\xFF', good, "", patched},
        {page, page, page, "before", false},
        {std::string(49, 'x'), "", "", "before", false},
    };
    for (const auto& row : rows) {
        site.answer(github, {.body = row.github});
        site.answer(catalogue, {.body = row.catalogue});
        put(script, "before");
        put(script + "HelpList.plist", "list");
        fs::remove_all(fs::path(shared).parent_path());
        if (!row.shared.empty()) put(shared, row.shared);
        if (!row.result) ui.expect(updateError).titleIs("Warning");
        refresh(row.result);
        EXPECT_EQ(get(script), row.expected);
        EXPECT_EQ(exists(script + "HelpList.plist"), !row.result);
        if (!row.result) continue;
        EXPECT_EQ(get(shared), row.expected);
        EXPECT_TRUE(isRunnable(script));
    }
    EXPECT_TRUE(fetched().front().starts_with(github + "?")) << "no cache on the way answers";
    offline();
    put(shared, patched);
    refresh(true);
    EXPECT_EQ(get(script), get(shared));
    fs::remove(shared);
    ui.expect(updateError).titleIs("Warning");
    refresh(true);
    EXPECT_EQ(get(script), patched);
    EXPECT_EQ(fetched(), Names{});
}

TEST_F(Winetricks, InstallsRequestsInOrder) {
    put(script, patched, true);
    scriptProgram("system_profiler",
                  "printf 'Graphics/Displays:\\n\\n    X:\\n\\n      Chipset Model: NVIDIA X\\n'");
    site.answer("/e.7z", {.body = testing::packedEngine("CK9Wine5.0")});
    const std::string lists[] = {"/Contents/Resources/winetricksInstalled.plist",
                                 "/winetricks/winetricksCached.plist"};
    for (const std::string& list : lists) put(wrapper + list, "x");
    for (const std::string name : {"--force", "", "/tmp/x", "Evil.VERB", "a?b"})
        ui.expectError("\"" + name + "\" can't be used as the name of a winetrick");
    install({"vcrun2010", "corefonts", "macdriver=mac", "d3dx9 | VC:NVIDIA", "d3dx10 | VC:Intel", "two words",
             "Install App", "--force", "", "/tmp/x", "Evil.VERB", "a\nb",
             "Change Engine: CK9Wine5.0 “" + base + "e.7z”"});
    EXPECT_EQ(get(runs),
              "2 CKS-winetricks vcrun2010 silent\n2 CKS-winetricks corefonts asking\n"
              "2 CKS-winetricks macdriver=mac silent\n2 CKS-winetricks d3dx9 silent\n"
              "2 CKS-winetricks two words silent\nlauncher CKS-InstallICE\nlauncher CKS-wineboot\n");
    EXPECT_EQ(getCaskeryWrapperEngineFromPath(Wrapper(wrapper)), "CK9Wine5.0");
    EXPECT_EQ(get(script), patched);
    for (const std::string& list : lists) EXPECT_FALSE(exists(wrapper + list)) << list;
}

TEST_F(Winetricks, FetchesEverythingThatAComponentCalls) {
    putScript(
        "helper_shared()\n{\n    w_download_to fonts/deep @h/font.zip SUM\n}\n"
        "w_metadata one dlls\n    w_call two\n    w_call icodecs\n    helper_shared\n"
        "    w_download_manual @m gacutil-net40.tar.bz2 0123\n"
        "    w_download $WINETRICKS_SOURCEFORGE/p/one.exe SUM\n"
        "w_metadata two dlls\n    w_call one\n    helper_shared\n    w_download @two.exe\n");
    const Names paths{"/h/font.zip", "/two.exe", "/catalogue/ckis/winetricks/icodecs/codinstl.exe",
                      "/catalogue/ckis/winetricks/dotnet40/gacutil-net40.tar.bz2", "/forge/p/one.exe"};
    for (const std::string& path : paths) site.answer(path, {.body = "right"});
    Names listed;
    std::set<std::string> visited;
    winetricks::forEachDownload(get(script), "one", visited, [&](const auto& download, bool byHand) {
        listed.push_back((byHand ? "by hand " : "/") + download.link.substr(base.size()));
    });
    EXPECT_EQ(listed, paths);
    install({"one"});
    EXPECT_EQ(fetched(), paths);
    for (const char* file : {"fonts/deep/font.zip", "two/two.exe", "icodecs/codinstl.exe",
                             "dotnet40/gacutil-net40.tar.bz2", "one/one.exe"})
        EXPECT_EQ(get(cache + file), "right") << file;
    // What is in the cache is checked, and not fetched again.
    install({"two", "one", "undefined", "one"});
    EXPECT_EQ(fetched(), Names{});
}

TEST_F(Winetricks, OffersAWrongFileAgain) {
    const struct {
        const char *name, *first, *archived;
        std::string sum;
        std::vector<const char*> answers;
        int transfers;  // from the link and from the archive, in turns
        bool kept, givenUp = false;
    } rows[] = {
        {"declined", "bad", "right", rightSum, {"No"}, 1, false},
        {"from the archive", "bad", "right", rightSum, {"Yes"}, 2, true},
        {"wrong everywhere, then declined", "bad", "bad", rightSum, {"Yes", "No"}, 3, false},
        {"wrong everywhere", "bad", "bad", rightSum, {"Yes", "Yes", "Yes", "Yes"}, 8, false, true},
        {"SHA-256", "right", "right", rightSha256, {}, 1, true},
        {"wrong SHA-256", "bad", "right", rightSha256, {"Yes"}, 2, true},
        {"a sum of no known form", "right", "right", std::string(96, 'a'), {}, 1, true},
        {"no sum of any form", "right", "right", std::string(64, 'x'), {}, 1, true},
        {"no sum", "bad", "bad", "", {}, 1, true},
    };
    for (const auto& row : rows) {
        putScript("w_metadata one dlls\n    w_download @f " + row.sum + "\n");
        fs::remove_all(cache);
        site.answer("/f", {.body = row.first});
        site.answer("/archive/" + base + "f", {.body = row.archived});
        for (const char* answer : row.answers)
            ui.expect(row.sum == rightSha256 ? MVString::replacedAll(sumQuestion, "SHA1", "SHA256")
                                             : sumQuestion)
                .titleIs("Warning")
                .defaultIs("Yes")
                .answer(answer);
        if (row.givenUp) ui.expectError("\"f\" of the winetrick one was downloaded several times");
        install({"one"});
        Names expected;
        for (int i = 0; i < row.transfers; ++i) expected.push_back(i % 2 ? "/archive/" + base + "f" : "/f");
        EXPECT_EQ(fetched(), expected) << row.name;
        EXPECT_EQ(exists(cache + "one/f"), row.kept) << row.name;
    }
}

TEST_F(Winetricks, InstallsWithoutFetchingWhatLeadsAstray) {
    put(folder.path + "/secret", "secret");
    fs::create_directories(cache);
    fs::create_directory_symlink(folder.path, cache + "linked");
    putScript(
        "w_metadata .. dlls\n    w_download @a\nw_metadata linked dlls\n    w_download @secret SUM\n"
        "w_metadata a/../b dlls\n    w_download @a\nhelper_up()\n    w_download_to .. @a\n"
        "w_metadata one dlls\n    w_call ..\n    w_call a/../b\n    w_call linked\n    helper_up\n"
        "    w_download_manual file:///etc/passwd setup.exe\n    w_download @x/..\n"
        "    w_download FILE://localhost/etc/passwd\n    w_download $_W_url\n    w_download @good\n"
        "w_metadata two dlls\n    w_download_manual @page ../../setup.exe\n");
    site.answer("/good", {.body = "x"});
    for (const char* error :
         {"\"..\" can't", "\"a/../b\" can't", "\"linked\" can't", "\"..\" can't",
          "The download link seems to be invalid. \"file:", "\"..\" can't",
          "The download link seems to be invalid. \"FILE:",
          "The download link seems to be invalid. \"$_W_url", "\"../../setup.exe\" can't"})
        ui.expectError(error);
    install({"one", "two"});
    EXPECT_EQ(fetched(), Names{"/good"});
    EXPECT_EQ(namesIn(cache), (Names{"linked", "one"}));
    EXPECT_EQ(ui.opened, Names{});
    EXPECT_EQ(get(runs), "2 CKS-winetricks one asking\n2 CKS-winetricks two asking\n");
}

TEST_F(Winetricks, StopsForACancellation) {
    put(script, patched, true);
    put(commandTool, "#!/bin/sh\necho begun >> '" + runs + "'\nexec sleep 60\n", true);
    put(runs, "");
    cancelWhen([this] { return get(runs) == "begun\n"; });
    create([&](WrapperCreation& creation) {
        ASSERT_TRUE(machine->creation.begin());
        EXPECT_THROW(installWinetricks(creation, {"corefonts", "two"}, port()), Cancelled);
        machine->creation.end();
    });
    EXPECT_EQ(get(runs), "begun\n");
    EXPECT_EQ(get(script), patched) << "silent again";
}

}  // namespace
}  // namespace morvane
