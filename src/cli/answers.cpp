#include "cli/answers.h"

#include <utility>

namespace morvane::cli {

namespace {

std::optional<std::pair<std::string, std::string>> splitAtEquals(const std::string& option) {
    const auto equals = option.find('=');
    if (equals == std::string::npos || equals == 0) return std::nullopt;
    return std::pair(option.substr(0, equals), option.substr(equals + 1));
}

template <class T>
std::optional<T> takeFirst(std::map<std::string, std::deque<T>>& queues, const std::string& title) {
    const auto found = queues.find(title);
    if (found == queues.end() || found->second.empty()) return std::nullopt;
    T first = std::move(found->second.front());
    found->second.pop_front();
    return first;
}

}  // namespace

std::optional<Failure> Answers::addAnswer(const std::string& option) {
    const auto parts = splitAtEquals(option);
    if (!parts) return Failure{"--answer wants TITLE=BUTTON, not \"" + option + "\""};
    const auto& [title, answer] = *parts;
    const auto colon = answer.find(':');
    if (colon == std::string::npos) {
        answers_[title].push_back({answer, std::nullopt});
    } else {
        answers_[title].push_back({answer.substr(0, colon), answer.substr(colon + 1)});
    }
    return std::nullopt;
}

std::optional<Failure> Answers::addChoice(const std::string& option) {
    const auto parts = splitAtEquals(option);
    if (!parts) return Failure{"--choose wants TITLE=PATH, not \"" + option + "\""};
    addChoice(parts->first, parts->second);
    return std::nullopt;
}

void Answers::addAnswer(const std::string& title, Answer answer) {
    answers_[title].push_back(std::move(answer));
}

void Answers::addChoice(const std::string& title, const std::string& path) {
    addChoices(title, path.empty() ? std::vector<std::string>{} : std::vector<std::string>{path});
}

void Answers::addChoices(const std::string& title, std::vector<std::string> paths) {
    choices_[title].push_back(std::move(paths));
}

std::optional<Answers::Answer> Answers::takeAnswer(const std::string& title) {
    return takeFirst(answers_, title);
}

std::optional<std::vector<std::string>> Answers::takeChoices(const std::string& title) {
    return takeFirst(choices_, title);
}

std::optional<std::string> Answers::takeChoice(const std::string& title) {
    const auto paths = takeChoices(title);
    if (!paths) return std::nullopt;
    return paths->empty() ? "" : paths->front();
}

}  // namespace morvane::cli
