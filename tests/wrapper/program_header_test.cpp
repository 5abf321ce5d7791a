#include "wrapper/program_header.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "support/test_machine.h"
#include "support/windows_file.h"

namespace morvane {
namespace {

using testing::Managed;
using testing::TemporaryFolder;
using testing::TestMachine;
using testing::windowsFile;

TEST(MachineOf, ReadsTheHeader) {
    const TemporaryFolder folder;
    const std::string wide = windowsFile(0x8664, true);
    std::string farAway = wide.substr(0, 0x80);
    farAway.replace(0x3c, 4, std::string("\0\0\1\0", 4));
    farAway.resize(0x10000);
    const struct {
        const char* name;
        std::string bytes;
        Machine machine;
    } rows[] = {
        {"32 bits", windowsFile(0x014c, false), Machine::x86},
        {"64 bits", wide, Machine::x64},
        {"ARM, as Windows' own programs for it are", windowsFile(0x01c4, false), Machine::arm},
        {"ARM64", windowsFile(0xaa64, true), Machine::arm64},
        {"Itanium", windowsFile(0x0200, true), Machine::other},
        {".NET, also in a 32-bit file", windowsFile(0x014c, false, Managed::yes), Machine::any},
        {"header behind a long program for DOS", farAway + wide.substr(0x80), Machine::x64},
        {"cut before the header", wide.substr(0, 0x70), Machine::none},
        {"cut in the header", wide.substr(0, 0x83), Machine::none},
        {"a script", "#!/bin/sh", Machine::none},
        {"empty", "", Machine::none},
        {"header beyond the end", "MZ" + std::string(58, '\0') + "\xff\xff\xff\xff", Machine::none},
    };
    for (const auto& row : rows) {
        TestMachine::put(folder.path + "/a.exe", row.bytes);
        EXPECT_EQ(machineOf(folder.path + "/a.exe"), row.machine) << row.name;
    }
    EXPECT_EQ(machineOf(folder.path + "/missing"), Machine::none);
    EXPECT_EQ(machineOf(folder.path), Machine::none);
}

TEST(EngineRuns, ByTheLibrariesThatItBrings) {
    const struct {
        const char* name;
        std::vector<const char*> libraries;
        bool x86, x64, arm64;
    } rows[] = {
        {"64 bits only, with a stray library of 32 bits",
         {"lib/x86_64-linux-gnu/wine/x86_64-windows/ntdll.dll", "lib/wine/i386-windows/zlib1.dll"},
         false,
         true,
         false},
        {"both",
         {"lib/wine/i386-windows/ntdll.dll", "lib64/wine/x86_64-windows/ntdll.dll"},
         true,
         true,
         false},
        {"for ARM64",
         {"lib/wine/aarch64-windows/ntdll.dll", "lib/wine/i386-windows/ntdll.dll"},
         true,
         false,
         true},
        {"laid out in an unknown way", {"lib/wine/ntdll.dll.so"}, true, true, false},
    };
    for (const auto& row : rows) {
        const TemporaryFolder engine;
        for (const char* library : row.libraries) TestMachine::put(engine.path + "/" + library, "x");
        EXPECT_EQ(engineRuns(engine.path, Machine::x86), row.x86) << row.name;
        EXPECT_EQ(engineRuns(engine.path, Machine::x64), row.x64) << row.name;
        EXPECT_EQ(engineRuns(engine.path, Machine::arm64), row.arm64) << row.name;
        EXPECT_FALSE(engineRuns(engine.path, Machine::other)) << row.name;
        EXPECT_TRUE(engineRuns(engine.path, Machine::any)) << row.name;
        EXPECT_TRUE(engineRuns(engine.path, Machine::none)) << row.name;
    }
}

}  // namespace
}  // namespace morvane
