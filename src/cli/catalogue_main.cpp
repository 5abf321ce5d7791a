// The `morvane-catalogue` program: a catalogue's server, for machines without the rest.
#include "cli/command_line.h"

int main(int argc, char** argv) {
    return morvane::cli::runCatalogueCommandLine(argc, argv);
}
