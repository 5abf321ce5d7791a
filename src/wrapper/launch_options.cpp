#include "wrapper/launch_options.h"

#include <algorithm>
#include <array>
#include <optional>

#include "platform/process.h"
#include "platform/utf8.h"
#include "wrapper/wrapper_settings.h"

namespace morvane {

namespace {

/// The launcher's own: another value would lead to another prefix, or to another Wine.
constexpr std::array<std::string_view, 7> reserved{"WINEPREFIX", "WINESERVER", "WINELOADER", "WINEDLLPATH",
                                                   "WINEARCH",   "WINE",       "W_CACHE"};

bool isUtf8(std::string_view text) {
    std::string again;
    for (std::size_t place = 0; place < text.size();) utf8::append(again, utf8::next(text, place));
    return again == text;
}

bool isControl(char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '\x7f';
}

/// One word and its end; nothing for a quote without its end.
std::optional<std::string> nextWord(std::string_view& text) {
    std::string word;
    char quote = 0;
    while (!text.empty()) {
        const char character = text.front();
        text.remove_prefix(1);
        const bool escapes = character == '\\' && quote != '\'' && !text.empty() &&
                             (quote == 0 || text.front() == '"' || text.front() == '\\');
        if (escapes) {
            word += text.front();
            text.remove_prefix(1);
        } else if (quote != 0 ? character == quote : character == '"' || character == '\'') {
            quote = quote != 0 ? '\0' : character;
        } else if (quote == 0 && (character == ' ' || character == '\t')) {
            return word;
        } else {
            word += character;
        }
    }
    return quote == 0 ? std::optional(word) : std::nullopt;
}

}  // namespace

LaunchOptions launchOptionsIn(const Dictionary& settings) {
    LaunchOptions options;
    options.before = findSetting(settings, wrapper_keys::commandBefore);
    const Value* stored = settings.find(wrapper_keys::environmentName);
    const auto* variables = stored != nullptr ? stored->as<Dictionary>() : nullptr;
    if (variables == nullptr) return options;
    for (const auto& [name, value] : *variables) {
        const auto* text = value.as<std::string>();
        if (text != nullptr && checkVariable(name, *text)) options.environment.emplace(name, *text);
    }
    return options;
}

LaunchOptions launchOptionsOf(const Dictionary& settings, const Dictionary* wrapper) {
    LaunchOptions options = launchOptionsIn(settings);
    if (wrapper == nullptr) return options;
    LaunchOptions shared = launchOptionsIn(*wrapper);
    options.environment.merge(shared.environment);
    if (!options.before) options.before = shared.before;
    return options;
}

void putLaunchOptions(const LaunchOptions& options, Dictionary& settings) {
    Dictionary variables;
    for (const auto& [name, value] : options.environment) variables.set(name, Value(value));
    if (options.environment.empty()) {
        settings.erase(wrapper_keys::environmentName);
    } else {
        settings.set(wrapper_keys::environmentName, Value(std::move(variables)));
    }
    if (options.before) {
        settings.set(wrapper_keys::commandBefore.name, Value(*options.before));
    } else {
        settings.erase(wrapper_keys::commandBefore.name);
    }
}

Result<> checkVariable(std::string_view name, std::string_view value) {
    const std::string shown(name);
    if (name.empty()) return Failure{"An environment variable has no name."};
    const auto isForbidden = [](char c) { return isControl(c) || c == '=' || c == ' '; };
    if (std::ranges::any_of(name, isForbidden) || !isUtf8(name))
        return Failure{"\"" + shown + "\" is no name of an environment variable."};
    if (std::ranges::find(reserved, name) != reserved.end())
        return Failure{shown + " is set by the launcher itself."};
    if (std::ranges::any_of(value, [](char c) { return isControl(c) && c != '\t'; }) || !isUtf8(value))
        return Failure{"The value of " + shown + " holds what no settings file can hold."};
    return {};
}

Result<std::vector<std::string>> wordsOfCommand(std::string_view command) {
    std::vector<std::string> words;
    if (std::ranges::any_of(command, [](char c) { return isControl(c) && c != '\t'; }) || !isUtf8(command))
        return Failure{"The command before the program holds what no settings file can hold."};
    for (;;) {
        const std::size_t first = command.find_first_not_of(" \t");
        if (first == std::string_view::npos) return words;
        command.remove_prefix(first);
        auto word = nextWord(command);
        if (!word) return Failure{"The command before the program has a quote without its end."};
        words.push_back(*std::move(word));
    }
}

Result<std::vector<std::string>> runnableCommand(std::string_view command, const std::string& searchPath) {
    auto words = wordsOfCommand(command);
    if (!words || words->empty()) return words;
    const auto found = processes::search(words->front(), searchPath);
    if (found.empty()) {
        return Failure{"The command before the program, " + words->front() +
                       ", is not there. Install it, or change the command in the properties."};
    }
    words->front() = found.front();
    return words;
}

}  // namespace morvane
