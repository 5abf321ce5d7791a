// app/help_tab.h: the help tab: answers to common questions, the contact form, the description of this
// computer, the logs. One thread at a time; what blocks (network, programs) says so, and has a way beside it that
// runs on a queue.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane {

enum class InHTML { no, yes };
/// What a key asks a text field to do.
enum class FieldCommand { insertNewline, insertTab, other };

/// The application's "CFBundleVersion".
[[nodiscard]] std::string applicationVersion();

class NSHelpTab {
  public:
    /// The form, as typed.
    struct Form {
        std::string name, mail, subject, description;
        bool addsComputerDescription = false;
        std::string buildLog = {};  ///< added where it is not empty; its end, when it is long
    };
    Form form;

    NSHelpTab();
    ~NSHelpTab();
    NSHelpTab(const NSHelpTab&) = delete;
    NSHelpTab& operator=(const NSHelpTab&) = delete;

    // For a window. Main thread; what ends later comes there too, and to nobody once the tab is gone.
    /// Sends a copy of the form as it is now, as `sendMail` does. Nothing happens while one is being sent.
    void send(std::function<void(bool taken)> completion);
    [[nodiscard]] bool isSending() const { return isSending_; }
    struct Line {
        std::string label, value;  ///< the label ends in ": "
    };
    /// `computerSpecifications`.
    void describe(std::function<void(const std::vector<Line>&)> completion);

    struct Question {
        std::string question;
        StyledText answer;
    };
    /// Common questions with their answers, from the resource "questions.html"; none without it.
    [[nodiscard]] static std::vector<Question> commonQuestions();
    /// The folder in which the application writes down what happens. Made when it is missing.
    [[nodiscard]] static std::string logFolder();

    /// Blocks. Checks the form and posts it; what is missing, and the outcome, are told in a dialog. The fields stay.
    /// Whether the message was taken.
    bool sendMail();
    /// Blocks.
    void specsButtonClicked();
    /// The catalogue in the browser. Main thread.
    static void morvaneHelp();

    /// Blocks. This computer, line by line. The hardware report and the model are read once for a help tab.
    [[nodiscard]] std::vector<Line> computerSpecifications();
    /// HTML is a text without formatting of its own.
    [[nodiscard]] StyledText computerSpecificationsInHTML(InHTML html);
    /// Nothing when it is not known.
    [[nodiscard]] const std::optional<std::string>& determinateMacCompleteModel();

    /// With line breaks as "<br>" in HTML.
    [[nodiscard]] static StyledText boldString(const std::string& text, InHTML html);
    [[nodiscard]] static StyledText normalString(const std::string& text, InHTML html);

    /// What a key inserts into a field of several lines instead of leaving it; nothing for any other command.
    [[nodiscard]] static std::optional<std::string> textForCommand(FieldCommand command);

  private:
    /// What a worker works with.
    struct Copy;
    [[nodiscard]] std::shared_ptr<Copy> copy() const;
    void takeBack(const Copy& copy);
    [[nodiscard]] const std::string& hardwareReport();
    [[nodiscard]] Result<> checkForm() const;

    std::optional<std::string> hardwareReport_;
    std::optional<std::optional<std::string>> model_;  // looked for, and found
    bool isSending_ = false;
    const std::shared_ptr<NSHelpTab*> self_;  ///< holds nothing once the tab is gone
};

}  // namespace morvane
