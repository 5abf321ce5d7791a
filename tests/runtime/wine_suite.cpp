// The real thing: a wrapper's programs in the real Wine.

#include "runtime/wine_fixture.h"

#include <sys/wait.h>

#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "building/finished_prefix.h"
#include "platform/digest.h"
#include "runtime/builtin_files.h"
#include "runtime/windows_programs.h"

namespace morvane::runtime {
namespace {

TEST_F(Wine, APrefixIsMadeInsideTheWrapper) {
    EXPECT_EQ(created.status, 0);
    EXPECT_EQ(created.output, "");
    const std::string prefix = wrapper + "/Contents/Resources";
    for (const char* name :
         {"/system.reg", "/user.reg", "/dosdevices/z:", "/drive_c/windows/system32/kernel32.dll"}) {
        EXPECT_NE(files::kindBehind(prefix + name), files::Kind::none) << name;
    }
    EXPECT_EQ(*files::destinationOfLink(prefix + "/dosdevices/c:"), "../drive_c");
    std::uintmax_t size = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(prefix + "/drive_c")) {
        EXPECT_FALSE(entry.is_symlink()) << entry.path();  // nothing leads to the home folder
        if (entry.is_regular_file() && !entry.is_symlink()) size += entry.file_size();
    }
    EXPECT_LT(size, 250U << 20);
    EXPECT_TRUE(processesOf(files::resolved(prefix).value()).empty());
    EXPECT_TRUE(std::filesystem::is_empty(userHome + "/Desktop"));
}

/// Every path of a prefix with what it is; of the registry, which is compared by its keys, only that it is there.
std::map<std::string, std::string> filesOf(const std::string& prefix) {
    std::map<std::string, std::string> found;
    for (const char* part : {"drive_c", "dosdevices"}) {
        const auto paths = files::listBelow(prefix + "/" + part);
        for (const std::string& below : *paths) {
            const std::string path = std::string(part) + "/" + below, whole = prefix + "/" + path;
            const files::Kind kind = files::kindOf(whole);
            if (kind == files::Kind::link) found[path] = "link " + *files::destinationOfLink(whole);
            if (kind == files::Kind::folder) found[path] = "folder";
            if (kind == files::Kind::file) found[path] = *digest::sha256OfFile(whole);
            if (kind == files::Kind::link) continue;
            std::ostringstream mode;
            mode << " " << std::oct << static_cast<unsigned>(std::filesystem::status(whole).permissions());
            found[path] += mode.str();
        }
    }
    found[".update-timestamp"] = TestMachine::get(prefix + "/.update-timestamp");
    return found;
}

/// The values of all three files, "file|[key]|"name"" to the value; times of keys are left out.
std::map<std::string, std::string> valuesOf(const std::string& prefix) {
    std::map<std::string, std::string> values;
    for (const char* name : {"system.reg", "user.reg", "userdef.reg"}) {
        std::istringstream lines(TestMachine::get(prefix + "/" + name));
        std::string key, value;
        for (std::string line; std::getline(lines, line);) {
            if (line.starts_with('[')) {
                key = line.substr(0, line.rfind(']') + 1);
                values[std::string(name) + "|" + key] = "key";
            } else if (line.starts_with('"') || line.starts_with('@')) {
                value = std::string(name) + "|" + key + "|" + line.substr(0, line.find('='));
                values[value] = line;
            } else if (!line.starts_with("#time=")) {
                values[value] += line;
            }
        }
    }
    return values;
}

/// The names of the values that differ.
std::set<std::string> differing(const std::map<std::string, std::string>& one,
                                const std::map<std::string, std::string>& other) {
    std::set<std::string> names;
    for (const auto* side : {&one, &other}) {
        for (const auto& [name, value] : *side) {
            const auto first = one.find(name), second = other.find(name);
            const bool same = first != one.end() && second != other.end() && first->second == second->second;
            if (!same) names.insert(name.substr(name.rfind('|') + 1));
        }
    }
    return names;
}

TEST_F(Wine, ACopiedPrefixIsAsGoodAsAFreshOne) {
    const auto bare = [&](const char* name) {
        const std::string path = folder.path + "/" + name + ".app";
        EXPECT_TRUE(files::createFolder(path + "/Contents/Resources", true));
        for (const char* part : {"/Contents/Frameworks", "/Contents/MacOS", "/Contents/Info.plist",
                                 "/Caskery.app", "/Contents/Resources/CKX11Prefs.plist"}) {
            EXPECT_TRUE(files::copy(wrapper + part, path + part)) << part;
        }
        return path;
    };
    const auto asked = [&](const std::string& path, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(),
                         {"-u", "DISPLAY", "HOME=" + userHome, path + "/Contents/Frameworks/bin/Caskery"});
        return runProgram("/usr/bin/env", std::move(arguments)).status;
    };
    // The prefix is moved before it is kept, as in a build, and the copy lies elsewhere.
    const std::string first = untouched, copied = bare("It's a & Copy"), fresh = bare("Fresh");
    ASSERT_EQ(asked(fresh, {"CKS-wineprefixcreate"}), 0);
    building::FinishedPrefix{Wrapper(first)}.keep(Wrapper(first));
    ASSERT_TRUE(building::FinishedPrefix{Wrapper(copied)}.copyInto(Wrapper(copied)));

