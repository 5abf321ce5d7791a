#include "runtime/windows_programs.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "runtime/builtin_files.h"
#include "runtime/launch.h"
#include "support/test_machine.h"
#include "support/windows_file.h"

namespace morvane::runtime {
namespace {

using testing::TemporaryFolder;
using testing::TestMachine;
using testing::windowsFile;
using Texts = std::vector<std::string>;

TEST(SplitArguments, AsWindowsProgramsDo) {
    const struct {
        const char* text;
        Texts arguments;
    } rows[] = {
        {"", {}},
        {"  -a   -b ", {"-a", "-b"}},
        {R"("a b" c)", {"a b", "c"}},
        {R"(-path="C:\My Games\x" y)", {R"(-path=C:\My Games\x)", "y"}},
        {R"("C:\dir\\" end)", {R"(C:\dir\)", "end"}},
        {R"(say \"hi\" \\server\a)", {"say", "\"hi\"", R"(\\server\a)"}},
        {R"("" x)", {"", "x"}},
        {R"("open end)", {"open end"}},
        {R"(tail\)", {R"(tail\)"}},
    };
    for (const auto& row : rows) EXPECT_EQ(splitArguments(row.text), row.arguments) << row.text;
}

TEST(StartLineOf, OnlyABatchFileThatJustStartsAProgram) {
    const struct {
        const char* text;
        std::optional<StartLine> line;
    } rows[] = {
        {R"(start "C:\My Game\a.exe" /S -x "y z")", StartLine{R"(C:\My Game\a.exe)", R"(/S -x "y z")"}},
        {R"(start "C:\a.exe" )", StartLine{R"(C:\a.exe)", ""}},
        {R"("D:/Setup/run.exe" -safe)", StartLine{"D:/Setup/run.exe", "-safe"}},
        {R"(start "A title" notepad)", std::nullopt},
        {"start \"C:\\a.exe\"\r\necho done", std::nullopt},
        {R"("C:\Might & Magic ^1 <x>\a|b.exe" "& y")",
         StartLine{R"(C:\Might & Magic ^1 <x>\a|b.exe)", R"("& y")"}},
        {R"("C:\100% Orange Juice\a.exe" -w)", StartLine{R"(C:\100% Orange Juice\a.exe)", "-w"}},
        {R"("%ProgramFiles%\a.exe")", std::nullopt},
        {R"("C:\a.exe" %1)", std::nullopt},
        {R"("C:\a.exe" & del b)", std::nullopt},
        {"\"C:\\a.exe", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& row : rows) EXPECT_EQ(startLineOf(row.text), row.line) << row.text;
}

class DriveC : public ::testing::Test {
  protected:
    DriveC() : bundle{Wrapper(folder.path + "/G.app"), folder.path + "/G.app", Role::tool} {
        TestMachine::put(bundle.wrapper.driveC() + "/windows/system32/ntdll.dll", windowsFile(0x8664, true));
        TestMachine::put(bundle.wrapper.driveC() + "/My Game/Game.EXE", windowsFile(0x8664, true));
        TestMachine::put(bundle.wrapper.driveC() + "/My Game/old.exe", windowsFile(0x014c, false));
        EXPECT_TRUE(files::createFolder(bundle.wrapper.dosdevices(), true));
        EXPECT_TRUE(files::createSymbolicLink(bundle.wrapper.prefix() + "/dosdevices/c:", "../drive_c"));
    }
    Texts callOf(const std::string& program, Texts arguments = {}) {
        auto call = callFor(bundle, program, std::move(arguments));
        if (!call) return {call.error().message()};
        return call->arguments;
    }
    TemporaryFolder folder;
    WrapperBundle bundle;
};

TEST_F(DriveC, PathsAreFoundWithoutRegardToCase) {
    EXPECT_EQ(hostPathOf(bundle.wrapper.prefix(), R"(c:\my game\GAME.exe)"),
              files::resolved(bundle.wrapper.driveC()).value() + "/My Game/Game.EXE");
    EXPECT_EQ(hostPathOf(bundle.wrapper.prefix(), "C:/My Game/none.exe"), std::nullopt);
    EXPECT_EQ(hostPathOf(bundle.wrapper.prefix(), "D:/a.exe"), std::nullopt);
    EXPECT_EQ(hostPathOf(bundle.wrapper.prefix(), "a.exe"), std::nullopt);
}

TEST_F(DriveC, EachKindOfFileHasItsCall) {
    const std::string drive = files::resolved(bundle.wrapper.driveC()).value();
    TestMachine::put(drive + "/start.bat", R"(start "C:\My Game\Game.EXE" -a "b c")");
    TestMachine::put(drive + "/more.bat", "@echo off\r\n\"C:\\My Game\\Game.EXE\"\r\n");
    TestMachine::put(drive + "/setup.MSI", "x");
    EXPECT_EQ(callOf("C:/My Game/Game.EXE", {"-x"}), (Texts{"C:/My Game/Game.EXE", "-x"}));
    EXPECT_EQ(callOf(drive + "/start.bat"), (Texts{R"(C:\My Game\Game.EXE)", "-a", "b c"}));
    EXPECT_EQ(callOf(drive + "/more.bat"), (Texts{"start.exe", "/wait", "/unix", drive + "/more.bat"}));
    EXPECT_EQ(callOf(drive + "/setup.MSI"), (Texts{"msiexec.exe", "/i", drive + "/setup.MSI"}));
    TestMachine::put(drive + "/100% Übung/a.exe", windowsFile(0x8664, true));
    TestMachine::put(drive + "/text.exe", "root:x:0");
    TestMachine::put(drive + "/phone.exe", windowsFile(0xaa64, true));
    TestMachine::put(drive + "/literal.bat", R"("C:/100% Übung/a.exe")");
    TestMachine::put(drive + "/variable.bat", R"("C:/%HOME% Übung/a.exe")");
    EXPECT_EQ(callOf("C:/none.exe"), (Texts{"C:/none.exe is missing."}));
    EXPECT_EQ(callOf(drive + "/text.exe"), (Texts{drive + "/text.exe is not a Windows program."}));
    EXPECT_NE(callOf(drive + "/phone.exe").at(0).find("an ARM64 program"), std::string::npos);
    EXPECT_EQ(callOf(drive + "/literal.bat"), (Texts{"C:/100% Übung/a.exe"}));
    EXPECT_EQ(callOf(drive + "/variable.bat").at(0), "start.exe");
    const auto call = callFor(bundle, drive + "/start.bat", {});
    EXPECT_EQ(call->runFolder, drive + "/My Game");  // games look for their files here
}

TEST_F(DriveC, A32BitProgramNeedsTheEngines32BitPart) {
    EXPECT_NE(callOf("C:/My Game/old.exe").at(0).find("wine32"), std::string::npos);
    // The drive has the libraries, and the engine none of its own: another one has made the drive.
    TestMachine::put(bundle.wrapper.driveC() + "/windows/syswow64/ntdll.dll", windowsFile(0x014c, false));
    const std::string libraries = bundle.wrapper.engine() + "/lib/wine/";
    TestMachine::put(libraries + "x86_64-windows/ntdll.dll", "");
    EXPECT_NE(callOf("C:/My Game/old.exe").at(0).find("32-bit program"), std::string::npos);
    TestMachine::put(libraries + "i386-windows/ntdll.dll", "");
    EXPECT_EQ(callOf("C:/My Game/old.exe"), (Texts{"C:/My Game/old.exe"}));
}

TEST_F(DriveC, TheStartCommandIsUsedOnlyWhereItIsAskedFor) {
    LaunchSettings settings;
    settings.program = "/My Game/Game.EXE";
    settings.flags = R"(-a "b c")";
    auto call = mainCall(bundle, settings);
    EXPECT_EQ(call->arguments, (Texts{"C:/My Game/Game.EXE", "-a", "b c"}));
    settings.useStart = true;
    call = mainCall(bundle, settings);
    const std::string drive = files::resolved(bundle.wrapper.driveC()).value();
    EXPECT_EQ(call->arguments,
              (Texts{"start.exe", "/wait", "/unix", drive + "/My Game/Game.EXE", "-a", "b c"}));
    settings.program.clear();
    EXPECT_FALSE(mainCall(bundle, settings));
}

TEST(CutDebugInformation, TouchesOnlyFilesWithWinesMark) {
    const TemporaryFolder folder;
    const std::string file = folder.path + "/a.dll", own = windowsFile(0x8664, true) + std::string(5000, 'x');
    TestMachine::put(file, own);
    EXPECT_EQ(cutDebugInformationBelow(folder.path), 0U);
    EXPECT_EQ(TestMachine::get(file), own);
    for (std::size_t size : {0U, 100U, 300U}) {  // with the mark, but cut short
        std::string cut = own;
        cut.replace(0x40, 16, "Wine builtin DLL");
        TestMachine::put(file, cut.substr(0, size));
        EXPECT_EQ(cutDebugInformation(file), 0U);
        EXPECT_EQ(TestMachine::get(file), cut.substr(0, size));
    }
}

}  // namespace
}  // namespace morvane::runtime
