// The `morvane` command.
#include "app/crash_reports.h"
#include "cli/command_line.h"
#include "platform/folders.h"

int main(int argc, char** argv) {
    morvane::crash_reports::writeOwnReports(morvane::Folders::fromEnvironment());
    return morvane::cli::runCommandLine(argc, argv);
}
