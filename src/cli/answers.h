// cli/answers.h: answers given beforehand on the command line, and the questions that they are for.
#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"
#include "platform/user_interface.h"

namespace morvane::cli {

/// Answers by title, used in the order in which they were given for that title.
class Answers {
  public:
    struct Answer {
        std::string button;
        std::optional<std::string> text;  ///< for a text field, or the choice of a choice box
    };

    /// "TITLE=BUTTON" or "TITLE=BUTTON:TEXT".
    [[nodiscard]] Result<> addAnswer(const std::string& option);
    /// "TITLE=PATH"; an empty path cancels the panel.
    [[nodiscard]] Result<> addChoice(const std::string& option);
    void addAnswer(const std::string& title, Answer answer);
    void addChoice(const std::string& title, const std::string& path);
    /// All of them for one panel, which takes several.
    void addChoices(const std::string& title, std::vector<std::string> paths);

    /// The next answer for the title whose button is one of these; it is then used up. Those before it, which
    /// belong to another question of that title, stay.
    [[nodiscard]] std::optional<Answer> takeAnswer(const std::string& title,
                                                   const std::vector<std::string>& buttons);
    /// How many answers for the title are left.
    [[nodiscard]] std::size_t answersFor(const std::string& title) const;
    [[nodiscard]] std::optional<std::vector<std::string>> takeChoices(const std::string& title);
    /// The first of them; empty when the panel is cancelled.
    [[nodiscard]] std::optional<std::string> takeChoice(const std::string& title);
    /// The same without using it up.
    [[nodiscard]] std::optional<std::string> nextChoice(const std::string& title) const;

    /// What is wrong with these answers, for somebody who is going to be asked this.
    struct Shortcoming {
        std::vector<std::string> unanswered;  ///< as `asked` says it
        std::optional<std::string> unusable;  ///< why a chosen file cannot be taken
    };
    /// Uses nothing up, but for answers to questions that are not asked this time.
    [[nodiscard]] Shortcoming shortcomingFor(const std::vector<ForeseenQuestion>& questions);

    bool defaults = false;  ///< each remaining question takes its default, each remaining panel is cancelled

  private:
    class Check;
    struct Numbered {
        Answer answer;
        std::size_t number;  ///< the same in copies
    };
    [[nodiscard]] std::optional<Numbered> take(const std::string& title,
                                               const std::vector<std::string>& buttons);
    void drop(const std::string& title, std::size_t number);

    std::map<std::string, std::deque<Numbered>> answers_;
    std::size_t last_ = 0;
    std::map<std::string, std::deque<std::vector<std::string>>> choices_;
};

/// The text as one word of a shell's command line.
[[nodiscard]] std::string shellQuoted(const std::string& text);
/// The option that gives the question its answer.
[[nodiscard]] std::string optionOf(const ForeseenQuestion& question);
/// The options for all of them, in order, each once it is needed or may be; what they mean by a path is to be
/// filled in.
[[nodiscard]] std::vector<std::string> optionsFor(const std::vector<ForeseenQuestion>& questions);
/// A question with its buttons, and the options of which one answers it.
[[nodiscard]] std::string asked(const Dialog& dialog);
[[nodiscard]] std::string asked(const OpenPanel& panel);
[[nodiscard]] std::string asked(const SavePanel& panel);

}  // namespace morvane::cli