    // Two fresh ones differ as much: the day of a driver is that of the creation.
    const std::set<std::string> own{"\"MachineGuid\"", "\"VideoID\"", "\"DriverDateData\""};
    const auto prefixOf = [](const std::string& path) { return path + "/Contents/Resources"; };
    EXPECT_EQ(filesOf(prefixOf(copied)), filesOf(prefixOf(fresh)));
    EXPECT_EQ(differing(valuesOf(prefixOf(copied)), valuesOf(prefixOf(fresh))), own);
    EXPECT_EQ(differing(valuesOf(prefixOf(copied)), valuesOf(prefixOf(first))),
              (std::set<std::string>{"\"MachineGuid\"", "\"VideoID\""}));
    EXPECT_GT(valuesOf(prefixOf(copied)).size(), 10000U);

    const std::string stamp = get(prefixOf(fresh) + "/.update-timestamp");
    EXPECT_EQ(asked(copied, {probe, "exit"}), 7);
    EXPECT_EQ(get(prefixOf(copied) + "/.update-timestamp"), stamp) << "nothing to update at the first start";
    static_cast<void>(files::remove(prefixOf(copied) + "/drive_c/out.txt"));

    // An update of Wine: each notices it by its own stamp.
    for (const std::string& path : {copied, fresh}) {
        put(prefixOf(path) + "/.update-timestamp", "1\n");
        EXPECT_EQ(asked(path, {"CKS-wineboot"}), 0);
        EXPECT_EQ(get(prefixOf(path) + "/.update-timestamp"), stamp);
    }
    EXPECT_EQ(filesOf(prefixOf(copied)), filesOf(prefixOf(fresh)));
    EXPECT_EQ(differing(valuesOf(prefixOf(copied)), valuesOf(prefixOf(fresh))), own);
}

TEST_F(Wine, TheMainProgramStartsInItsFolderWithItsFlags) {
    ASSERT_TRUE(files::createFolder(driveC + "/My Game", true));
    static_cast<void>(files::copy(probe, driveC + "/My Game/game.exe"));
    settings("/Contents/Info.plist", {{"Program Name and Path", "/My Game/game.exe"},
                                      {"Program Flags", R"(exit "t w o" -c:\d)"},
                                      {"Disable CPUs", true},
                                      {"set max files", true}});
    const Outcome run = runAs("/Contents/MacOS/CaskeryLauncher", {});
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(out(), "C:\\My Game|C:\\My Game\\game.exe|exit|t w o|-c:\\d\n");
}

TEST_F(Wine, TheUsersVariablesAndCommandComeBeforeTheProgram) {
    static_cast<void>(files::copy(probe, driveC + "/Game/game.exe"));
    const std::string before = room->path + "/be fore";
    put(before,
        "#!/bin/sh\necho \"$1|$2|$OVERLAY|$WINEPREFIX\" > '" + userHome + "/asked'\nshift 2\nexec \"$@\"\n");
    ASSERT_TRUE(files::setPermissions(before, 0755));
    const auto use = [&](const std::string& command) {
        settings("/Contents/Info.plist",
                 {{"Program Name and Path", "/Game/game.exe"},
                  {"Program Flags", "exit \"t w o\""},
                  {"Morvane Environment", Dictionary{{"OVERLAY", "a 'b'"}, {"WINEPREFIX", "/nowhere"}}},
                  {"Morvane Command Before", command}});
    };
    use("'" + before + "' -f \"one two\"");
    EXPECT_EQ(runAs("/Contents/MacOS/CaskeryLauncher", {}).status, 7);
    EXPECT_TRUE(get(userHome + "/asked").starts_with("-f|one two|a 'b'|/")) << get(userHome + "/asked");
    EXPECT_EQ(get(userHome + "/asked").find("/nowhere"), std::string::npos);
    EXPECT_EQ(out(), "C:\\Game|C:\\Game\\game.exe|exit|t w o\n");

    static_cast<void>(files::remove(driveC + "/out.txt"));
    use("no-such-command");
    EXPECT_EQ(runAs("/Contents/MacOS/CaskeryLauncher", {}).status, 1);
    EXPECT_EQ(files::kindOf(driveC + "/out.txt"), files::Kind::none) << "not started";
    use("");
}

