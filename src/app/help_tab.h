// app/help_tab.h: the help tab: the contact form and the description of this computer. One thread at a time;
// sending and describing block (network, programs), so better not on the main thread.
#pragma once

#include <functional>
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
    };
    Form form;

    /// Checks the form and posts it; what is missing, and the outcome, are told in a dialog. The fields stay.
    /// Whether the message was taken.
    bool sendMail();
    void specsButtonClicked();
    /// The catalogue in the browser. Main thread.
    static void morvaneHelp();

    struct Line {
        std::string label, value;  ///< the label ends in ": "
    };
    /// This computer, line by line. The hardware report and the model are read once for a help tab.
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
    [[nodiscard]] const std::string& hardwareReport();
    [[nodiscard]] Result<> checkForm() const;

    std::optional<std::string> hardwareReport_;
    std::optional<std::optional<std::string>> model_;  // looked for, and found
};

}  // namespace morvane
