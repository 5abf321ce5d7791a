// views/start_request.h: what a start of the desktop asks for, and how one process says it to another. Any thread.
//
// What arrives was written by anybody of this user's programs: it is bounded, and what is neither an absolute
// path nor a link is dropped.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"

namespace morvane::views {

struct StartRequest {
    enum class Kind { activate, open, action };
    Kind kind = Kind::activate;
    std::vector<std::string> items = {};  ///< of `open`: absolute paths, and links as they were written
    std::string action = {};              ///< of `action`: "library", "catalogue" or "quit"
    /// What the session gave the start to bring a window to the front with; empty when nothing.
    std::string activationToken = {};

    bool operator==(const StartRequest&) const = default;
};

/// The most that one request holds: items, and bytes of its message.
inline constexpr std::size_t mostItems = 1000, longestMessage = std::size_t{1} << 20;

/// A program's arguments as a request: paths count from the working folder, no arguments are `activate`.
[[nodiscard]] StartRequest requestOfArguments(const std::vector<std::string>& arguments,
                                              const std::string& workingFolder);
/// `$XDG_ACTIVATION_TOKEN`, else `$DESKTOP_STARTUP_ID`. To be asked before the toolkit takes them.
[[nodiscard]] std::string activationTokenOfProcess();

/// A path as "file:///..." with every byte that it has; a link as it is.
[[nodiscard]] std::string uriOf(const std::string& item);
/// Nothing for a file of another machine, a relative path, and whatever is no link.
[[nodiscard]] std::optional<std::string> itemOfUri(std::string_view uri);
/// Nothing for an action that there is not.
[[nodiscard]] std::optional<StartRequest> requestOfAction(std::string_view action);

/// One line, with its end. A failure when it would be longer than a request may be.
[[nodiscard]] Result<std::string> messageOf(const StartRequest& request);
/// Of a line without its end; nothing for what is no request.
[[nodiscard]] std::optional<StartRequest> requestOfMessage(std::string_view line);

}  // namespace morvane::views
