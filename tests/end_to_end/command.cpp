#include "end_to_end/command.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace morvane::testing {

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> mergedEnvironment(const std::vector<std::string>& changes) {
    std::vector<std::string> result = changes;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string text = *entry;
        const std::string name = text.substr(0, text.find('=') + 1);
        const bool changed = std::any_of(changes.begin(), changes.end(),
                                         [&](const auto& change) { return change.starts_with(name); });
        if (!changed) result.push_back(text);
    }
    return result;
}

}  // namespace

Command::Ended Command::run(const std::vector<std::string>& arguments,
                            const std::function<void(const std::string&, pid_t)>& line) const {
    const auto hasHome = [](const std::string& entry) { return entry.starts_with("MORVANE_HOME=/"); };
    if (std::ranges::none_of(environment, hasHome))
        throw std::logic_error("the user's own home is no test's");
    std::vector<std::string> words = {MORVANE_BUILD_FOLDER "/bin/morvane"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = mergedEnvironment(environment);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    pid_t process = 0;
    const int failed = posix_spawn(&process, words.front().c_str(), &actions, nullptr, pointers(words).data(),
                                   pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failed != 0) throw std::runtime_error("morvane does not start");

    Ended ended;
    std::string pending;
    char buffer[4096];
    for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof buffer)) > 0;) {
        pending.append(buffer, static_cast<std::size_t>(got));
        for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            const std::string text = pending.substr(0, end);
            pending.erase(0, end + 1);
            ended.output += text + "\n";
            if (line) line(text, process);
        }
    }
    close(ends[0]);
    int status = 0;
    waitpid(process, &status, 0);
    ended.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    ended.output += pending;
    return ended;
}

std::vector<std::string> processesBelow(const std::string& folder) {
    std::vector<std::string> found;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
        const std::string name = entry.path().filename();
        if (std::isdigit(static_cast<unsigned char>(name.front())) == 0) continue;
        std::ifstream file(entry.path() / "environ", std::ios::binary);
        std::stringstream environmentText;
        environmentText << file.rdbuf();
        if (environmentText.str().find("WINEPREFIX=" + folder) == std::string::npos) continue;
        std::ifstream words(entry.path() / "cmdline", std::ios::binary);
        std::stringstream commandLine;
        commandLine << words.rdbuf();
        found.push_back(name + " " + commandLine.str());
    }
    return found;
}

}  // namespace morvane::testing
