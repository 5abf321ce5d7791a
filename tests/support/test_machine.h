// tests/support/test_machine.h: the machine of one test: a temporary home, a scripted user, scripted
// programs.
//
// The fixture's thread is the main thread. `onWorker` runs work as the application does, on a queue of its
// own, while the main thread serves dialogs; it fails the test when the work does not end.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/host.h"
#include "platform/user_interface.h"

namespace morvane::testing {

/// Answers with a script: a queue of expected questions and answers, in order. A question that is not the
/// next one expected fails the test at once (and is answered with its default); one never asked fails it at
/// the end.
class ScriptedUserInterface : public UserInterface {
  public:
    ~ScriptedUserInterface() override;

    /// One expected dialog; its text (or title, for a text input) begins with `text`.
    class Expectation {
      public:
        /// Presses the button of that title (also for alerts: "OK").
        Expectation& answer(const std::string& button);
        /// Types into the text field and presses "OK".
        Expectation& type(const std::string& text);
        /// Picks the option of that text in the choice box and presses "OK".
        Expectation& choose(const std::string& option);
        /// Checks the first button, the default.
        Expectation& defaultIs(const std::string& button);
        Expectation& titleIs(const std::string& title);
        /// Answers with an exception, as a front end does that has nobody to ask.
        void throws();

      private:
        friend class ScriptedUserInterface;
        enum class Kind { dialog, open, save } kind = Kind::dialog;
        std::string text, button = "OK", typed, option;
        std::string expectedDefault, expectedTitle;
        std::vector<std::string> paths;
        std::function<void(Form&)> form;
        bool throwing = false;
    };
    Expectation& expect(const std::string& text);
    Expectation& expectInput(const std::string& title) { return expect(title); }
    /// An alert of the title "Error" with the button "OK".
    Expectation& expectError(const std::string& text);
    /// A file panel of that title; no paths: cancelled.
    void expectChoice(const std::string& title, std::vector<std::string> paths);
    /// A save panel of that title; an empty path: cancelled. `form` may change the accessory.
    void expectSave(const std::string& title, const std::string& path, std::function<void(Form&)> form = {});

    DialogAnswer showDialog(const Dialog& dialog) override;
    std::vector<std::string> chooseFiles(const OpenPanel& panel) override;
    std::optional<std::string> chooseSavePath(const SavePanel& panel) override;
    void showProgress(const ProgressState& state) override;
    void notify(const Notification& notification) override;
    void openLink(const std::string& url) override { opened.push_back(url); }
    void openPath(const std::string& path) override { opened.push_back(path); }
    void revealPath(const std::string& path) override { opened.push_back(path); }
    void launchBundle(const std::string& path) override { opened.push_back(path); }
    void bringToFront(const std::string& pathPrefix) override { broughtToFront.push_back(pathPrefix); }

    /// Where set, what nobody expected fails nothing: this button is pressed where there is one, else the default; a
    /// file panel is cancelled.
    std::optional<std::string> answerOfTheRest;
    /// What happens while a question is open, on the main thread.
    std::function<void()> whileAsking;
    std::vector<Dialog> dialogs;        ///< every dialog shown
    std::vector<OpenPanel> openPanels;  ///< every file panel shown
    std::vector<SavePanel> savePanels;
    std::vector<ProgressState> progress;                         ///< every state shown
    [[nodiscard]] std::vector<std::string> statusLines() const;  ///< of `progress`, without repeats in a row
    std::vector<Notification> notifications;
    std::vector<std::string> opened, broughtToFront;

  private:
    [[nodiscard]] std::unique_ptr<Expectation> next(Expectation::Kind kind, const std::string& shown);

    std::deque<std::unique_ptr<Expectation>> script_;
};

/// A folder that is removed at the end.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::string path;
};

class TestMachine : public ::testing::Test {
  public:
    /// In English, or in the language of the texts.
    explicit TestMachine(MessageCatalogue texts = {});
    ~TestMachine() override;

    TemporaryFolder folder;            ///< holds everything below
    const std::string home;            ///< `<folder>/home`
    const std::string programsFolder;  ///< scripted programs win over the machine's
    ScriptedUserInterface ui;
    std::unique_ptr<Host> machine;  ///< sites point at "offline.invalid"; hosts are reachable by `reachable`
    std::function<bool(const std::string& host)> reachable;  ///< at first: everything but "offline.invalid"

    /// Runs the work on a worker thread and the main queue here until it has ended. Exceptions reach the
    /// caller.
    void onWorker(const std::function<void()>& work, std::chrono::seconds limit = std::chrono::seconds(60));
    /// A shell script of that name, found before every other program of the name. "$0.log" is free for its
    /// use.
    void scriptProgram(const std::string& name, const std::string& script);

    /// Leaves a last good script of the Windows components, which defines none: what a build without any
    /// server uses.
    void putSharedVerbScript() const {
        put(home + "/Library/Application Support/Caskery/winetricks/winetricks",
            "#!/bin/sh\n# " + std::string(50, '-') + "\n");
    }
    /// Writes a file with its folders. `executable` sets the run bits.
    static void put(const std::string& path, std::string_view contents, bool executable = false);
    [[nodiscard]] static std::string get(const std::string& path);  ///< fails the test when it cannot be read
};

}  // namespace morvane::testing
