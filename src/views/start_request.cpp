#include "views/start_request.h"

#include <algorithm>
#include <array>

#include "foundation/text.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/percent_coding.h"

namespace morvane::views {
namespace {

constexpr std::string_view filePrefix = "file://", greeting = "morvane-1";
constexpr std::array<std::string_view, 3> actions{"library", "catalogue", "quit"};
constexpr std::size_t longestLink = 4096, longestPath = 4096, longestToken = 1024;

bool hasControlCharacter(std::string_view text) {
    return std::ranges::any_of(text, [](char each) { return static_cast<unsigned char>(each) < ' '; });
}

bool isLink(std::string_view text) {
    const auto end = text.find("://");
    if (end == std::string_view::npos || end == 0 || text.size() > longestLink) return false;
    const auto letter = [](char each) {
        return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z');
    };
    return letter(text.front()) && !hasControlCharacter(text) &&
           std::ranges::all_of(text.substr(0, end), [&](char each) {
               return letter(each) || (each >= '0' && each <= '9') || each == '+' || each == '-' ||
                      each == '.';
           });
}

std::optional<std::string> localFile(std::string_view afterPrefix) {
    constexpr std::string_view thisMachine = "localhost";
    if (afterPrefix.starts_with(thisMachine)) afterPrefix.remove_prefix(thisMachine.size());
    std::string path = percent::decoded(afterPrefix);
    const bool usable =
        path.starts_with('/') && path.size() <= longestPath && path.find('\0') == std::string::npos;
    return usable ? std::optional(std::move(path)) : std::nullopt;
}

}  // namespace

StartRequest requestOfArguments(const std::vector<std::string>& arguments, const std::string& workingFolder) {
    StartRequest request;
    for (std::string argument : arguments) {
        if (argument.starts_with(filePrefix) || isLink(argument)) {
            if (auto item = itemOfUri(argument)) request.items.push_back(*std::move(item));
            continue;
        }
        if (argument.empty()) continue;
        while (argument.starts_with("./")) argument.erase(0, argument.find_first_not_of('/', 1));
        request.items.push_back(argument.starts_with('/') ? argument : files::join(workingFolder, argument));
    }
    if (!arguments.empty()) request.kind = StartRequest::Kind::open;
    return request;
}

std::string activationTokenOfProcess() {
    std::string token = environmentVariable("XDG_ACTIVATION_TOKEN");
    return token.empty() ? environmentVariable("DESKTOP_STARTUP_ID") : token;
}

std::string uriOf(const std::string& item) {
    return item.starts_with('/') ? std::string(filePrefix) + percent::encoded(item, "/") : item;
}

std::optional<std::string> itemOfUri(std::string_view uri) {
    if (uri.starts_with(filePrefix)) return localFile(uri.substr(filePrefix.size()));
    return isLink(uri) ? std::optional<std::string>(uri) : std::nullopt;
}

std::optional<StartRequest> requestOfAction(std::string_view action) {
    if (std::ranges::find(actions, action) == actions.end()) return std::nullopt;
    return StartRequest{.kind = StartRequest::Kind::action, .action = std::string(action)};
}

// ---- One line: the greeting, the kind, the token behind "=", and the items or the action. Words hold no blanks.

Result<std::string> messageOf(const StartRequest& request) {
    constexpr std::array<std::string_view, 3> kinds{"activate", "open", "action"};
    std::string line{greeting};
    line += ' ';
    line += kinds.at(static_cast<std::size_t>(request.kind));
    line += " =" + percent::encoded(request.activationToken.substr(0, longestToken));
    for (const std::string& item : request.items) line += ' ' + percent::encoded(uriOf(item));
    if (!request.action.empty()) line += ' ' + percent::encoded(request.action);
    line += '\n';
    if (request.items.size() <= mostItems && line.size() <= longestMessage) return line;
    return Failure{.what = "Too many files at once", .advice = "Open fewer of them at a time."};
}

std::optional<StartRequest> requestOfMessage(std::string_view line) {
    if (line.size() > longestMessage) return std::nullopt;
    const auto words = MVString::split(std::string(line), " ");
    if (words.size() < 3 || words[0] != greeting || !words[2].starts_with('=')) return std::nullopt;
    StartRequest request;
    if (words[1] == "open") {
        if (words.size() - 3 > mostItems) return std::nullopt;
        request.kind = StartRequest::Kind::open;
        for (auto word = words.begin() + 3; word != words.end(); ++word) {
            if (auto item = itemOfUri(percent::decoded(*word))) request.items.push_back(*std::move(item));
        }
    } else if (words[1] == "action" && words.size() == 4) {
        auto action = requestOfAction(percent::decoded(words[3]));
        if (!action) return std::nullopt;
        request = *std::move(action);
    } else if (words[1] != "activate" || words.size() != 3) {
        return std::nullopt;
    }
    request.activationToken = percent::decoded(words[2].substr(1)).substr(0, longestToken);
    if (hasControlCharacter(request.activationToken)) request.activationToken.clear();
    return request;
}

}  // namespace morvane::views
