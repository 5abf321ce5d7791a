#include "end_to_end/pipeline.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "platform/files.h"
#include "platform/property_list.h"
#include "support/fake_wrapper.h"
#include "support/loopback_site.h"
#include "wrapper/sandbox.h"

namespace morvane::testing {
namespace {

TEST_F(Pipeline, InstallerFromDownloads) {
    fs::copy(samples + "StarCatcherSetup.exe", home + "/Downloads/StarCatcherSetup.exe");
    const auto built = morvane.run(installing(samples + "star-catcher.cki", app));
    ASSERT_EQ(built.exitCode, 0) << built.output;

    EXPECT_TRUE(fs::exists(app + game + "starcatcher.exe"));
    const Dictionary plist = settings(app + "/Contents/Info.plist");
    EXPECT_EQ(*plist.find("Program Name and Path"), Value("/Program Files/Star Catcher/starcatcher.exe"));
    EXPECT_EQ(*plist.find("CFBundleName"), Value("Star Catcher"));
    EXPECT_EQ(*plist.find("Associations"), Value("score"));
    EXPECT_EQ(*plist.find("Resolution"), Value("novdx24sleep0"));
    const char* sandbox = sandboxProgram(::getenv("PATH")) ? "home" : "off";
    EXPECT_EQ(*plist.find("Morvane Sandbox"), Value(sandbox));
    const Dictionary custom = settings(app + "/Star Catcher Scores.app/Contents/Info.plist.cexe");
    EXPECT_EQ(*custom.find("Resolution"), Value("640x480x24sleep0"));
    EXPECT_EQ(fs::read_symlink(home + "/Applications/Star Catcher Scores.app"),
              "Star Catcher.app/Star Catcher Scores.app");
    EXPECT_NE(registry(app, "user").find(R"([Software\\Wine\\AppDefaults\\starcatcher.exe])"),
              std::string::npos);
    EXPECT_NE(registry(app, "system").find(R"("d:"="cdrom")"), std::string::npos);
    EXPECT_NE(TestMachine::get(app + "/Contents/Resources/CaskeryMenuScripts/CaskeryQuitScript")
                  .find("caskeryAppChoice=2"),
              std::string::npos);
    EXPECT_EQ(TestMachine::get(app + "/mv_backup.cki"), TestMachine::get(samples + "star-catcher.cki"));
    const auto icon = files::read(app + "/Contents/Resources/" + [&] {
        std::string name = *plist.get<std::string>("CFBundleIconFile");
        return name.ends_with(".icns") ? name : name + ".icns";
    }());
    ASSERT_TRUE(icon);
    EXPECT_TRUE(icon->starts_with("icns"));
    EXPECT_TRUE(fs::is_empty(home + "/Desktop"));
    const auto library = morvane.run({"library", "list"});
    EXPECT_EQ(library.output, "1\tStar Catcher\t" + app + "\tno\tno\n2\tStar Catcher Scores\t" + app +
                                  "/Star Catcher Scores.app\tno\tno\n");

    // Moved elsewhere it still starts, and what the game saves lies inside it.
    const std::string moved = folder.path + "/Else where.app";
    fs::rename(app, moved);
    Dictionary withFlags = settings(moved + "/Contents/Info.plist");
    withFlags.set("Program Flags", "-score 7");
    ASSERT_TRUE(property_lists::write(moved + "/Contents/Info.plist", Value(withFlags)));
    const auto played = morvane.run({"run", moved, "--wait"});
    EXPECT_EQ(played.exitCode, 0) << played.output;
    EXPECT_EQ(TestMachine::get(moved + game + "score.txt"), "best=7\r\n");
    fs::rename(moved, app);
}

TEST_F(Pipeline, InstallerFromADiscByAutorunAndASecondBuildIntoTheSamePath) {
    fs::copy(samples + "disc", home + "/Volumes/STARCATCHER", fs::copy_options::recursive);
    const auto built = morvane.run(installing(samples + "star-catcher-cd.cki", app));
    ASSERT_EQ(built.exitCode, 0) << built.output;
    ASSERT_TRUE(fs::exists(app + game + "starcatcher.exe"));
    EXPECT_FALSE(fs::is_empty(app + "/Contents/Resources/CaskeryMenuScripts"));

    // A player's data survives a second build.
    TestMachine::put(app + game + "score.txt", "best=42\n");
    const auto engineBefore = fs::last_write_time(app + "/Contents/Frameworks/ckwine.bundle/version");
    const auto again = morvane.run(installing(samples + "star-catcher-cd.cki", app));
    ASSERT_EQ(again.exitCode, 0) << again.output;
    EXPECT_EQ(again.output.find("Error"), std::string::npos) << again.output;
    EXPECT_EQ(TestMachine::get(app + game + "score.txt"), "best=42\n");
    EXPECT_EQ(fs::last_write_time(app + "/Contents/Frameworks/ckwine.bundle/version"), engineBefore);
}

TEST_F(Pipeline, BlankWrapperWithAnEngineGivenAsAFile) {
    // The engine is in no list: it is asked for, and given as a file of another kind.
    const std::string work = folder.path + "/engine";
    fs::create_directories(work);
    const auto added = morvane.run({"engine", "add-system"});
    ASSERT_EQ(added.exitCode, 0) << added.output;
    const std::string store = home + "/Library/Application Support/Caskery/Engines/";
    ASSERT_EQ(std::system(("cd '" + work + "' && '" MORVANE_BUILD_FOLDER "/share/morvane/7za' x '" + store +
                           "CK9Wine8.0.tar.7z' >/dev/null && tar -xf CK9Wine8.0.tar && echo CK9Wine99.1 > "
                           "ckwine.bundle/version"
                           " && tar -cJf mine.tar.xz ckwine.bundle")
                              .c_str()),
              0);
    const std::string blank = home + "/Applications/Blank.app";
    const auto built =
        morvane.run({"blank", blank, "--engine", "CK9Wine99.1", "--answer", "License Agreement=I Agree",
                     "--answer", "Warning=No", "--answer", "Warning=Yes", "--choose",
                     "Select the engine CK9Wine99.1=" + work + "/mine.tar.xz", "--no-installer"});
    EXPECT_EQ(built.exitCode, 0) << built.output;
    EXPECT_TRUE(fs::exists(blank + "/Contents/Resources/system.reg")) << built.output;
    EXPECT_EQ(TestMachine::get(blank + "/Contents/Frameworks/ckwine.bundle/version"), "CK9Wine99.1\n");
    EXPECT_TRUE(fs::exists(store + "CK9Wine99.1.xz") || fs::exists(store + "CK9Wine99.1.tar.xz"))
        << built.output;
}

/// The update is interrupted once, where the wrapper lies under another name.
TEST_F(Pipeline, AnOldEngineIsConvertedAndAnOldWrapperUpdated) {
    const std::string work = folder.path + "/work", blank = home + "/Applications/Blank.app";
    const std::string store = home + "/Library/Application Support/Caskery/Engines/";
    ASSERT_EQ(morvane.run({"engine", "add-system"}).exitCode, 0);
    fs::create_directories(work + "/CaskeryEngine.bundle/X11");
    runTool(
        work,
        {"/bin/sh", "-ec",
         "for archive in \"$@\"; do 7za x \"$archive\" >&2; done; for tar in *.tar; do tar -xf $tar; done\n"
         "mv ckwine.bundle CaskeryEngine.bundle/Wine; mv Caskery-1.0.app Caskery-2.0.app",
         "sh", store + "CK9Wine8.0.tar.7z",
         MORVANE_BUILD_FOLDER "/share/morvane/site/Wrapper/Caskery-1.0.app.tar.7z"});
    TestMachine::put(store + "CK7Wine1.3.1.tar.7z",
                     packedTar7z(work, "CaskeryEngine.bundle", "CK7Wine1.3.1.tar"));
    ASSERT_EQ(
        morvane.run({"engine", "convert", "CK7Wine1.3.1", "--answer", "Convert Old Engine=Yes"}).exitCode, 0);
    const auto built = morvane.run({"blank", blank, "--engine", "CK8Wine1.3.1", "--answer",
                                    "License Agreement=I Agree", "--no-installer"});
    ASSERT_EQ(built.exitCode, 0) << built.output;
    EXPECT_NE(morvane.run({"wrapper", "update", blank}).output.find(" is up to date."), std::string::npos);
    const std::string drive = blank + "/Contents/Resources/drive_c/", plist = blank + "/Contents/Info.plist";
    const std::string block =
        "[Software\\\\Wine\\\\AppDefaults\\\\game.exe\\\\DllOverrides]\n\"d3d9\"=\"native\"\n";
    TestMachine::put(drive + "Game/save.dat", "level 9");
    TestMachine::put(blank + "/Contents/Resources/user.reg", registry(blank, "user") + "\n" + block);
    Dictionary own = settings(plist);
    own.set("Program Name and Path", "/windows/system32/cmd.exe");
    own.set("Program Flags", "/c echo started>C:\\started.txt");
    ASSERT_TRUE(property_lists::write(plist, own));

    LoopbackSite site;
    publishNewestVersion(site, "Caskery-2.0");
    site.answer("/Wrapper/Caskery-2.0.app.tar.7z",
                {.body = packedTar7z(work, "Caskery-2.0.app", "Caskery-2.0.tar")});
    std::erase(morvane.environment, "MORVANE_CASKERY_SITE=");
    morvane.environment.push_back("MORVANE_CASKERY_SITE=" + site.baseAddress());
    const auto interrupt = [](const std::string& line, pid_t process) {
        if (line.find("Step 8 of 9") != std::string::npos) kill(process, SIGINT);
    };
    EXPECT_EQ(morvane.run({"wrapper", "update", blank}, interrupt).exitCode, 130);
    morvane.run({"stop", blank});
    const auto updated = morvane.run({"wrapper", "update", blank});
    ASSERT_EQ(updated.exitCode, 0) << updated.output;
    EXPECT_EQ(*settings(plist).find("CFBundleVersion"), Value("Caskery 2.0"));
    EXPECT_EQ(TestMachine::get(drive + "Game/save.dat"), "level 9");

    // It starts, and Wine, which writes its registry anew, has read what was written back.
    const auto played = morvane.run({"run", blank, "--wait"});
    EXPECT_EQ(played.exitCode, 0) << played.output;
    EXPECT_TRUE(fs::exists(drive + "started.txt")) << played.output;
    EXPECT_NE(registry(blank, "user").find("\"d3d9\"=\"native\""), std::string::npos);
}

TEST_F(Pipeline, CancelledInTheMiddleNothingIsLeft) {
    fs::copy(samples + "StarCatcherSetup.exe", home + "/Downloads/StarCatcherSetup.exe");
    bool asked = false;
    const auto ended = morvane.run(installing(samples + "star-catcher.cki", app),
                                   [&](const std::string& line, pid_t process) {
                                       if (asked || line.find("Preparing Wrapper...") == std::string::npos)
                                           return;
                                       asked = true;
                                       kill(process, SIGINT);
                                   });
    ASSERT_TRUE(asked) << ended.output;
    EXPECT_EQ(ended.exitCode, 130) << ended.output;
    EXPECT_FALSE(fs::exists(app));
    const std::string passing = home + "/Library/Caches/Morvane/passing";
    // What was downloaded serves the next try.
    for (const auto& entry : fs::directory_iterator(passing)) EXPECT_EQ(entry.path().filename(), "Downloads");
    EXPECT_EQ(processesBelow(passing), std::vector<std::string>());
}

TEST_F(Pipeline, DefaultsThatLeadInACircleEndTheCommand) {
    // Without the installer the default of the question is to choose it after all.
    const auto ended =
        morvane.run({"install", samples + "star-catcher.cki", "--to", app, "--answer",
                     "License Agreement=I Agree", "--answer", "Warning=Install it anyway", "--defaults"});
    EXPECT_EQ(ended.exitCode, 4) << ended.output;
    EXPECT_FALSE(fs::exists(app));
}

TEST_F(Pipeline, AQuestionWithoutAnAnswerEndsTheCommand) {
    const auto ended = morvane.run({"install", samples + "star-catcher.cki", "--to", app});
    EXPECT_EQ(ended.exitCode, 4) << ended.output;
    EXPECT_FALSE(fs::exists(app));
    EXPECT_EQ(morvane.run({"install"}).exitCode, 2);
    EXPECT_EQ(morvane.run({"cki", "show", "/nowhere.cki"}).exitCode, 1);
}

}  // namespace
}  // namespace morvane::testing
