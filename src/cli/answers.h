// cli/answers.h: answers given beforehand on the command line.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"

namespace morvane::cli {

/// Answers by title, used in the order in which they were given for that title.
class Answers {
  public:
    struct Answer {
        std::string button;
        std::optional<std::string> text;  ///< for a text field, or the choice of a choice box
    };

    /// "TITLE=BUTTON" or "TITLE=BUTTON:TEXT".
    [[nodiscard]] std::optional<Failure> addAnswer(const std::string& option);
    /// "TITLE=PATH"; an empty path cancels the panel.
    [[nodiscard]] std::optional<Failure> addChoice(const std::string& option);
    void addAnswer(const std::string& title, Answer answer);
    void addChoice(const std::string& title, const std::string& path);
    /// All of them for one panel, which takes several.
    void addChoices(const std::string& title, std::vector<std::string> paths);

    /// The next answer for the title, which is then used up.
    [[nodiscard]] std::optional<Answer> takeAnswer(const std::string& title);
    [[nodiscard]] std::optional<std::vector<std::string>> takeChoices(const std::string& title);
    /// The first of them; empty when the panel is cancelled.
    [[nodiscard]] std::optional<std::string> takeChoice(const std::string& title);

    bool defaults = false;  ///< each remaining question takes its default, each remaining panel is cancelled

  private:
    std::map<std::string, std::deque<Answer>> answers_;
    std::map<std::string, std::deque<std::vector<std::string>>> choices_;
};

}  // namespace morvane::cli
