// A wrapper's programs in their sandbox, in the real Wine.

#include <sys/wait.h>

#include "platform/defaults_store.h"
#include "runtime/wine_fixture.h"
#include "support/loopback_site.h"
#include "wrapper/port_manager.h"
#include "wrapper/sandbox.h"

namespace morvane::runtime {
namespace {

class WineSandbox : public Wine {
  protected:
    void SetUp() override {
        Wine::SetUp();
        if (IsSkipped()) return;
        if (const auto checked = sandboxProgram(::getenv("PATH")); !checked)
            GTEST_SKIP() << checked.error().message();
        put(userHome + "/diary.txt", "Dear diary");
        ASSERT_TRUE(files::createFolder(shared(), true));
        // Not in "/tmp", of which a sandbox has its own.
        static_cast<void>(files::remove(outside));
        ASSERT_TRUE(files::createFolder(outside, true));
        // Windows has no name for what a folder with a quote in its name holds.
        ASSERT_TRUE(files::createSymbolicLink(outside + "/wrapper", wrapper));
        use(Sandbox::off);
    }
    ~WineSandbox() override {
        if (room == nullptr) return;
        stopAll();
        use(Sandbox::off);
        static_cast<void>(files::remove(outside));
    }

    static void use(Sandbox mode) {
        NSPortManager port = NSPortManager::managerWithPath(wrapper);
        putSandbox(mode, Wrapper(wrapper), *port.plist);
        ASSERT_TRUE(port.synchronizePlist());
    }
    static std::string shared() { return userHome + "/Shared"; }
    static std::string port(const testing::LoopbackSite& site) {
        const std::string address = site.baseAddress();
        return address.substr(address.rfind(':') + 1, address.size() - address.rfind(':') - 2);
    }
    /// "yes" and "no" to each of the tasks, by the probe outside of drive C.
    static std::string tried(std::vector<std::string> tasks) {
        static_cast<void>(files::remove(driveC + "/out.txt"));
        tasks.insert(tasks.begin(), {probe, "try"});
        const Outcome ended = runAs("/Contents/MacOS/CaskeryLauncher", std::move(tasks));
        EXPECT_EQ(ended.status, 0) << ended.output;
        const std::string text = out();
        const std::size_t line = text.rfind("tried ");
        return line == std::string::npos ? text : text.substr(line + 6, text.size() - line - 7);
    }
    static int servers() {
        int count = 0;
        for (const PrefixProcess& process : processesOf(wrapper + "/Contents/Resources"))
            count += process.isServer ? 1 : 0;
        return count;
    }

