// foundation/alerts.h: the dialogs through which the whole application talks to the user.
//
// On the main thread a dialog is shown at once; on any other it is posted there and waited for. On the thread
// of the running creation, a cancellation requested meanwhile throws `Cancelled` after the answer. A closed
// main queue answers with the default (or "Cancel").
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"
#include "platform/user_interface.h"

namespace morvane::MVAlert {

/// One button "OK"; the title "Warning" gives the critical style, "Error" the stop icon.
void showAlertMessage(const std::string& message, const std::string& title);
/// The same with the title "Error".
void showAlertErrorMessage(const std::string& message);
void showAlertMessageWithException(const std::string& name, const std::string& reason);

/// The default answer is the first button. Without a title nothing is shown and the answer is the opposite of
/// the default.
[[nodiscard]] bool showBooleanAlertMessage(const std::string& message,
                                           const std::optional<std::string>& title, bool defaultAnswer);
/// The dialog that it shows.
[[nodiscard]] Dialog booleanDialog(const std::string& message, const std::string& title, bool defaultAnswer);
/// The settings change the dialog before it is shown.
[[nodiscard]] bool showBooleanAlertMessageWithSettings(const std::string& message,
                                                       const std::optional<std::string>& title,
                                                       bool defaultAnswer,
                                                       const std::function<void(Dialog&)>& settings);
/// "Critical", "Fatal", a resource's name or a path.
[[nodiscard]] bool showBooleanAlertMessageWithIconNamed(const std::string& message,
                                                        const std::optional<std::string>& title,
                                                        const std::optional<std::string>& iconName,
                                                        bool defaultAnswer);
/// The image is shown under the text.
[[nodiscard]] bool showBooleanAlertMessageWithImageNamed(const std::string& message,
                                                         const std::optional<std::string>& title,
                                                         const std::optional<std::string>& imageName,
                                                         bool defaultAnswer);
/// The text, or nothing for "Cancel".
[[nodiscard]] std::optional<std::string> inputDialogWithMessage(const std::string& message,
                                                                const std::string& defaultValue);
/// The dialog that it shows.
[[nodiscard]] Dialog inputDialog(const std::string& message, const std::string& defaultValue);

/// Any dialog that is none of the above: built here, shown and answered on the main thread.
[[nodiscard]] DialogAnswer showDialog(const Dialog& dialog);
/// The button that a dialog is called off with: "Cancel", else "No" or "I Disagree", else the only one that it
/// has. Nothing when every button does something.
[[nodiscard]] std::optional<std::size_t> cancelButton(const Dialog& dialog);
/// Shows a dialog with a button "Yes", and tells whether that was pressed.
[[nodiscard]] bool isAnsweredYes(const Dialog& dialog);
/// Whether a file of another type than the panel's is refused here, or by the caller in words of its own.
enum class OtherTypes { refused, passedOn };
/// File panels, shown and answered on the main thread in the same way. What is chosen can be: a path that
/// the panel does not offer is named in an error, and the panel comes back.
[[nodiscard]] std::vector<std::string> chooseFiles(const OpenPanel& panel,
                                                   OtherTypes otherTypes = OtherTypes::refused);
/// Whether the panel offers the path; a failure is a sentence that names it.
[[nodiscard]] Result<> checkChoice(const OpenPanel& panel, const std::string& path,
                                   OtherTypes otherTypes = OtherTypes::refused);
[[nodiscard]] std::optional<std::string> chooseSavePath(const SavePanel& panel);

/// Whether the user interface has, or can get, the answers to what is going to be asked. Asks for nothing and
/// is true where somebody sits at it; `questions` is not called then.
[[nodiscard]] bool canBeAnswered(const std::function<std::vector<ForeseenQuestion>()>& questions);

}  // namespace morvane::MVAlert
