#include "platform/crash_handler.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/files.h"
#include "support/test_machine.h"

namespace morvane {
namespace {

int overflow(int depth) {
    volatile char room[4096] = {};
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : overflow(depth + 1) + room[0];
}

TEST(CrashHandler, WritesAReportAndThenLetsTheProgramDie) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer takes the signals for itself";
#endif
    struct Row {
        const char* name;
        void (*crash)();
        std::vector<std::string> lines;
    };
    const Row rows[] = {
        {"a bad pointer",
         [] {
             volatile std::uintptr_t nowhere = 16;  // which the compiler is not to know
             *reinterpret_cast<volatile int*>(nowhere) = 1;
         },
         {"Signal: SIGSEGV at 0x10\n"}},
        {"a sent signal", [] { kill(getpid(), SIGSEGV); }, {"Signal: SIGSEGV, raised by itself\n"}},
        {"an exception on a worker",
         [] { std::thread([] { throw std::runtime_error("no\nroom"); }).join(); },
         {"Signal: SIGABRT, raised by itself\nException: St13runtime_error: no room\n"}},
        {"a full stack", [] { static_cast<void>(overflow(0)); }, {"Signal: SIGSEGV at 0x"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const testing::TemporaryFolder home;
        const std::string folder = home.path + "/Library/Logs/Reports";
        const pid_t child = fork();
        if (child == 0) {
            installCrashHandler({.folder = folder, .program = "Morvane", .version = "1.2 (3)"});
            row.crash();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_FALSE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

        const auto names = *files::list(folder);
        ASSERT_EQ(names.size(), 1U);
        EXPECT_TRUE(names[0].starts_with("Morvane_20") &&
                    names[0].ends_with("_" + std::to_string(child) + ".crash"))
            << names[0];
        struct stat attributes {};
        stat((folder + "/" + names[0]).c_str(), &attributes);
        EXPECT_EQ(attributes.st_mode & 0777U, 0600U);
        const std::string report = *files::read(folder + "/" + names[0]);
        EXPECT_TRUE(
            report.starts_with("Process: Morvane [" + std::to_string(child) + "]\nVersion: 1.2 (3)\n"));
        for (const std::string& line : row.lines) EXPECT_NE(report.find(line), std::string::npos) << report;
        EXPECT_NE(report.find("Backtrace:\n0 program+0x"), std::string::npos) << report;
    }
}

}  // namespace
}  // namespace morvane
