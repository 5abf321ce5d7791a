// cli/terminal_interface.h: the user interface of the command: questions in the terminal, or from the command
// line.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/answers.h"
#include "cli/console.h"
#include "platform/user_interface.h"

namespace morvane::cli {

/// A question had no answer and there is nobody to ask; the command ends with exit code 4.
class Unanswered : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

class TerminalInterface : public UserInterface {
  public:
    TerminalInterface(Console& console, Answers& answers) : console_(console), answers_(answers) {}

    /// While a creation runs, a question without an answer cancels it and is answered with its default, which
    /// nobody uses; otherwise it throws `Unanswered`.
    DialogAnswer showDialog(const Dialog& dialog) override;
    std::vector<std::string> chooseFiles(const OpenPanel& panel) override;
    std::optional<std::string> chooseSavePath(const SavePanel& panel) override;
    /// Without a terminal.
    [[nodiscard]] bool isAnsweredBeforehand() const override { return !console_.isInteractive(); }
    bool accepts(const std::vector<ForeseenQuestion>& questions) override;
    [[nodiscard]] std::string knownChoice(const OpenPanel& panel) const override;
    void showProgress(const ProgressState& state) override;
    void notify(const Notification& notification) override;
    void openLink(const std::string& url) override;
    void openPath(const std::string& path) override;
    void revealPath(const std::string& path) override;
    void launchBundle(const std::string& path) override;
    void bringToFront(const std::string& pathPrefix) override;

    /// The questions that nobody answered, with the options that would, if there were any.
    [[nodiscard]] const std::optional<std::string>& unanswered() const { return unanswered_; }
    /// Whether a path of the command line was one that its panel does not offer: a failure, since it was told.
    [[nodiscard]] bool choiceRefused() const { return choiceRefused_; }
    /// Whether an error was shown.
    [[nodiscard]] bool errorShown() const { return errorShown_; }

  private:
    void showMessage(const Dialog& dialog);
    /// Gives up on a question whose default leads back to it: answered so a third time without any question
    /// in between that is a new one, or after very many questions in all. A person may go round as often as
    /// they like.
    void noteDefault(const std::string& question);
    [[nodiscard]] std::optional<DialogAnswer> scriptedAnswer(const Dialog& dialog);
    [[nodiscard]] std::optional<DialogAnswer> askForText(const Dialog& dialog);
    [[nodiscard]] std::optional<DialogAnswer> askForChoice(const Dialog& dialog);
    [[nodiscard]] std::optional<DialogAnswer> askForButton(const Dialog& dialog);
    /// Each choice of a panel's form: answered under its label, else asked, else as it stands.
    void fill(Form& form);
    /// Nobody answers: ends the command, unless a person has just cancelled it.
    void giveUp(const std::string& question);

    Console& console_;
    Answers& answers_;
    std::set<std::string> cancelledPanels_;  // by their default
    std::map<std::string, int> defaulted_;   // questions answered by their default; since the last new one
    int defaults_ = 0;                       // in all
    std::optional<std::string> unanswered_;
    bool errorShown_ = false;
    bool choiceRefused_ = false;
};

/// The button or choice that was typed: its number, its name or the beginning of it, whatever the case; the
/// default for nothing.
[[nodiscard]] std::optional<std::size_t> choiceFor(const std::string& typed,
                                                   const std::vector<std::string>& names,
                                                   std::size_t defaultChoice);
/// The same of an answer given beforehand, in English whatever the language; as it is shown serves as well.
[[nodiscard]] std::optional<std::size_t> scriptedChoice(const std::string& given,
                                                        const std::vector<std::string>& names,
                                                        std::size_t defaultChoice);
/// An absolute path: "~" and "~user" at the start are homes, anything else is relative to the working folder.
[[nodiscard]] std::string expandedPath(const std::string& typed);

}  // namespace morvane::cli
