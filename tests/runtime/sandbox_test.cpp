#include "runtime/sandbox.h"

#include <algorithm>
#include <filesystem>

#include "platform/files.h"
#include "support/test_machine.h"
#include "wrapper/wrapper_settings.h"

namespace morvane::runtime {
namespace {

namespace fs = std::filesystem;

class SandboxFolders : public testing::TestMachine {
  protected:
    void SetUp() override {
        for (const char* name : {"/Games/Levels", "/Secret", "/Docs", "/Downloads/Setup"})
            fs::create_directories(home + name);
        fs::create_directories(folder.path + "/disc");
        fs::create_directories(wrapper.driveC() + "/users/me");
        fs::create_directories(wrapper.dosdevices());
    }
    void drive(const std::string& letter, const std::string& place) const {
        fs::create_symlink(place, wrapper.dosdevices() + "/" + letter);
    }
    [[nodiscard]] std::vector<std::string> writable() const {
        return writableFolders(wrapper, settings, {home});
    }
    const Wrapper wrapper{home + "/Applications/Game.app"};
    Dictionary settings{{"Morvane Sandbox", "home"}};
};

TEST_F(SandboxFolders, ADriveOpensItsFolderAndNothingAProgramPutInItsWay) {
    drive("c:", "../drive_c");
    drive("z:", "/");
    drive("d:", home + "/Games");
    drive("e:", home + "/Games/Link");
    fs::create_symlink(home + "/Secret", home + "/Games/Link");
    drive("f:", home);
    drive("g:", wrapper.driveC() + "/link");
    fs::create_symlink(home + "/Secret", wrapper.driveC() + "/link");
    drive("h:", home + "/Far");
    fs::create_symlink(folder.path + "/disc", home + "/Far");
    drive("i:", home + "/Missing");
    EXPECT_EQ(writable(), (std::vector<std::string>{folder.path + "/disc", home + "/Games"}));
    EXPECT_EQ(linksOfDrives(wrapper, {home}),
              (std::map<std::string, std::string>{{home + "/Far", folder.path + "/disc"}}));
}

TEST_F(SandboxFolders, OfTheLinksOnDriveCOnlyNotedFoldersAreOpen) {
    fs::create_symlink(home + "/Docs", wrapper.driveC() + "/users/me/Documents");
    putSandbox(Sandbox::off, wrapper, settings);
    putSandbox(Sandbox::home, wrapper, settings);
    fs::create_symlink(home + "/Secret", wrapper.driveC() + "/users/me/Music");
    EXPECT_EQ(writable(), std::vector<std::string>{home + "/Docs"});

    // Whoever can write beside the noted folder can put a link in its place.
    fs::remove(home + "/Docs");
    fs::create_symlink(home + "/Secret", home + "/Docs");
    EXPECT_EQ(writable(), std::vector<std::string>{});
}

TEST_F(SandboxFolders, AnInstallersFolderOrDiscIsShownUnlessItHoldsTheHome) {
    const std::string disc = folder.path + "/disc";
    const std::pair<std::string, std::string> rows[] = {
        {home + "/Downloads/Setup/setup.exe", home + "/Downloads/Setup"},
        {home + "/setup.exe", home + "/setup.exe"},
        {folder.path + "/setup.exe", folder.path + "/setup.exe"},
        {disc + "/Install/setup.exe", disc},
        {disc + "/setup.exe", disc},
    };
    for (const auto& [program, shown] : rows) {
        put(program, "");
        EXPECT_EQ(readableAround(program, {home}, {folder.path, disc}), shown) << program;
    }
}

/// What comes later in the view hides what came before.
TEST_F(SandboxFolders, TheWrappersOwnRulesComeLast) {
    SandboxView view;
    view.mode = Sandbox::home;
    view.wrapper = wrapper;
    view.hidden = {home};
    view.temporary = wrapper.path() + "/Contents/SandboxTemporary";
    view.writable = {home + "/Applications"};
    const auto words = sandboxArguments(view, {{"HOME", home}});
    const auto placeOf = [&](const std::string& how, const std::string& path) {
        for (std::size_t index = 0; index + 1 < words.size(); ++index) {
            if (words[index] == how && words[index + 1] == path) return index;
        }
        ADD_FAILURE() << how << " " << path;
        return words.size();
    };
    const std::vector<std::size_t> places{placeOf("--tmpfs", home), placeOf("--bind", home + "/Applications"),
                                          placeOf("--ro-bind", wrapper.path()),
                                          placeOf("--bind", wrapper.prefix()),
                                          placeOf("--ro-bind", wrapper.dosdevices())};
    EXPECT_TRUE(std::ranges::is_sorted(places));
    EXPECT_LT(placeOf("--bind", view.temporary), placeOf("--ro-bind-try", "/tmp/.X11-unix"));
    EXPECT_EQ(std::ranges::count(words, "--unshare-net"), 0);
    view.mode = Sandbox::strict;
    EXPECT_EQ(std::ranges::count(sandboxArguments(view, {}), "--unshare-net"), 1);
}

}  // namespace
}  // namespace morvane::runtime
