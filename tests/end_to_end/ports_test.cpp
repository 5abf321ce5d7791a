#include <gtest/gtest.h>
#include <signal.h>

#include <future>
#include <thread>

#include "end_to_end/pipeline.h"

namespace morvane::testing {
namespace {

/// `morvane serve` while it lives.
class Serving {
  public:
    Serving(const Command& morvane, const std::string& folder) {
        auto begun = started_.get_future();
        thread_ = std::thread([this, morvane, folder] {
            bool first = true;
            ended_ = morvane.run({"serve", "--content", folder}, [&](const std::string& line, pid_t process) {
                if (std::exchange(first, false)) started_.set_value({line, process});
            });
            if (first) started_.set_value({"", 0});
        });
        std::tie(address, process_) = begun.get();
    }
    ~Serving() { end(); }

    /// What the command said and its exit code, after the signal that asks it to end.
    Command::Ended end() {
        if (process_ != 0) kill(std::exchange(process_, 0), SIGTERM);
        if (thread_.joinable()) thread_.join();
        return ended_;
    }

    std::string address;

  private:
    std::promise<std::pair<std::string, pid_t>> started_;
    pid_t process_ = 0;
    std::thread thread_;
    Command::Ended ended_;
};

/// The lines of the key, without its header and its time.
std::string valuesOf(const std::string& registry, const std::string& key) {
    const auto header = registry.find("\n[" + key + "]");
    if (header == std::string::npos) return "no such key";
    const auto begin = registry.find('\n', header + 1);
    std::string values = registry.substr(begin + 1, registry.find("\n[", begin) - begin);
    if (values.starts_with("#time")) values.erase(0, values.find('\n') + 1);
    while (values.ends_with("\n\n")) values.pop_back();
    return values == "\n" ? "" : values;
}

TEST_F(Pipeline, APortThatAsksForEverything) {
    fs::copy(samples + "StarCatcherSetup.exe", home + "/Downloads/StarCatcherSetup.exe");
    const std::string content = folder.path + "/site/files", cki = folder.path + "/deluxe.cki";
    fs::create_directories(content);
    Serving serving(morvane, folder.path + "/site");
    const std::string& site = serving.address;
    ASSERT_TRUE(site.starts_with("http://127.0.0.1:")) << site << serving.end().output;

    const auto engine = morvane.run({"engine", "prepare", "CK9Wine8.0"});
    ASSERT_EQ(engine.exitCode, 0) << engine.output;
    const std::string store = home + "/Library/Application Support/Caskery/Engines/";
    ASSERT_EQ(std::system(("'" MORVANE_SOURCE_FOLDER "/samples/make-content' '" + site + "' '" + samples +
                           "' '" + store + "CK9Wine8.0.tar.7z' '" + content + "'")
                              .c_str()),
              0);
    ASSERT_EQ(morvane.run({"cki", "make", content + "/ports/star-catcher-deluxe.plist", cki}).exitCode, 0);

    std::erase_if(morvane.environment,
                  [](const auto& entry) { return entry.starts_with("MORVANE_VERBS_SITE"); });
    for (const char* variable : {"VERBS_SITE", "CATALOGUE", "STEAM_SITE"})
        morvane.environment.push_back(std::string("MORVANE_") + variable + "=" + site);
    morvane.environment.push_back("MORVANE_SOURCEFORGE_SITE=" + site + "sourceforge");
    morvane.environment.push_back("MORVANE_WEB_ARCHIVE=" + site + "archive");
    const auto built = morvane.run(installing(cki, app));
    ASSERT_EQ(built.exitCode, 0) << built.output;
    EXPECT_EQ(built.output.find("Error"), std::string::npos) << built.output;

    // In the port's order: its verbs around the game, the engine in its place among them.
    std::size_t at = 0;
    for (const char* line : {"Installing winetrick starmath...", "Changing Engine to CK9Wine8.0Deluxe...",
                             "Installing Steam in the background...", "StarCatcherSetup.exe...",
                             "star-catcher-patch.bat...", "Installing winetrick corefonts...",
                             "Installing winetrick starpack...", "Overriding registries..."}) {
        const auto found = built.output.find(line, at);
        EXPECT_NE(found, std::string::npos) << line << "\n" << built.output;
        at = std::min(found, built.output.size());
    }

    const std::string drive = app + "/Contents/Resources/drive_c/";
    for (const char* file :
         {"windows/system32/starmath.dll", "Star Atlas/north.txt", "Star Atlas/index.txt",
          "Star Atlas/charts.txt", "Program Files/Star Catcher/level.txt",
          "Program Files/Star Catcher/levels.zip", "Program Files/Star Catcher/version.txt",
          "Program Files/Star Catcher/starcatcher.exe", "Program Files (x86)/Steam/steam.exe"})
        EXPECT_TRUE(fs::exists(drive + file)) << file << "\n" << built.output;
    EXPECT_FALSE(fs::exists(drive + "SteamSetup.exe"));
    for (const char* file : {"starmath/starmath.dll", "starcharts/charts.txt", "starcharts/legend.txt",
                             "staratlas/south.txt", "corefonts/fonts.reg"})
        EXPECT_TRUE(fs::exists(home + "/.cache/winetricks/" + file)) << file;
    // Installed one by one, what they call first; the component of another graphics card is not there.
    EXPECT_EQ(TestMachine::get(app + "/Contents/Resources/winetricks.log"),
              "starmath\nnocrashdialog\ncorefonts\nstarcharts\nstargazer\nstarpack\n");

    const std::string user = registry(app, "user");
    EXPECT_EQ(valuesOf(user, R"(Software\\Star Catcher)"), "\"Edition\"=\"Deluxe\"\n");
    EXPECT_NE(valuesOf(user, R"(Software\\Wine\\DllOverrides)").find("\"starmath\"=\"native\""),
              std::string::npos);
    EXPECT_EQ(valuesOf(user, R"(Software\\Microsoft\\Windows\\CurrentVersion\\Run)"), "");
    EXPECT_EQ(TestMachine::get(app + "/Contents/Frameworks/ckwine.bundle/version"), "CK9Wine8.0Deluxe\n");
    EXPECT_TRUE(fs::exists(app + "/Star Catcher Deluxe Scores.app"));

    Dictionary plist = settings(app + "/Contents/Info.plist");
    plist.set("Program Flags", "-score 7");
    ASSERT_TRUE(property_lists::write(app + "/Contents/Info.plist", Value(plist)));
    EXPECT_EQ(morvane.run({"run", app, "--wait"}).exitCode, 0);
    EXPECT_EQ(TestMachine::get(app + game + "score.txt"), "best=7\r\n");

    const auto served = serving.end();
    EXPECT_EQ(served.exitCode, 0);
    EXPECT_EQ(served.output, site + "\n");
}

}  // namespace
}  // namespace morvane::testing
