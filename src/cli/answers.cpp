#include "cli/answers.h"

#include <algorithm>
#include <span>
#include <utility>

#include "cli/terminal_interface.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"

namespace morvane::cli {

namespace {

std::optional<std::pair<std::string, std::string>> splitAtEquals(const std::string& option) {
    const auto equals = option.find('=');
    if (equals == std::string::npos || equals == 0) return std::nullopt;
    return std::pair(option.substr(0, equals), option.substr(equals + 1));
}

/// The place of a title, which may be given in English or as it is shown.
template <class Places>
auto named(Places& places, const std::string& title) {
    for (const std::string& english : englishTexts(title)) {
        if (const auto found = places.find(english); found != places.end()) return found;
    }
    return places.find(title);
}

/// The English text, which answers in every language.
std::string forScripts(const std::string& shown) {
    return englishTexts(shown).front();
}

template <class T>
std::optional<T> takeFirst(std::map<std::string, std::deque<T>>& queues, const std::string& title) {
    const auto found = named(queues, title);
    if (found == queues.end() || found->second.empty()) return std::nullopt;
    T first = std::move(found->second.front());
    found->second.pop_front();
    return first;
}

}  // namespace

Result<> Answers::addAnswer(const std::string& option) {
    const auto parts = splitAtEquals(option);
    if (!parts) return Failure{localized("--answer wants TITLE=BUTTON, not \"%@\"", {option})};
    const auto& [title, answer] = *parts;
    const auto colon = answer.find(':');
    if (colon == std::string::npos) {
        addAnswer(title, {answer, std::nullopt});
    } else {
        addAnswer(title, {answer.substr(0, colon), answer.substr(colon + 1)});
    }
    return {};
}

Result<> Answers::addChoice(const std::string& option) {
    const auto parts = splitAtEquals(option);
    if (!parts) return Failure{localized("--choose wants TITLE=PATH, not \"%@\"", {option})};
    addChoice(parts->first, parts->second);
    return {};
}

void Answers::addAnswer(const std::string& title, Answer answer) {
    answers_[title].push_back({std::move(answer), ++last_});
}

void Answers::addChoice(const std::string& title, const std::string& path) {
    addChoices(title, path.empty() ? std::vector<std::string>{} : std::vector<std::string>{path});
}

void Answers::addChoices(const std::string& title, std::vector<std::string> paths) {
    choices_[title].push_back(std::move(paths));
}

std::optional<Answers::Numbered> Answers::take(const std::string& title,
                                               const std::vector<std::string>& buttons) {
    const auto queue = named(answers_, title);
    if (queue == answers_.end()) return std::nullopt;
    const auto fitting = std::ranges::find_if(queue->second, [&](const Numbered& each) {
        return scriptedChoice(each.answer.button, buttons, 0).has_value();
    });
    if (fitting == queue->second.end()) return std::nullopt;
    Numbered taken = std::move(*fitting);
    queue->second.erase(fitting);
    return taken;
}

std::optional<Answers::Answer> Answers::takeAnswer(const std::string& title,
                                                   const std::vector<std::string>& buttons) {
    auto taken = take(title, buttons);
    if (!taken) return std::nullopt;
    return std::move(taken->answer);
}

std::size_t Answers::answersFor(const std::string& title) const {
    const auto queue = named(answers_, title);
    return queue != answers_.end() ? queue->second.size() : 0;
}

void Answers::drop(const std::string& title, std::size_t number) {
    const auto queue = named(answers_, title);
    if (queue == answers_.end()) return;
    std::erase_if(queue->second, [=](const Numbered& each) { return each.number == number; });
}

std::optional<std::vector<std::string>> Answers::takeChoices(const std::string& title) {
    return takeFirst(choices_, title);
}

std::optional<std::string> Answers::takeChoice(const std::string& title) {
    const auto paths = takeChoices(title);
    if (!paths) return std::nullopt;
    return paths->empty() ? "" : paths->front();
}

std::optional<std::string> Answers::nextChoice(const std::string& title) const {
    const auto found = named(choices_, title);
    if (found == choices_.end() || found->second.empty()) return std::nullopt;
    const std::vector<std::string>& paths = found->second.front();
    return paths.empty() ? "" : paths.front();
}

namespace {

const std::string& titleOf(const ForeseenQuestion& question) {
    return std::visit([](const auto& shown) -> const std::string& { return shown.title; }, question.shown);
}

/// `field` follows the button.
std::string answerOption(const std::string& title, const std::string& button, const std::string& field) {
    return "--answer " + shellQuoted(forScripts(title) + "=" + forScripts(button) + field);
}

/// What follows the button: nothing, or what is to be filled in.
std::string fieldOf(const Dialog& dialog) {
    if (std::holds_alternative<TextField>(dialog.accessory)) return ":TEXT";
    return std::holds_alternative<ChoiceBox>(dialog.accessory) ? ":CHOICE" : "";
}

std::string chooseOption(const std::string& title, const std::string& file) {
    return "--choose " + shellQuoted(forScripts(title) + "=" + file);
}

std::string withOption(const std::string& question, const std::string& option) {
    return question + "\n    " + option;
}

}  // namespace

/// Goes through the questions as the work will, on a copy.
class Answers::Check {
  public:
    explicit Check(Answers& answers) : answers_(answers), left_(answers) {}