TEST_F(Wine, ACustomExeStartsItsOwnProgram) {
    static_cast<void>(files::copy(probe, driveC + "/Game/editor.exe"));
    static_cast<void>(
        files::copy(wrapper + "/Caskery.app/Contents/Resources/CustomEXE.app", wrapper + "/Editor.app"));
    settings("/Editor.app/Contents/Info.plist.cexe",
             {{"Program Name and Path", "/Game/editor.exe"}, {"Program Flags", "exit"}});
    EXPECT_EQ(runAs("/Editor.app/Contents/MacOS/CustomEXE", {}).status, 7);
    EXPECT_EQ(out(), "C:\\Game|C:\\Game\\editor.exe|exit\n");
}

TEST_F(Wine, AnInstallersRegistryIsOnDiskAndTheGameThatItLeftIsEnded) {
    put(driveC + "/setup.bat", "start \"Z:" + probe + "\" install");
    EXPECT_EQ(tool({"CKS-installer", driveC + "/setup.bat"}).status, 0);
    EXPECT_NE(registry().find("\"installed\"=\"written\""), std::string::npos);
    EXPECT_NE(out().find("|C:\\Game\\left.exe|wait\n"), std::string::npos);
    EXPECT_TRUE(processesOf(files::resolved(wrapper + "/Contents/Resources").value()).empty());
}

// In a locale without UTF-8, which the names must survive as well.
TEST_F(Wine, ProgramsAndBatchFilesOfAnyNameStartInTheirFolder) {
    // The others join a start that keeps the prefix awake: that is ten times as fast.
    const pid_t awake = startedLauncher({probe, "wait"});
    waitForFile("out.txt");
    const std::string outside = room->path + "/with \" and ?";
    for (const std::string name :
         {"Might & Magic", "a&b", "100% Juice", "a ^ b", "Pokémon", "Игра", "a;b,c=(d)"}) {
        for (const std::string& place : {driveC + "/" + name, outside + "/" + name}) {
            const std::string exe = place + "/" + name + ".exe", batch = place + "/" + name + ".bat";
            put(exe, get(probe));
            put(place + "/here.txt", "");
            put(batch, "@echo off\r\necho %1\r\nif exist here.txt exit 3\r\n");
            static_cast<void>(files::remove(driveC + "/out.txt"));
            EXPECT_EQ(tool({"CKS-installer", exe, "exit", "x y"}).status, 7) << exe;
            EXPECT_TRUE(out().ends_with("|exit|x y\n")) << out();
            EXPECT_EQ(tool({"CKS-installer", batch}).status, 3) << batch;
            const Outcome console = tool({"CKS-console", batch, "a b"});
            EXPECT_EQ(console.status, 3) << batch;
            EXPECT_EQ(console.output, "\"a b\"\r\n") << batch;
        }
        // As the application starts a program that it gives arguments to, and one on another drive.
        put(driveC + "/line.bat", "start \"C:\\" + name + "\\" + name + ".exe\" exit line");
        EXPECT_EQ(tool({"CKS-installer", driveC + "/line.bat"}).status, 7) << name;
        EXPECT_TRUE(out().ends_with("|exit|line\n")) << out();
    }
    ::kill(awake, SIGTERM);
    ::waitpid(awake, nullptr, 0);
}

TEST_F(Wine, AMenuScriptRunsInTheWrappersEnvironment) {
    const std::string script = wrapper + "/Contents/Resources/CaskeryMenuScripts/AppEntry1--Édit";
    put(script, "#!/bin/bash\nwine 'Z:" + probe + "' set menu\nexit 4\n");
    EXPECT_EQ(tool({"CKS-menu", script}).status, 4);
    EXPECT_NE(registry().find("\"menu\"=\"written\""), std::string::npos);
}

TEST_F(Wine, AStopSavesTheRegistry) {
    const pid_t child = startedLauncher({probe, "set", "stopped", "wait"});
    waitForFile("out.txt");
    // A second start joins the first one's Wine and leaves it running.
    EXPECT_EQ(runAs("/Contents/MacOS/CaskeryLauncher", {probe, "exit"}).status, 7);
    ::kill(child, SIGTERM);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGTERM);
    EXPECT_NE(registry().find("\"stopped\"=\"written\""), std::string::npos);
    EXPECT_TRUE(processesOf(files::resolved(wrapper + "/Contents/Resources").value()).empty());
}

