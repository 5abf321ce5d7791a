#include "platform/own_process.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

namespace morvane::processes {
namespace {

/// The parent's number; 0 when the process has gone or the system has no `/proc`.
long parentOf(long process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::stringstream contents;
    contents << file.rdbuf();
    // "number (name) state parent ...", where the name may hold blanks and parentheses.
    const std::string line = contents.str();
    const std::size_t nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) return 0;
    std::istringstream fields(line.substr(nameEnd + 1));
    char state = 0;
    long parent = 0;
    fields >> state >> parent;
    return parent;
}

}  // namespace

std::vector<std::string> ownLine() {
    std::vector<std::string> line{std::to_string(getpid())};
    for (long ancestor = getppid(); ancestor > 0; ancestor = parentOf(ancestor)) {
        line.push_back(std::to_string(ancestor));
    }
    return line;
}

bool runsOwnProgram(const std::string& number) {
    std::error_code failed, ownFailed;
    const auto program = std::filesystem::read_symlink("/proc/" + number + "/exe", failed);
    const auto own = std::filesystem::read_symlink("/proc/self/exe", ownFailed);
    return !failed && !ownFailed && program == own;
}

}  // namespace morvane::processes
