// ps ax: the lines of the system's own, with the wrapper's path added to those of programs that run in one.
//
// Wine rewrites the command lines of its processes, so that they no longer hold the wrapper's path; their
// environment still does. Callers stop every process whose line holds a path: whoever asks, and the programs
// that do the stopping, have it on their own command lines and are left out.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/own_process.h"
#include "platform/process.h"

namespace {

using namespace morvane;

std::string contents(const std::string& path) {
    auto bytes = files::read(path);
    return !bytes ? std::string() : *std::move(bytes);
}

/// The wrapper of a prefix "<wrapper>.app/Contents/Resources", or of a place below it.
std::optional<std::string> wrapperOf(std::string_view prefix) {
    constexpr std::string_view inside = ".app/Contents/Resources";
    const std::size_t place = prefix.find(inside);
    if (place == std::string_view::npos || !prefix.starts_with('/')) return std::nullopt;
    const std::string_view rest = prefix.substr(place + inside.size());
    if (!rest.empty() && !rest.starts_with('/')) return std::nullopt;
    const std::string_view wrapper = prefix.substr(0, place + 4);
    // A line break would make a line of its own out of the path, with a process number of its choice.
    const bool plain = std::none_of(wrapper.begin(), wrapper.end(), [](unsigned char c) { return c < ' '; });
    return plain ? std::optional(std::string(wrapper)) : std::nullopt;
}

std::optional<std::string> wrapperOfProcess(const std::string& number) {
    constexpr std::string_view variable = "WINEPREFIX=";
    const std::string environment = contents("/proc/" + number + "/environ");
    for (std::string_view left = environment; !left.empty();) {
        const std::string_view entry = left.substr(0, left.find('\0'));
        if (entry.starts_with(variable)) {
            const std::string prefix(entry.substr(variable.size()));
            // Wrappers below paths that Wine can't load from are reached through a link.
            const bool linked = files::kindOf(prefix) == files::Kind::link;
            return wrapperOf(linked ? files::resolved(prefix).value_or(prefix) : prefix);
        }
        left.remove_prefix(std::min(entry.size() + 1, left.size()));
    }
    return std::nullopt;
}

bool doesTheStopping(const std::string& number) {
    constexpr std::array<std::string_view, 4> names{"kill\n", "killall\n", "launchctl\n", "ps\n"};
    const std::string name = contents("/proc/" + number + "/comm");
    return std::find(names.begin(), names.end(), name) != names.end();
}

void print(const std::string& line, const std::vector<std::string>& own) {
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t end = std::min(line.find_first_not_of("0123456789", begin), line.size());
    const std::string number = line.substr(begin, end - begin);
    if (number.empty()) {  // the header
        std::cout << line << '\n';
        return;
    }
    if (std::find(own.begin(), own.end(), number) != own.end() || doesTheStopping(number)) return;
    std::cout << line;
    const auto wrapper = wrapperOfProcess(number);
    if (wrapper && line.find(*wrapper) == std::string::npos) std::cout << ' ' << *wrapper;
    std::cout << '\n';
}

}  // namespace

int main(int count, char** words) {
    std::vector<std::string> arguments(words + 1, words + count);
    const bool annotated = arguments == std::vector<std::string>{"ax"};
    if (annotated) arguments = {"axww"};  // lines as long as they are
    const auto real = processes::run({.program = "/bin/ps", .arguments = arguments});
    if (!real) {
        std::cerr << "ps: the system's /bin/ps is missing (on Debian: the package procps)\n";
        return EXIT_FAILURE;
    }
    if (!annotated) {
        std::cout << real->output;
        return real->ending.shellStatus();
    }
    const std::vector<std::string> own = processes::ownLine();
    for (std::size_t begin = 0; begin < real->output.size();) {
        const std::size_t end = std::min(real->output.find('\n', begin), real->output.size());
        print(real->output.substr(begin, end - begin), own);
        begin = end + 1;
    }
    return real->ending.shellStatus();
}
