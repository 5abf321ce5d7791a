// cli/line_editor.h: lines typed at a terminal, with the keys that people expect: cursor, history, Tab for
// paths. Main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace morvane::cli {

class LineEditor {
  public:
    /// `nextByte` waits for a byte of the standard input; nothing ends the line that is being typed.
    explicit LineEditor(std::function<std::optional<char>()> nextByte);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    /// A line without its end; nothing at the end of the input, and when `nextByte` gives nothing. Lines that
    /// hold something are kept for the next questions of this run.
    [[nodiscard]] std::optional<std::string> read(const std::string& prompt);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// What Tab adds to a path that was begun: as much as is common to all that fit, with a "/" behind a folder.
/// Empty when nothing fits, or when they differ from here.
[[nodiscard]] std::string pathCompletion(const std::string& begun);

}  // namespace morvane::cli
