// tests/end_to_end/command.h: the real `morvane` command in a home of its own, with the real Wine.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "support/test_machine.h"

namespace morvane::testing {

class Command {
  public:
    struct Ended {
        int exitCode = 0;
        std::string output;  ///< standard output and standard error, as they came
    };

    /// Environment of every run; "NAME=value".
    std::vector<std::string> environment;

    /// Runs it to its end with no standard input. `line` sees each line that it prints, with its process
    /// number.
    Ended run(const std::vector<std::string>& arguments,
              const std::function<void(const std::string& line, pid_t process)>& line = {}) const;
};

/// The processes whose Wine prefix lies below the folder, zombies left out.
[[nodiscard]] std::vector<std::string> processesBelow(const std::string& folder);

}  // namespace morvane::testing
