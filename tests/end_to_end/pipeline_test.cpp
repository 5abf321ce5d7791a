#include "end_to_end/pipeline.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "platform/files.h"

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
    ASSERT_FALSE(failureOf(icon));
    EXPECT_TRUE(std::get<std::string>(icon).starts_with("icns"));
    EXPECT_TRUE(fs::is_empty(home + "/Desktop"));

    // Moved elsewhere it still starts, and what the game saves lies inside it.
    const std::string moved = folder.path + "/Else where.app";
    fs::rename(app, moved);
    Dictionary withFlags = settings(moved + "/Contents/Info.plist");
    withFlags.set("Program Flags", "-score 7");
    ASSERT_FALSE(property_lists::write(moved + "/Contents/Info.plist", Value(withFlags)));
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
    const auto built = morvane.run(
        {"blank", blank, "--engine", "CK9Wine99.1", "--answer", "License Agreement=I Agree", "--answer",
         "Warning=No", "--answer", "Warning=Yes", "--choose",
         "Select the engine CK9Wine99.1=" + work + "/mine.tar.xz", "--choose",
         "Select the installer=", "--answer", "Warning=Yes", "--choose", "Select the EXE of Blank="});
    EXPECT_EQ(built.exitCode, 0) << built.output;
    EXPECT_TRUE(fs::exists(blank + "/Contents/Resources/system.reg")) << built.output;
    EXPECT_EQ(TestMachine::get(blank + "/Contents/Frameworks/ckwine.bundle/version"), "CK9Wine99.1\n");
    EXPECT_TRUE(fs::exists(store + "CK9Wine99.1.xz") || fs::exists(store + "CK9Wine99.1.tar.xz"))
        << built.output;
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
    EXPECT_FALSE(fs::exists("/tmp/Star Catcher.app"));
    EXPECT_EQ(processesBelow("/tmp/Star Catcher.app"), std::vector<std::string>());
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
