// cli/console.h: the terminal: lines in, lines and a progress bar out. Main thread, but for `interrupt`.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "cli/line_editor.h"
#include "platform/user_interface.h"

namespace morvane::cli {

enum class Output { text, json };
enum class Emphasis { heading, error };

class Console {
  public:
    explicit Console(Output output);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Whether a person can be asked: standard input and standard error are a terminal.
    [[nodiscard]] bool isInteractive() const { return interactive_; }
    [[nodiscard]] Output output() const { return output_; }

    // Whatever is shown passes `harmless`; JSON does so on a terminal only, elsewhere it is exact.

    /// To standard output: what the command was asked for.
    void print(std::string_view text);
    /// The same without a line end: what a program prints, piece by piece. Any one thread.
    void passOn(std::string_view text);
    /// To standard error: what happens meanwhile. Wrapped to the width of a terminal.
    void say(std::string_view text);
    /// "HEADING: TEXT", or the heading alone.
    void say(Emphasis emphasis, std::string_view heading, std::string_view text = "");
    /// A line of the JSON output.
    void emit(const Dictionary& event);

    /// Why the output is not whole ("No space left on device"), once some of it could not be written.
    [[nodiscard]] const std::optional<std::string>& outputError() const { return outputError_; }

    /// Shows the prompt and reads a line; on a terminal with cursor keys, history and Tab for paths. Nothing
    /// at the end of the input, and after an interrupt.
    [[nodiscard]] std::optional<std::string> readLine(const std::string& prompt);
    /// Any thread: ends a `readLine` that waits. False when none does.
    bool interrupt();
    /// Whether the last `readLine` was ended by an interrupt.
    [[nodiscard]] bool wasInterrupted() const { return interrupted_; }

    /// A bar on a terminal, one line per change otherwise, JSON lines on request.
    void showProgress(const ProgressState& state);

  private:
    [[nodiscard]] std::string emphasised(Emphasis emphasis, std::string_view text) const;
    /// To standard error, as it stands.
    void sayLine(std::string text);
    void writeOutput(std::string_view text);
    /// Waits for a byte of the input; nothing at its end, and after an interrupt.
    [[nodiscard]] std::optional<char> nextByte();
    void clearBar();
    void drawBar(const ProgressState& state);

    const Output output_;
    const bool interactive_;
    const bool bar_;      // standard error is a terminal
    const bool colours_;  // ... and colours are welcome
    std::optional<std::string> outputError_;
    bool barShown_ = false;
    bool interrupted_ = false;
    std::atomic<bool> reading_ = false;
    std::unique_ptr<LineEditor> editor_;  // with the first question at a terminal
    int wakeUp_ = -1;                     // an event counter that ends a read
    std::string lastLine_;
};

/// The width in columns of a UTF-8 text cut so that it fits; wide characters count as one.
[[nodiscard]] std::string fitted(std::string_view text, std::size_t columns);
/// The text with line breaks at blanks, so that no line is longer than the columns where words allow it.
[[nodiscard]] std::string wordWrapped(std::string_view text, std::size_t columns);
/// "[#####.....]  50%" and the lines beside it, for a terminal of that width.
[[nodiscard]] std::string progressLine(const ProgressState& state, std::size_t columns);

}  // namespace morvane::cli
