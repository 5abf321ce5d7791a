// wrapper/launch_options.h: what the user adds to the start of a program: environment variables, and a command
// before it ("gamescope -f --"). Any thread.
//
// Both are kept in the item's own settings file. A program of a wrapper has its wrapper's as well; its own come
// first, and an empty command of its own stands for none.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane {

struct LaunchOptions {
    std::map<std::string, std::string> environment;
    std::optional<std::string> before;  ///< as the user has written it; nothing where none is set
    bool operator==(const LaunchOptions&) const = default;
};

/// Of the settings, without the wrapper's; what is none of ours there counts as missing.
[[nodiscard]] LaunchOptions launchOptionsIn(const Dictionary& settings);
/// As the launcher uses them: of a program with its wrapper's. `wrapper` is null for a wrapper itself.
[[nodiscard]] LaunchOptions launchOptionsOf(const Dictionary& settings, const Dictionary* wrapper);
/// Puts them into the settings; what is not set leaves no key behind.
void putLaunchOptions(const LaunchOptions& options, Dictionary& settings);

/// Why a variable can't be set: a name that none has, one that the launcher sets itself, a value that no
/// settings file can hold.
[[nodiscard]] Result<> checkVariable(std::string_view name, std::string_view value);

/// The words of the command: separated by blanks, quotes and backslashes as in a shell, nothing else of one. A
/// failure for a quote without its end.
[[nodiscard]] Result<std::vector<std::string>> wordsOfCommand(std::string_view command);
/// The same with the program's own place in the search path. A failure, in words for the user, where it is not
/// there; no words for an empty command.
[[nodiscard]] Result<std::vector<std::string>> runnableCommand(std::string_view command,
                                                               const std::string& searchPath);

}  // namespace morvane
