// The `morvane` command.
#include "cli/command_line.h"

int main(int argc, char** argv) {
    return morvane::cli::runCommandLine(argc, argv);
}
