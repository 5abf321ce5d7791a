#include "cli/terminal_interface.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "building/wrapper_creation.h"
#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/notifications.h"
#include "platform/workspace.h"

namespace morvane::cli {

namespace {

/// What is given without anybody being asked.
DialogAnswer defaultAnswer(const Dialog& dialog) {
    DialogAnswer answer{.button = dialog.defaultButton, .text = ""};
    if (const auto* field = std::get_if<TextField>(&dialog.accessory)) answer.text = field->text;
    if (const auto* box = std::get_if<ChoiceBox>(&dialog.accessory)) answer.chosen = box->chosen;
    return answer;
}

DialogAnswer cancellation(const Dialog& dialog) {
    DialogAnswer answer = defaultAnswer(dialog);
    answer.button = dialog.buttons.size() - 1;
    return answer;
}

}  // namespace

std::optional<std::size_t> choiceFor(const std::string& typed, const std::vector<std::string>& names,
                                     std::size_t defaultChoice) {
    const std::string wanted = MVString::lowercased(MVString::trimmed(typed));
    if (wanted.empty()) return defaultChoice;
    std::optional<std::size_t> found;
    bool several = false;
    for (std::size_t at = 0; at < names.size(); ++at) {
        const std::string name = MVString::lowercased(names[at]);
        if (wanted == name || wanted == std::to_string(at + 1)) return at;
        if (!name.starts_with(wanted)) continue;
        several = found.has_value();  // "I" of "I Agree" and "I Disagree"
        found = at;
    }
    return several ? std::nullopt : found;
}

std::optional<std::size_t> scriptedChoice(const std::string& given, const std::vector<std::string>& names,
                                          std::size_t defaultChoice) {
    std::vector<std::string> english;
    for (std::size_t at = 0; at < names.size(); ++at) {
        const std::vector<std::string> texts = englishTexts(names[at]);
        if (std::ranges::find(texts, given) != texts.end()) return at;
        english.push_back(texts.front());
    }
    const auto choice = choiceFor(given, english, defaultChoice);
    return choice ? choice : choiceFor(given, names, defaultChoice);
}

std::string expandedPath(const std::string& typed) {
    std::string path = typed;
    if (path.starts_with("~")) {
        const auto slash = std::min(path.find('/'), path.size());
        const std::string name = path.substr(1, slash - 1);
        const passwd* user = name.empty() ? nullptr : getpwnam(name.c_str());
        if (name.empty()) {
            path = host().folders.home + path.substr(slash);
        } else if (user != nullptr) {
            path = user->pw_dir + path.substr(slash);
        }
    }
    std::error_code ignored;
    path = std::filesystem::absolute(path, ignored).lexically_normal().string();
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

void TerminalInterface::showMessage(const Dialog& dialog) {
    // Nobody has cancelled anything: an answer was missing, which is told at the end.
    if (unanswered_ && dialog.text == WrapperCreation::cancellationReport()) return;
    const bool isError = dialog.icon == Dialog::Icon::stop;
    errorShown_ = errorShown_ || isError;
    if (console_.output() == Output::json) {
        console_.emit({{"event", "message"}, {"title", dialog.title}, {"text", dialog.text}});
        if (!isError) return;
    }
    console_.say(isError ? Emphasis::error : Emphasis::heading, dialog.title, dialog.text);
    // The texts are made for windows.
    if (MVString::contains(englishTexts(dialog.text).front(), " button"))
        console_.say(localized("(Here: give the same command again.)"));
}

std::optional<DialogAnswer> TerminalInterface::scriptedAnswer(const Dialog& dialog) {
    DialogAnswer result = defaultAnswer(dialog);
    const auto answer = answers_.takeAnswer(dialog.title, dialog.buttons);
    if (!answer && answers_.defaults) {
        noteDefault(dialog.title + ": " + dialog.text);
        return result;
    }
    if (!answer) return std::nullopt;
    result.button =
        scriptedChoice(answer->button, dialog.buttons, dialog.defaultButton).value_or(result.button);
    if (!answer->text) return result;
    result.text = *answer->text;
    if (const auto* box = std::get_if<ChoiceBox>(&dialog.accessory)) {
        const auto chosen = scriptedChoice(*answer->text, box->options, box->chosen);
        if (!chosen) giveUp(localized("%@: there is no choice \"%@\"", {dialog.title, *answer->text}));
        result.chosen = chosen.value_or(box->chosen);
    }
    return result;
}

std::optional<DialogAnswer> TerminalInterface::askForText(const Dialog& dialog) {
    const auto* field = std::get_if<TextField>(&dialog.accessory);
    const std::string hint = field->text.empty() ? "" : " [" + field->text + "]";
    if (!dialog.text.empty()) console_.say(dialog.text);
    console_.say(Emphasis::heading, dialog.title + hint);
    const auto typed = console_.readLine(localized("(end of input cancels) > "));
    if (!typed && console_.wasInterrupted()) return std::nullopt;
    if (!typed) return cancellation(dialog);
    return DialogAnswer{.button = dialog.defaultButton, .text = typed->empty() ? field->text : *typed};
}

std::optional<DialogAnswer> TerminalInterface::askForChoice(const Dialog& dialog) {
    const auto* box = std::get_if<ChoiceBox>(&dialog.accessory);
    console_.say(Emphasis::heading, dialog.title);
    console_.say(dialog.text);
    for (std::size_t at = 0; at < box->options.size(); ++at)
        console_.say("  " + std::to_string(at + 1) + ") " + box->options[at]);
    for (;;) {
        const auto typed = console_.readLine(
            localized("Number or text [%@] (end of input cancels) > ", {std::to_string(box->chosen + 1)}));
        if (!typed && console_.wasInterrupted()) return std::nullopt;
        if (!typed) return cancellation(dialog);
        if (const auto chosen = choiceFor(*typed, box->options, box->chosen))
            return DialogAnswer{.button = dialog.defaultButton, .text = "", .chosen = *chosen};
        console_.say(localized("Please type a number or the beginning of a choice."));
    }
}

std::optional<DialogAnswer> TerminalInterface::askForButton(const Dialog& dialog) {
    console_.say(Emphasis::heading, dialog.title);
    if (!dialog.text.empty()) console_.say(dialog.text);
    if (const auto* image = std::get_if<ImageAccessory>(&dialog.accessory))
        console_.say(localized("(picture: %@)", {image->path}));
    if (const auto* text = std::get_if<LongText>(&dialog.accessory)) console_.say("\n" + text->text);
    if (const auto* styled = std::get_if<StyledText>(&dialog.accessory)) console_.say("\n" + styled->text);
    std::string prompt;
    for (std::size_t at = 0; at < dialog.buttons.size(); ++at) {
        const bool isDefault = at == dialog.defaultButton;
        prompt += (at == 0 ? "" : "  ") + std::to_string(at + 1) + ") " + dialog.buttons[at] +
                  (isDefault ? " [Enter]" : "");
    }
    for (;;) {
        const auto typed = console_.readLine(prompt + " > ");
        if (!typed) return std::nullopt;
        if (const auto button = choiceFor(*typed, dialog.buttons, dialog.defaultButton))
            return DialogAnswer{.button = *button, .text = ""};
        console_.say(localized("Please type a number or the beginning of an answer."));
    }
}

void TerminalInterface::noteDefault(const std::string& question) {
    constexpr int mostTimes = 2, mostDefaults = 1000;
    const auto [known, isNew] = defaulted_.try_emplace(question, 0);
    if (isNew) {
        for (auto& [other, times] : defaulted_) times = 0;
    }
    if (++known->second > mostTimes || ++defaults_ > mostDefaults)
        giveUp(localized("%@ (the default leads back to it)", {question}));
}

void TerminalInterface::giveUp(const std::string& question) {
    if (host().creation.requested()) return;
    if (!unanswered_) unanswered_ = question;
    if (!host().creation.running()) throw Unanswered(question);
    host().creation.request();
}

DialogAnswer TerminalInterface::showDialog(const Dialog& dialog) {
    if (dialog.buttons.size() == 1 && std::holds_alternative<std::monostate>(dialog.accessory)) {
        showMessage(dialog);
        return {};
    }
    if (const auto answer = scriptedAnswer(dialog)) return *answer;
    std::optional<DialogAnswer> answer;
    if (console_.isInteractive()) {
        if (std::holds_alternative<TextField>(dialog.accessory)) {
            answer = askForText(dialog);
        } else if (std::holds_alternative<ChoiceBox>(dialog.accessory)) {
            answer = askForChoice(dialog);
        } else {
            answer = askForButton(dialog);
        }
        // Ctrl-C at a question is a cancellation already.
        if (!answer && console_.wasInterrupted()) {
            if (!host().creation.running()) throw Cancelled();
            host().creation.request();
            return defaultAnswer(dialog);
        }
    }
    if (answer) return *answer;
    giveUp(asked(dialog));
    return {.button = dialog.defaultButton, .text = ""};
}

bool TerminalInterface::accepts(const std::vector<ForeseenQuestion>& questions) {
    const auto shortcoming = answers_.shortcomingFor(questions);
    if (shortcoming.unusable) {
        MVAlert::showAlertErrorMessage(*shortcoming.unusable);
        return false;
    }
    if (shortcoming.unanswered.empty()) return true;
    unanswered_ = MVString::joined(shortcoming.unanswered, "\n" + localized("No answer to: %@", {""}));
    return false;
}

std::string TerminalInterface::knownChoice(const OpenPanel& panel) const {
    const std::string path = answers_.nextChoice(panel.title).value_or("");
    if (path.empty() || !MVAlert::checkChoice(panel, expandedPath(path))) return "";
    return expandedPath(path);
}

std::vector<std::string> TerminalInterface::chooseFiles(const OpenPanel& panel) {
    if (auto paths = answers_.takeChoices(panel.title)) {
        if (!panel.multiple && paths->size() > 1) paths->resize(1);
        for (std::string& path : *paths) {
            path = expandedPath(path);
            if (!console_.isInteractive() && !MVAlert::checkChoice(panel, path)) choiceRefused_ = true;
        }
        return *paths;
    }
    // A panel that comes back after its default would come back for ever.
    if (answers_.defaults && cancelledPanels_.insert(panel.title).second) return {};
    if (answers_.defaults || !console_.isInteractive()) {
        giveUp(asked(panel));
        return {};
    }
    console_.say(Emphasis::heading, panel.title);
    if (!panel.types.empty()) console_.say(localized("(one of: %@)", {MVString::joined(panel.types, ", ")}));
    for (;;) {
        const auto typed = console_.readLine(localized("Path (nothing to cancel) > "));
        if (!typed && console_.wasInterrupted()) host().creation.request();
        if (!typed || typed->empty()) return {};
        const std::string path = expandedPath(*typed);
        const auto checked = MVAlert::checkChoice(panel, path);
        if (checked) return {path};
        console_.say(checked.error().message());
    }
}

void TerminalInterface::fill(Form& form) {
    for (FormField& field : form.fields) {
        const bool isBox = field.kind == FormField::Kind::checkBox;
        const std::vector<std::string> options =
            isBox ? std::vector<std::string>{localized("No"), localized("Yes")} : field.options;
        if (options.size() < 2) continue;
        auto chosen = std::optional(field.chosen);
        if (const auto answer = answers_.takeAnswer(field.label, options)) {
            chosen = scriptedChoice(answer->button, options, field.chosen);
        } else if (answers_.answersFor(field.label) > 0) {
            return giveUp(localized("%@: it is one of %@", {field.label, MVString::joined(options, ", ")}));
        } else if (console_.isInteractive() && !answers_.defaults) {
            const Dialog question{.title = field.label,
                                  .text = "",
                                  .buttons = options,
                                  .defaultButton = field.chosen,
                                  .iconPath = "",
                                  .accessory = {}};
            const auto typed = askForButton(question);
            if (!typed) return;
            chosen = typed->button;
        }
        if (*chosen == field.chosen) continue;
        field.chosen = *chosen;
        if (field.changed) field.changed(*chosen);
    }
}

std::optional<std::string> TerminalInterface::chooseSavePath(const SavePanel& panel) {
    if (panel.accessory != nullptr) fill(*panel.accessory);
    const auto withType = [&panel](std::string path) {
        const bool typed =
            panel.types.empty() || std::any_of(panel.types.begin(), panel.types.end(),
                                               [&](const auto& type) { return path.ends_with("." + type); });
        return typed ? path : path + "." + panel.types.front();
    };
    if (const auto path = answers_.takeChoice(panel.title)) {
        if (path->empty()) return std::nullopt;
        return withType(expandedPath(*path));
    }
    const std::string proposal = withType(files::join(panel.startFolder, panel.proposedName));
    if (!console_.isInteractive() || answers_.defaults) {
        if (answers_.defaults && !panel.proposedName.empty() &&
            files::kindOf(proposal) == files::Kind::none) {
            noteDefault(panel.title + ": " + proposal);
            return proposal;
        }
        giveUp(asked(panel));
        return std::nullopt;
    }
    console_.say(Emphasis::heading, panel.title);
    for (;;) {
        const auto typed = console_.readLine(localized("Path [%@] > ", {proposal}));
        if (!typed) return std::nullopt;
        const std::string path = typed->empty() ? proposal : withType(expandedPath(*typed));
        if (files::kindOf(path) == files::Kind::none) return path;
        const auto sure = console_.readLine(
            localized("%@ exists already. Build into it? 1) No [Enter]  2) Yes > ", {path}));
        if (!sure) return std::nullopt;
        if (*sure == "2" || MVString::lowercased(*sure).starts_with("y")) return path;
    }
}

void TerminalInterface::showProgress(const ProgressState& state) {
    console_.showProgress(state);
}

void TerminalInterface::notify(const Notification& notification) {
    // Without its action: a command that has done its work does not wait for a click.
    NotificationService().show(notification);
    if (console_.output() == Output::json) {
        console_.emit({{"event", "notification"},
                       {"title", notification.title},
                       {"text", notification.message},
                       {"info", notification.info}});
        return;
    }
    console_.say(Emphasis::heading, notification.title, notification.message);
}

void TerminalInterface::openLink(const std::string& url) {
    if (console_.output() == Output::json) {
        console_.emit({{"event", "link"}, {"url", url}});
    } else {
        console_.say(localized("See %@", {url}));
    }
    workspace::openLink(url);
}

// A command does not open windows by itself: it says what to look at.
void TerminalInterface::openPath(const std::string& path) {
    console_.say(localized("See %@", {path}));
}

void TerminalInterface::revealPath(const std::string& path) {
    console_.say(localized("See %@", {path}));
}

void TerminalInterface::launchBundle(const std::string& path) {
    workspace::launchBundle(path);
}

void TerminalInterface::bringToFront(const std::string& pathPrefix) {
    workspace::bringToFront(pathPrefix);
}

}  // namespace morvane::cli
