// platform/user_interface.h: what the core asks of a front end. Every call comes on the main thread.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/result.h"
#include "platform/value.h"

namespace morvane {

struct TextField {
    std::string text;                 ///< what it holds at first
    std::string placeholder = {};     ///< shown while it is empty
    double width = 260, height = 24;  ///< points
};
struct ImageAccessory {
    std::string path;  ///< shown at its own size divided by the screen's scale
};
/// A list of which one text is always chosen; nothing can be typed.
struct ChoiceBox {
    std::vector<std::string> options;
    std::size_t chosen = 0;           ///< index of the one chosen at first
    double width = 260, height = 24;  ///< points
};
struct LongText {
    std::string text;  ///< shown scrollable
};
/// One control of a panel's accessory. A change made by the user calls `changed` with the new choice, which
/// may in turn alter the other fields of the same form.
struct FormField {
    enum class Kind { choice, checkBox };
    Kind kind = Kind::choice;
    std::string label;
    std::vector<std::string> options;  ///< of a choice
    std::size_t chosen = 0;            ///< index of the choice; 0 or 1 of a check box
    std::function<void(std::size_t)> changed;
};
struct Form {
    std::vector<FormField> fields;
};

struct Dialog {
    enum class Style { informational, critical };
    enum class Icon { application, stop, picture };
    std::string title;                 ///< the heading
    std::string text;                  ///< the body, shown literally
    std::vector<std::string> buttons;  ///< in order
    /// Paths of pictures in place of the buttons' titles, button by button; empty where there is none.
    std::vector<std::string> buttonPictures = {};
    std::size_t defaultButton = 0;
    Style style = Style::informational;
    Icon icon = Icon::application;
    std::string iconPath;  ///< of `Icon::picture`
    /// A styled text is shown like a long one.
    std::variant<std::monostate, TextField, ChoiceBox, ImageAccessory, LongText, StyledText> accessory;
};
struct DialogAnswer {
    std::size_t button = 0;  ///< index of the button pressed
    std::string text;        ///< of the text field
    std::size_t chosen = 0;  ///< of the choice box
};

/// A choice of existing files or folders.
struct OpenPanel {
    std::string title;
    std::string startFolder;         ///< empty: the front end's own choice
    std::vector<std::string> types;  ///< extensions without dot, whatever their case; empty: everything
    bool files = true;
    bool folders = false;
    bool packagesAsFolders = false;  ///< `.app` bundles can be entered
    bool multiple = false;
    /// Whether a path can be chosen, beyond the types; absent: yes.
    std::function<bool(const std::string& path)> shouldEnable;
};
/// A choice of a place for something new. The front end adds the first type as an extension when the name has
/// none of them, and asks before it gives back a place where something exists.
struct SavePanel {
    std::string title;
    std::string startFolder;
    std::string proposedName;
    std::vector<std::string> types;
    Form* accessory = nullptr;
};

/// A question that some work is going to ask, and how it goes on after the answer.
struct ForeseenQuestion {
    std::variant<Dialog, OpenPanel, SavePanel> shown;
    /// The button with which the work goes on as it should; of a panel, what the path should be.
    std::string answer;
    bool othersEnd = false;  ///< any other button ends the work
    /// False: not this time, since nothing calls for it now. An answer that was given for it is meant for it
    /// all the same, and for no later question of that title.
    bool isAsked = true;
    bool isMadeByTheWork = false;  ///< of a panel: its file is not there yet
    /// Whether a file can be chosen, beyond what the panel says; absent: any can.
    std::function<Result<>(const std::string& path)> check = {};
    /// What is asked next, by the button; after a cancelled panel, by the empty text.
    struct Branch {
        std::string button;
        std::vector<ForeseenQuestion> questions;
    };
    std::vector<Branch> branches = {};
};

struct ProgressState {
    std::string status;
    std::string subtitle;
    bool indeterminate = true;
    int value = 0;   ///< 0 to 1000
    int height = 0;  ///< points; 0: not shown
    bool creatingWrapper = false;
    bool cancellable = false;  ///< whether its cancel button can be pressed
};

struct Notification {
    std::string title;
    std::string message;
    std::string info;         ///< carried for the action
    std::string actionTitle;  ///< "Play"
    std::optional<ImageData> image;
};

class UserInterface {
  public:
    virtual ~UserInterface() = default;

    /// Blocks until answered. Throws nothing; a front end that cannot answer (no terminal) ends the command
    /// itself.
    virtual DialogAnswer showDialog(const Dialog& dialog) = 0;
    /// The chosen paths; empty when cancelled.
    virtual std::vector<std::string> chooseFiles(const OpenPanel& panel) = 0;
    virtual std::optional<std::string> chooseSavePath(const SavePanel& panel) = 0;
    /// Whether `accepts` and `knownChoice` are of any use: to foresee questions may block on the network.
    [[nodiscard]] virtual bool isAnsweredBeforehand() const { return false; }
    /// Called before the work begins. False when an answer is missing that nobody can give later, which has
    /// been told; the work is not begun then.
    virtual bool accepts(const std::vector<ForeseenQuestion>& questions) {
        static_cast<void>(questions);
        return true;
    }
    /// The path that the panel will give, where that is settled already; empty otherwise.
    [[nodiscard]] virtual std::string knownChoice(const OpenPanel& panel) const {
        static_cast<void>(panel);
        return "";
    }
    virtual void showProgress(const ProgressState& state) = 0;
    virtual void notify(const Notification& notification) = 0;

    // Workspace services; failures are silent.
    virtual void openLink(const std::string& url) = 0;
    virtual void openPath(const std::string& path) = 0;
    virtual void revealPath(const std::string& path) = 0;
    virtual void launchBundle(const std::string& path) = 0;
    /// Brings the windows of every process whose executable lies below the path to the front.
    virtual void bringToFront(const std::string& pathPrefix) = 0;
};

}  // namespace morvane
