// cli/command_line.h: the command line: options, and which command they ask for.
#pragma once

namespace morvane::cli {

/// Runs the command and returns its exit code: 0 done, 1 failed, 2 usage, 4 a question without an answer, 130
/// cancelled.
int runCommandLine(int argc, char** argv);
/// The same for the program that is a catalogue's server: what `serve` of the other one does.
int runCatalogueCommandLine(int argc, char** argv);

}  // namespace morvane::cli
