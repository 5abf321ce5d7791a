// tests/runtime/wine_fixture.h: what the tests with the real Wine share: the master wrapper of this build, this
// machine's Wine as its engine, a real prefix.
#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/process.h"
#include "platform/property_list.h"
#include "runtime/system_engine.h"
#include "runtime/wine_session.h"
#include "support/test_machine.h"

namespace morvane::runtime {

using testing::TemporaryFolder;
using testing::TestMachine;

struct Outcome {
    int status = -1;
    std::string output;
};

inline std::string program(const char* name) {
    return processes::search(name, ::getenv("PATH")).at(0);
}

inline Outcome runProgram(const std::string& path, std::vector<std::string> arguments,
                          const std::string& folder = "/") {
    ProcessRequest request;
    request.program = path;
    request.arguments = std::move(arguments);
    request.runFolder = folder;
    const auto result = processes::run(request);
    return result ? Outcome{result->ending.shellStatus(), result->output} : Outcome{};
}

/// One wrapper for the whole suite, because a prefix takes seconds. Its path holds what paths may hold.
class Wine : public TestMachine {
  protected:
    static void SetUpTestSuite() {
        if (processes::search("wine", ::getenv("PATH")).empty()) return;
        room = new TemporaryFolder;
        userHome = room->path + "/home";
        for (const char* name : {"/Desktop", "/Documents"})
            ASSERT_TRUE(files::createFolder(userHome + name, true));
        wrapper = room->path + "/made/It's \"A\" Game? & Co.app";
        unpackMaster();
        unpackEngine();
        probe = room->path + "/probe.exe";
        ASSERT_EQ(
            runProgram(program("x86_64-w64-mingw32-gcc"),
                       {"-O1", "-s", "-o", probe, MORVANE_SOURCE_FOLDER "/tests/runtime/probe.c", "-lws2_32"})
                .status,
            0);
        created = tool({"CKS-wineprefixcreate"});
        untouched = room->path + "/untouched.app";
        ASSERT_TRUE(files::copy(wrapper, untouched));
        // Made in one place and moved to another, as every wrapper is.
        const std::string moved = room->path + "/It's \"A\" Game? & Co.app";
        ASSERT_TRUE(files::move(wrapper, moved));
        wrapper = moved;
        driveC = wrapper + "/Contents/Resources/drive_c";
        ASSERT_TRUE(files::createFolder(driveC + "/Game", true));
    }
    static void TearDownTestSuite() {
        if (room == nullptr) return;
        stopAll();
        delete room;
        room = nullptr;
    }
    void SetUp() override {
        if (room == nullptr) GTEST_SKIP() << "there is no Wine on this machine";
        static_cast<void>(files::remove(driveC + "/out.txt"));
    }

    static void unpackMaster() {
        const std::string work = room->path + "/made";
        ASSERT_TRUE(files::createFolder(work, true));
        const std::string archive = MORVANE_BUILD_FOLDER "/share/morvane/site/Wrapper/Caskery-1.0.app.tar.7z";
        ASSERT_EQ(runProgram(program("7z"), {"x", "-bd", "-bso0", archive}, work).status, 0);
        ASSERT_EQ(runProgram(program("tar"), {"-xf", "Caskery-1.0.tar"}, work).status, 0);
        ASSERT_TRUE(files::move(work + "/Caskery-1.0.app", wrapper));
    }
    static void unpackEngine() {
        SystemEngineMachine machine;
        const auto archive = packSystemEngine(room->path, SystemEngine::thin, host().creation);
        ASSERT_TRUE(archive) << archive.error().message();
        engine = files::withoutExtension(files::withoutExtension(files::lastComponent(*archive)));
        const std::string work = wrapper + "/Contents/Frameworks";
        ASSERT_EQ(runProgram(program("7z"), {"x", "-bd", "-bso0", *archive}, work).status, 0);
        ASSERT_EQ(runProgram(program("tar"), {"-xf", engine + ".tar"}, work).status, 0);
        ASSERT_TRUE(files::remove(work + "/" + engine + ".tar"));
    }
    /// A host for the packer, before the fixture's own.
    struct SystemEngineMachine {
        testing::ScriptedUserInterface ui;
        Host machine{{Folders::fromEnvironment(), {}, ::getenv("PATH"), {}}, ui};
    };

    static Outcome runAs(const std::string& executable, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"-u", "DISPLAY", "LC_ALL=C", "HOME=" + userHome,
                                             "CASKERY_INSTALLER_PATIENCE=1", wrapper + executable});
        return runProgram("/usr/bin/env", std::move(arguments));
    }
    static Outcome tool(std::vector<std::string> arguments) {
        return runAs("/Contents/Frameworks/bin/Caskery", std::move(arguments));
    }
    /// The launcher, left to run.
    static pid_t startedLauncher(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"env", "-u", "DISPLAY", "HOME=" + userHome,
                                             wrapper + "/Contents/MacOS/CaskeryLauncher"});
        std::vector<char*> words;
        for (std::string& argument : arguments) words.push_back(argument.data());
        words.push_back(nullptr);
        const pid_t child = ::fork();
        if (child != 0) return child;
        ::execv("/usr/bin/env", words.data());
        ::_exit(127);
    }
    /// Until the file is there, in the root of drive C.
    static void waitForFile(const std::string& name) {
        const int events = ::inotify_init1(IN_CLOEXEC);
        ::inotify_add_watch(events, driveC.c_str(), IN_CREATE | IN_CLOSE_WRITE);
        std::array<char, 4096> buffer{};
        while (files::kindOf(driveC + "/" + name) == files::Kind::none) {
            pollfd event{events, POLLIN, 0};
            if (::poll(&event, 1, 60000) <= 0 || ::read(events, buffer.data(), buffer.size()) <= 0) break;
        }
        ::close(events);
    }
    static void stopAll() {
        for (const PrefixProcess& process : processesOf(wrapper + "/Contents/Resources"))
            ::kill(process.number, SIGKILL);
    }
    static void settings(const std::string& file, const Dictionary& changes) {
        auto values = *property_lists::read(wrapper + file)->as<Dictionary>();
        for (const auto& [key, value] : changes) values.set(key, value);
        ASSERT_TRUE(property_lists::write(wrapper + file, values));
    }
    static std::string user() {
        const char* name = ::getenv("USER");
        return name != nullptr ? name : ::getpwuid(::getuid())->pw_name;
    }
    static std::string registry() { return get(wrapper + "/Contents/Resources/user.reg"); }
    static std::string out() { return get(driveC + "/out.txt"); }

    static inline TemporaryFolder* room = nullptr;
    static inline std::string wrapper, untouched, driveC, userHome, probe, engine;
    static inline Outcome created;
};

}  // namespace morvane::runtime
