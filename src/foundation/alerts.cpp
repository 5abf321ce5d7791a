#include "foundation/alerts.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "foundation/build_log.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane::MVAlert {

namespace {

/// Runs it on the main thread. What it leaves undone when the queue is closed stays as the caller prepared
/// it.
void onMainThread(const MainQueue::Work& work) {
    (void)host().mainQueue.callAndWait(work);
    host().creation.throwIfRequested();
}

Dialog dialogWith(const std::string& title, const std::string& text,
                  const std::vector<const char*>& buttons) {
    Dialog dialog;
    dialog.title = title;
    dialog.text = text;
    for (const char* button : buttons) dialog.buttons.push_back(localized(button));
    return dialog;
}

void styleByTitle(Dialog& dialog, std::string_view title) {
    if (title == "Warning") {
        dialog.style = Dialog::Style::critical;
    } else if (title == "Error") {
        dialog.icon = Dialog::Icon::stop;
    }
}

Dialog plainBooleanDialog(const std::string& message, const std::string& title, bool defaultAnswer) {
    const auto buttons =
        defaultAnswer ? std::vector{marked("Yes"), marked("No")} : std::vector{marked("No"), marked("Yes")};
    return dialogWith(localized(title), message, buttons);
}

std::set<std::string> lowercasedAll(const std::vector<std::string>& texts) {
    std::set<std::string> result;
    for (const std::string& text : texts) result.insert(MVString::lowercased(text));
    return result;
}

std::string pathOfImage(const std::string& name) {
    return files::join(host().folders.resources, name + ".png");
}

void applyIcon(Dialog& dialog, const std::string& name) {
    if (name == "Critical") {
        dialog.style = Dialog::Style::critical;
    } else if (name == "Fatal") {
        dialog.icon = Dialog::Icon::stop;
    } else {
        dialog.icon = Dialog::Icon::picture;
        dialog.iconPath = MVString::contains(name, "/") ? name : pathOfImage(name);
    }
}

}  // namespace

DialogAnswer showDialog(const Dialog& dialog) {
    const bool isError = dialog.icon == Dialog::Icon::stop || dialog.title == localized("Error");
    if (const auto build = isError ? BuildLog::current() : nullptr) build->errorShown(dialog.text);
    DialogAnswer answer{.button = dialog.defaultButton, .text = ""};
    onMainThread([&] { answer = host().userInterface.showDialog(dialog); });
    return answer;
}

std::optional<std::size_t> cancelButton(const Dialog& dialog) {
    for (const char* title : {marked("Cancel"), marked("No"), marked("I Disagree")}) {
        const auto found = std::ranges::find(dialog.buttons, localized(title));
        if (found != dialog.buttons.end()) return static_cast<std::size_t>(found - dialog.buttons.begin());
    }
    return dialog.buttons.size() == 1 ? std::optional<std::size_t>(0) : std::nullopt;
}

bool isAnsweredYes(const Dialog& dialog) {
    return dialog.buttons.at(showDialog(dialog).button) == localized("Yes");
}

std::vector<std::string> chooseFiles(const OpenPanel& panel, OtherTypes otherTypes) {
    for (;;) {
        std::vector<std::string> paths;
        onMainThread([&] { paths = host().userInterface.chooseFiles(panel); });
        Result<> checked;
        for (const std::string& path : paths) {
            if (checked) checked = checkChoice(panel, path, otherTypes);
        }
        if (checked) return paths;
        showAlertErrorMessage(checked.error().message());
    }
}

