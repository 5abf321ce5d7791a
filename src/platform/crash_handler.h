// platform/crash_handler.h: what a program leaves behind when it crashes. Main thread, before any other.
//
// Crashes are SIGSEGV, SIGABRT, SIGBUS, SIGFPE and SIGILL, and an exception that nobody catches. The report
// is written without allocating, and the signal then does what it would have done. A stack that has
// overflowed is reported for the main thread only: another stack to stand on is a thread's own.
#pragma once

#include <string>

namespace morvane {

struct CrashReports {
    std::string folder;   ///< absolute; made, with its parents, when there is something to write
    std::string program;  ///< begins the names of the reports: "<program>_2026-11-23-081500_<pid>.crash"
    std::string version;
};

/// Writes a report of every crash from now on, for this user's eyes only. A second call, and a folder whose
/// path is longer than the system can open, change nothing.
void installCrashHandler(const CrashReports& reports);

}  // namespace morvane