    static inline const std::string outside = MORVANE_BUILD_FOLDER "/sandbox_outside";
};

TEST_F(WineSandbox, AProgramReachesWhatTheModeLetsThrough) {
    testing::LoopbackSite site;
    const std::string drive = wrapper + "/Contents/Resources/dosdevices/s:";
    ASSERT_TRUE(files::createSymbolicLink(userHome + "/Link", shared()));
    ASSERT_TRUE(files::createSymbolicLink(drive, userHome + "/Link"));
    const std::string diary = userHome + "/diary.txt";
    const std::vector<std::string> tasks{
        "r=Z:" + diary,
        "r=Z:/proc/" + std::to_string(::getpid()) + "/root" + diary,
        "w=Z:" + userHome + "/here.txt",
        "w=Z:" + outside + "/here.txt",
        "w=Z:" + outside + "/wrapper/Contents/here.txt",
        "c=" + port(site),
        "r=Z:/etc/passwd",
        "w=C:/Game/here.txt",
        "w=S:/here.txt",
    };
    struct Row {
        Sandbox mode;
        const char* answers;
        bool isWrittenOutside;
    };
    for (const Row& row : {Row{Sandbox::off, "yes yes yes yes yes yes yes yes yes", true},
                           Row{Sandbox::home, "no no no no no yes yes yes yes", false},
                           Row{Sandbox::strict, "no no no no no no yes yes yes", false}}) {
        use(row.mode);
        EXPECT_EQ(tried(tasks), row.answers) << wordFor(row.mode);
        for (const std::string& path :
             {userHome + "/here.txt", outside + "/here.txt", wrapper + "/Contents/here.txt"}) {
            EXPECT_EQ(files::kindOf(path) == files::Kind::file, row.isWrittenOutside) << path;
            static_cast<void>(files::remove(path));
        }
        for (const std::string& path : {driveC + "/Game/here.txt", shared() + "/here.txt"})
            EXPECT_TRUE(files::remove(path)) << path;
        EXPECT_EQ(servers(), 0);
    }
    EXPECT_TRUE(files::remove(drive));
}

TEST_F(WineSandbox, StartsShareOneServerAndAStopSavesTheRegistry) {
    use(Sandbox::home);
    // What a killed server has left does not keep the next one from starting.
    put(wrapper + "/Contents/SandboxTemporary/left/socket", "");
    const pid_t child = startedLauncher({probe, "set", "sandboxed", "wait"});
    waitForFile("out.txt");
    EXPECT_EQ(files::kindOf(wrapper + "/Contents/SandboxTemporary/left"), files::Kind::none);
    EXPECT_EQ(runAs("/Contents/MacOS/CaskeryLauncher", {probe, "exit"}).status, 7);
    EXPECT_EQ(servers(), 1);

    for (const Sandbox other : {Sandbox::off, Sandbox::strict}) {
        use(other);
        const std::string before = out();
        EXPECT_EQ(runAs("/Contents/MacOS/CaskeryLauncher", {probe, "exit"}).status, 1) << wordFor(other);
        EXPECT_EQ(tool({"CKS-winecfg"}).status, 1);
        EXPECT_EQ(out(), before) << "nothing was started";
        EXPECT_EQ(servers(), 1);
    }
    ::kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
    EXPECT_NE(registry().find("\"sandboxed\"=\"written\""), std::string::npos);
    EXPECT_TRUE(processesOf(wrapper + "/Contents/Resources").empty());
}

TEST_F(WineSandbox, OneThatRunsWithoutASandboxIsNotJoinedByOneInIt) {
    const pid_t child = startedLauncher({probe, "wait"});
    waitForFile("out.txt");
    use(Sandbox::home);
    EXPECT_EQ(runAs("/Contents/MacOS/CaskeryLauncher", {probe, "exit"}).status, 1);
    EXPECT_EQ(servers(), 1);
    ::kill(child, SIGTERM);
    ::waitpid(child, nullptr, 0);
}

TEST_F(WineSandbox, AnInstallerSeesItsFolderAndWinetricksTheNetwork) {
    testing::LoopbackSite site;
    use(Sandbox::strict);
    const std::string disc = userHome + "/Downloads/Disc 1";
    ASSERT_TRUE(files::copy(probe, [&] {
        static_cast<void>(files::createFolder(disc, true));
        return disc + "/setup.exe";
    }()));
    put(disc + "/data.cab", "data");
    EXPECT_EQ(tool({"CKS-installer", disc + "/setup.exe", "try", "r=Z:" + disc + "/data.cab",
                    "w=Z:" + disc + "/data.cab", "r=Z:" + userHome + "/diary.txt", "c=" + port(site)})
                  .status,
              0);
    EXPECT_TRUE(out().ends_with("tried yes no no no\n")) << out();
    static_cast<void>(files::copy(probe, driveC + "/Game/game.exe"));
    put(wrapper + "/Caskery.app/Contents/Resources/winetricks",
        "#!/bin/sh\nexec wine 'C:\\Game\\game.exe' try c=" + port(site) + "\n");
    EXPECT_EQ(tool({"CKS-winetricks", "d3dx9"}).status, 0);
    EXPECT_TRUE(out().ends_with("tried yes\n")) << out();
}

TEST_F(WineSandbox, TheCommandBeforeTheProgramRunsOutsideAndTheProgramInside) {
    const std::string before = room->path + "/before";
    put(before, "#!/bin/sh\necho $# > '" + userHome + "/asked'\nexec \"$@\"\n");
    ASSERT_TRUE(files::setPermissions(before, 0755));
    static_cast<void>(files::copy(probe, driveC + "/Game/game.exe"));
    settings("/Contents/Info.plist", {{"Program Name and Path", "/Game/game.exe"},
                                      {"Program Flags", "try \"r=Z:" + userHome + "/diary.txt\""},
                                      {"Morvane Command Before", before}});
    use(Sandbox::home);
    EXPECT_EQ(runAs("/Contents/MacOS/CaskeryLauncher", {}).status, 0);
    settings("/Contents/Info.plist", {{"Morvane Command Before", ""}});
    EXPECT_TRUE(out().ends_with("tried no\n")) << out();
    EXPECT_EQ(files::kindOf(userHome + "/asked"), files::Kind::file);
}

TEST_F(WineSandbox, WithoutBubblewrapOnlyWhatTheUserAllowsRuns) {
    use(Sandbox::home);
    const std::string bin = room->path + "/bin", own = folder.path + "/own";
    put(bin + "/bwrap", "#!/bin/sh\necho 'bwrap: No permissions to create a new namespace' >&2\nexit 1\n");
    ASSERT_TRUE(files::setPermissions(bin + "/bwrap", 0755));
    const auto start = [&] {
        return runProgram(
            "/bin/sh", {"-c", "exec \"$@\" 2>&1", "sh", "/usr/bin/env", "-u", "DISPLAY", "HOME=" + userHome,
                        "MORVANE_HOME=" + own, "PATH=" + bin + ":" + ::getenv("PATH"),
                        wrapper + "/Contents/MacOS/CaskeryLauncher", probe, "exit"});
    };
    const Outcome refused = start();
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.output.find("bwrap: No permissions to create a new namespace"), std::string::npos)
        << refused.output;
    EXPECT_EQ(files::kindOf(driveC + "/out.txt"), files::Kind::none);
    DefaultsStore(defaultsFile(own)).set(runWithoutSandboxName, Value(true));
    EXPECT_EQ(start().status, 7);
}

}  // namespace
}  // namespace morvane::runtime