Result<> checkChoice(const OpenPanel& panel, const std::string& path, OtherTypes otherTypes) {
    const files::Kind kind = files::kindBehind(path);
    if (kind == files::Kind::none) return Failure{localized("There is nothing at %@.", {path})};
    const std::set<std::string> types = lowercasedAll(panel.types);
    const bool hasType = types.contains(MVString::lowercased(files::extension(path)));
    // A bundle is chosen like a file.
    const bool isBundle = kind == files::Kind::folder && !panel.packagesAsFolders && hasType;
    const bool isFolder = kind == files::Kind::folder && !isBundle;
    if (isFolder && !panel.folders) return Failure{localized("%@ is a folder, and no file.", {path})};
    if (!isFolder && !panel.files) return Failure{localized("%@ is no folder.", {path})};
    if (!isFolder && !types.empty() && !hasType && otherTypes == OtherTypes::refused) {
        return Failure{localized("%@ has none of the possible types: %@.",
                                 {path, MVString::joined({types.begin(), types.end()}, ", ")})};
    }
    if (panel.shouldEnable && !panel.shouldEnable(path)) {
        return Failure{localized("%@ is not what is asked for: %@.", {path, panel.title})};
    }
    return {};
}

bool canBeAnswered(const std::function<std::vector<ForeseenQuestion>()>& questions) {
    if (!host().userInterface.isAnsweredBeforehand()) return true;
    const auto foreseen = questions();
    bool accepted = true;
    onMainThread([&] { accepted = host().userInterface.accepts(foreseen); });
    return accepted;
}

std::optional<std::string> chooseSavePath(const SavePanel& panel) {
    std::optional<std::string> path;
    onMainThread([&] { path = host().userInterface.chooseSavePath(panel); });
    return path;
}

void showAlertMessage(const std::string& message, const std::string& title) {
    Dialog dialog = dialogWith(localized(title), message, {marked("OK")});
    styleByTitle(dialog, title);
    (void)showDialog(dialog);
}

void showAlertErrorMessage(const std::string& message) {
    showAlertMessage(message, marked("Error"));
}

void showAlertMessageWithException(const std::string& name, const std::string& reason) {
    showAlertErrorMessage(filled("%@: %@", {name, reason}));
}

bool showBooleanAlertMessageWithSettings(const std::string& message, const std::optional<std::string>& title,
                                         bool defaultAnswer, const std::function<void(Dialog&)>& settings) {
    if (!title) return !defaultAnswer;
    Dialog dialog = plainBooleanDialog(message, *title, defaultAnswer);
    if (settings) settings(dialog);
    return showDialog(dialog).button == 0 ? defaultAnswer : !defaultAnswer;
}

Dialog booleanDialog(const std::string& message, const std::string& title, bool defaultAnswer) {
    Dialog dialog = plainBooleanDialog(message, title, defaultAnswer);
    styleByTitle(dialog, title);
    return dialog;
}

bool showBooleanAlertMessage(const std::string& message, const std::optional<std::string>& title,
                             bool defaultAnswer) {
    return showBooleanAlertMessageWithSettings(message, title, defaultAnswer,
                                               [&](Dialog& dialog) { styleByTitle(dialog, *title); });
}

bool showBooleanAlertMessageWithIconNamed(const std::string& message, const std::optional<std::string>& title,
                                          const std::optional<std::string>& iconName, bool defaultAnswer) {
    return showBooleanAlertMessageWithSettings(message, title, defaultAnswer, [&](Dialog& dialog) {
        if (iconName) applyIcon(dialog, *iconName);
    });
}

bool showBooleanAlertMessageWithImageNamed(const std::string& message,
                                           const std::optional<std::string>& title,
                                           const std::optional<std::string>& imageName, bool defaultAnswer) {
    return showBooleanAlertMessageWithSettings(message, title, defaultAnswer, [&](Dialog& dialog) {
        if (imageName) dialog.accessory = ImageAccessory{pathOfImage(*imageName)};
    });
}

std::optional<std::string> inputDialogWithMessage(const std::string& message,
                                                  const std::string& defaultValue) {
    constexpr std::size_t cancel = 1;
    const Dialog dialog = inputDialog(message, defaultValue);
    DialogAnswer answer{.button = cancel, .text = ""};
    onMainThread([&] { answer = host().userInterface.showDialog(dialog); });
    if (answer.button == cancel) return std::nullopt;
    return answer.text;
}

Dialog inputDialog(const std::string& message, const std::string& defaultValue) {
    Dialog dialog = dialogWith(message, "", {marked("OK"), marked("Cancel")});
    dialog.accessory = TextField{.text = defaultValue};
    return dialog;
}

}  // namespace morvane::MVAlert
