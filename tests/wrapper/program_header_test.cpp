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