    /// False where the answers end the work.
    bool walk(const std::vector<ForeseenQuestion>& questions) {
        for (std::size_t at = 0; at < questions.size(); ++at) {
            const ForeseenQuestion& question = questions[at];
            if (question.isAsked) {
                if (!meet(question)) return false;
            } else {
                passOver(question, std::span(questions).subspan(at + 1));
            }
        }
        return true;
    }

    Shortcoming result;

  private:
    bool meet(const ForeseenQuestion& question) {
        if (const auto* dialog = std::get_if<Dialog>(&question.shown)) return meetDialog(question, *dialog);
        if (const auto* panel = std::get_if<OpenPanel>(&question.shown)) return meetPanel(question, *panel);
        const auto& panel = std::get<SavePanel>(question.shown);
        const auto path = left_.takeChoice(panel.title);
        if (path) return !path->empty();
        const bool proposalServes =
            left_.defaults &&
            files::kindOf(files::join(panel.startFolder, panel.proposedName + "." + panel.types.front())) ==
                files::Kind::none;
        if (!proposalServes) result.unanswered.push_back(asked(panel));
        return true;
    }

    bool meetDialog(const ForeseenQuestion& question, const Dialog& dialog) {
        const auto answer = left_.takeAnswer(dialog.title, dialog.buttons);
        std::string button = question.answer;
        if (answer) {
            button = dialog.buttons[scriptedChoice(answer->button, dialog.buttons, 0).value_or(0)];
        } else if (left_.defaults) {
            button = dialog.buttons[dialog.defaultButton];
        } else {
            result.unanswered.push_back(asked(dialog));
        }
        if (question.othersEnd && button != question.answer) return false;
        return follow(question, button);
    }

    bool meetPanel(const ForeseenQuestion& question, const OpenPanel& panel) {
        const auto choice = left_.takeChoice(panel.title);
        if (!choice) {
            // A default cancels a panel, which is as good as no answer where that leads to a question.
            if (!left_.defaults || !question.branches.empty()) result.unanswered.push_back(asked(panel));
            return true;
        }
        if (choice->empty()) return follow(question, "");
        const std::string path = expandedPath(*choice);
        Result<> checked = question.isMadeByTheWork ? Result<>() : MVAlert::checkChoice(panel, path);
        if (checked && question.check) checked = question.check(path);
        if (!checked && !result.unusable) result.unusable = checked.error().message();
        return true;
    }

    bool follow(const ForeseenQuestion& question, const std::string& button) {
        const auto branch = std::ranges::find(question.branches, button, &ForeseenQuestion::Branch::button);
        return branch == question.branches.end() || walk(branch->questions);
    }

    /// One of more answers than the questions behind it can use is this question's.
    void passOver(const ForeseenQuestion& question, std::span<const ForeseenQuestion> behind) {
        const auto* dialog = std::get_if<Dialog>(&question.shown);
        if (dialog == nullptr || left_.answersFor(dialog->title) <= needed(dialog->title, behind)) return;
        const auto surplus = left_.take(dialog->title, {question.answer});
        if (surplus) answers_.drop(dialog->title, surplus->number);
    }

    /// How many answers for the title the questions take, on the way that the plan recommends and the given
    /// paths lead.
    [[nodiscard]] std::size_t needed(const std::string& title,
                                     std::span<const ForeseenQuestion> questions) const {
        std::size_t count = 0;
        for (const ForeseenQuestion& question : questions) {
            if (!question.isAsked) continue;
            if (titleOf(question) == title) ++count;
            const bool isPanel = !std::holds_alternative<Dialog>(question.shown);
            const auto next = isPanel ? left_.nextChoice(titleOf(question)) : question.answer;
            for (const auto& branch : question.branches) {
                if (next == branch.button) count += needed(title, branch.questions);
            }
        }
        return count;
    }

    Answers& answers_;
    Answers left_;
};

Answers::Shortcoming Answers::shortcomingFor(const std::vector<ForeseenQuestion>& questions) {
    Check check(*this);
    static_cast<void>(check.walk(questions));
    return std::move(check.result);
}

std::string shellQuoted(const std::string& text) {
    return "'" + MVString::replacedAll(text, "'", "'\\''") + "'";
}

std::string optionOf(const ForeseenQuestion& question) {
    if (const auto* dialog = std::get_if<Dialog>(&question.shown)) {
        return answerOption(dialog->title, question.answer, fieldOf(*dialog));
    }
    if (std::holds_alternative<SavePanel>(question.shown)) return "--to " + shellQuoted(question.answer);
    return chooseOption(titleOf(question), "PATH OF " + question.answer);
}

std::vector<std::string> optionsFor(const std::vector<ForeseenQuestion>& questions) {
    std::vector<std::string> options;
    for (const ForeseenQuestion& question : questions) {
        options.push_back(optionOf(question));
        for (const auto& branch : question.branches) {
            if (branch.button != question.answer) continue;
            for (std::string& option : optionsFor(branch.questions)) options.push_back(std::move(option));
        }
    }
    return options;
}

std::string asked(const Dialog& dialog) {
    std::string question = dialog.text.empty() ? dialog.title : dialog.title + ": " + dialog.text;
    std::string options;
    for (const std::string& button : dialog.buttons) {
        question += " [" + button + "]";
        options += (options.empty() ? "" : " or ") + answerOption(dialog.title, button, fieldOf(dialog));
    }
    return withOption(question, options);
}

std::string asked(const OpenPanel& panel) {
    return withOption(panel.title, chooseOption(panel.title, "PATH"));
}

std::string asked(const SavePanel& panel) {
    return withOption(panel.title, chooseOption(panel.title, "PATH"));
}

}  // namespace morvane::cli
