// app/crash_reports.h: crash reports of earlier runs on their way to the catalogue. Any thread.
//
// The reports lie in "Library/Logs/DiagnosticReports" of the library folder, where some systems write them
// themselves; elsewhere the program does.
#pragma once

#include <optional>
#include <string>

#include "platform/folders.h"

namespace morvane::crash_reports {

enum class AskForDetails { no, yes };

/// Has this process write a report when it crashes, and removes the oldest reports of its kind beyond ten.
/// Main thread, before any other.
void writeOwnReports(const Folders& folders);

/// Returns at once; the search runs on the queue "app.morvane.lookForCrashLogs". A report is sent at most
/// once, also when the catalogue does not take it.
void lookForCrashLogs();
/// The last report, unless it is the one that was handled last.
[[nodiscard]] std::optional<std::string> newCrashLog();
/// Sends the report at the path with the user's words, and remembers its name. An unreadable one is sent
/// empty.
void sendNewCrashLog(const std::string& path);
/// Asks, when it is to, and posts; blocks on both. The answer is not looked at.
void sendCrashLog(const std::string& report, AskForDetails ask);
/// The version that the report names, or the application's own.
[[nodiscard]] std::string crashedVersion(const std::string& report);

}  // namespace morvane::crash_reports