TEST_F(Wine, AStartPutsBackWhatIsMissingAndLeavesTheUsersLinks) {
    const std::string prefix = wrapper + "/Contents/Resources", users = driveC + "/users/" + user();
    for (const char* link : {"/dosdevices/c:", "/dosdevices/z:"}) ASSERT_TRUE(files::remove(prefix + link));
    for (const char* name : {"/Documents", "/Music"}) ASSERT_TRUE(files::remove(users + name));
    ASSERT_TRUE(files::createSymbolicLink(users + "/Documents", "/somewhere/saves"));
    EXPECT_EQ(tool({probe, "exit"}).status, 7);
    EXPECT_EQ(*files::destinationOfLink(prefix + "/dosdevices/c:"), "../drive_c");
    EXPECT_EQ(*files::destinationOfLink(prefix + "/dosdevices/z:"), "/");
    EXPECT_EQ(files::kindOf(users + "/Music"), files::Kind::folder);
    EXPECT_EQ(*files::destinationOfLink(users + "/Documents"), "/somewhere/saves");
}

TEST_F(Wine, DebugKeepsWhatWineSays) {
    static_cast<void>(files::copy(probe, driveC + "/Game/game.exe"));
    settings("/Contents/Info.plist",
             {{"Program Name and Path", "/Game/game.exe"}, {"Program Flags", "exit"}});
    EXPECT_EQ(tool({"debug"}).status, 7);
    EXPECT_NE(get(wrapper + "/Contents/Resources/Logs/LastRunWine.log").find("Engine: " + engine),
              std::string::npos);
    EXPECT_NE(get(wrapper + "/Contents/Resources/Logs/LastRunX11.log").find("DISPLAY="), std::string::npos);
}

TEST_F(Wine, WhatCannotRunIsRefused) {
    EXPECT_EQ(tool({"CKS-winetricks", "corefonts"}).status, 1);  // there is no script yet
    EXPECT_EQ(tool({"CKS-installer"}).status, 2);
    EXPECT_EQ(tool({"CKS-nothing"}).status, 2);
    EXPECT_EQ(tool({"/no/such/program.exe"}).status, 1);
    EXPECT_EQ(tool({"CKS-installer", "/etc/passwd"}).status, 1);
}

TEST_F(Wine, WinetricksRunsTheWrappersScriptInItsPrefix) {
    const std::string script = wrapper + "/Caskery.app/Contents/Resources/winetricks";
    put(script, "#!/bin/sh\necho noise\nwine 'Z:" + probe + "' set \"$2\"\nprintf '%s|' \"$@\" > '" +
                    userHome + "/asked'\n");
    EXPECT_EQ(tool({"CKS-winetricks", "d3dx9"}).output, "");
    EXPECT_EQ(get(userHome + "/asked"), "--no-isolate|d3dx9|");
    EXPECT_NE(registry().find("\"d3dx9\"=\"written\""), std::string::npos);
    put(script, "exit 3\n");
    EXPECT_EQ(tool({"CKS-winetricks", "d3dx9"}).status, 1);
}

TEST_F(Wine, AFullEngineRunsWithoutTheSystems) {
    const auto archive = packSystemEngine(folder.path, SystemEngine::full, host().creation);
    ASSERT_TRUE(archive) << archive.error().message();
    ASSERT_EQ(runProgram(program("7z"), {"x", "-bd", "-bso0", *archive}, folder.path).status, 0);
    ASSERT_EQ(runProgram(program("tar"), {"-xf", engine + ".tar"}, folder.path).status, 0);
    const std::string bundle = folder.path + "/ckwine.bundle", prefix = folder.path + "/prefix";
    EXPECT_EQ(get(bundle + "/version"), engine + "\n");
    EXPECT_EQ(cutDebugInformationBelow(bundle), 0U);
    const std::vector<std::string> environment{"-i",
                                               "PATH=/usr/bin:/bin",
                                               "HOME=" + userHome,
                                               "WINEPREFIX=" + prefix,
                                               "WINEDEBUG=-all",
                                               "WINEDLLOVERRIDES=winemenubuilder.exe=d;appwiz.cpl=d"};
    const auto inPrefix = [&](std::vector<std::string> command) {
        command.insert(command.begin(), environment.begin(), environment.end());
        command[environment.size()] = bundle + "/bin/" + command[environment.size()];
        return runProgram("/usr/bin/env", std::move(command)).status;
    };
    EXPECT_EQ(inPrefix({"wine", probe, "exit"}), 7);
    const auto running = processesOf(prefix);
    EXPECT_FALSE(running.empty());
    for (const PrefixProcess& process : running) {
        const auto path = files::destinationOfLink("/proc/" + std::to_string(process.number) + "/exe");
        EXPECT_TRUE(path->starts_with(bundle + "/")) << *path;
    }
    EXPECT_EQ(inPrefix({"wineserver", "-k"}), 0);
}

}  // namespace
}  // namespace morvane::runtime
