#include "cli/console.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "platform/folders.h"
#include "platform/json.h"
#include "platform/utf8.h"

namespace morvane::cli {

namespace {

std::size_t terminalWidth() {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

// Straight to the descriptor: a line is out before the next program writes to the same terminal.
bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

std::string fitted(std::string_view text, std::size_t columns) {
    std::size_t used = 0;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const bool startsCharacter = (static_cast<unsigned char>(text[at]) & 0xc0U) != 0x80U;
        if (startsCharacter && used++ == columns) break;
    }
    return std::string(text.substr(0, at));
}

std::string wordWrapped(std::string_view text, std::size_t columns) {
    std::string result;
    std::size_t used = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
        const std::string_view word = text.substr(0, end);
        const std::size_t width =
            static_cast<std::size_t>(std::count_if(word.begin(), word.end(), [](char c) {
                return (static_cast<unsigned char>(c) & 0xc0U) != 0x80U;
            }));
        if (used > 0 && used + width > columns) {
            if (result.ends_with(' ')) result.pop_back();
            result += '\n';
            used = 0;
        }
        result += word;
        used += width;
        if (end < text.size()) {
            result += text[end];
            used = text[end] == '\n' ? 0 : used + 1;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

std::string progressLine(const ProgressState& state, std::size_t columns) {
    std::string line;
    if (state.indeterminate) {
        line = "[....................]      ";
    } else {
        const auto filled = static_cast<std::size_t>(std::clamp(state.value, 0, 1000) / 50);
        const std::string percent = std::to_string(std::clamp(state.value, 0, 1000) / 10);
        line = "[" + std::string(filled, '#') + std::string(20 - filled, '.') + "] " +
               std::string(3 - std::min<std::size_t>(3, percent.size()), ' ') + percent + "% ";
    }
    line += state.status;
    if (!state.subtitle.empty()) line += "  " + state.subtitle;
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
    return fitted(line, columns);
}

Console::Console(Output output)
    : output_(output),
      interactive_(isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1),
      bar_(isatty(STDERR_FILENO) == 1 && environmentVariable("TERM") != "dumb"),
      colours_(bar_ && environmentVariable("NO_COLOR").empty()),
      wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

Console::~Console() {
    clearBar();
    close(wakeUp_);
}

void Console::print(std::string_view text) {
    clearBar();
    const bool isExact = output_ == Output::json && isatty(STDOUT_FILENO) == 0;
    std::string line = isExact ? std::string(text) : harmless(text);
    if (!line.ends_with('\n')) line += '\n';
    writeOutput(line);
}

void Console::writeOutput(std::string_view text) {
    if (!writeAll(STDOUT_FILENO, text) && !outputError_) outputError_ = std::strerror(errno);
}

void Console::passOn(std::string_view text) {
    writeOutput(text);
}

void Console::sayLine(std::string text) {
    clearBar();
    std::string line = bar_ ? wordWrapped(text, terminalWidth()) : std::move(text);
    if (!line.ends_with('\n')) line += '\n';
    writeAll(STDERR_FILENO, line);
}

void Console::say(std::string_view text) {
    sayLine(harmless(text));
}

void Console::say(Emphasis emphasis, std::string_view heading, std::string_view text) {
    sayLine(emphasised(emphasis, heading) + (text.empty() ? "" : ": " + harmless(text)));
}

void Console::emit(const Dictionary& event) {
    print(jsonText(Value(event)));
}

std::optional<char> Console::nextByte() {
    for (;;) {
        pollfd both[2] = {{STDIN_FILENO, POLLIN, 0}, {wakeUp_, POLLIN, 0}};
        if (poll(both, 2, -1) < 0) continue;
        if (both[1].revents != 0) {
            interrupted_ = true;
            return std::nullopt;
        }
        char character = 0;
        // One byte at a time: what follows the line may be meant for the next question.
        const ssize_t count = read(STDIN_FILENO, &character, 1);
        if (count < 0 && errno == EINTR) continue;
        return count > 0 ? std::optional(character) : std::nullopt;
    }
}

std::optional<std::string> Console::readLine(const std::string& prompt) {
    clearBar();
    interrupted_ = false;
    std::uint64_t ignored = 0;
    (void)!read(wakeUp_, &ignored, sizeof ignored);
    reading_ = true;
    std::optional<std::string> result;
    if (interactive_ && bar_) {
        if (!editor_) editor_ = std::make_unique<LineEditor>([this] { return nextByte(); });
        // Lines before the last one are no part of what is being edited.
        const std::string shown = harmless(prompt);
        const std::size_t line = shown.rfind('\n') + 1;
        writeAll(STDERR_FILENO, shown.substr(0, line));
        result = editor_->read(shown.substr(line));
    } else {
        writeAll(STDERR_FILENO, harmless(prompt));
        std::string line;
        std::optional<char> character;
        while ((character = nextByte()) && *character != '\n') line += *character;
        if (character) result = line;
    }
    if (interrupted_) {
        // What was typed so far belongs to no question any more.
        tcflush(STDIN_FILENO, TCIFLUSH);
        writeAll(STDERR_FILENO, "\n");
        result.reset();
    }
    reading_ = false;
    return result;
}

bool Console::interrupt() {
    if (!reading_) return false;
    const std::uint64_t one = 1;
    return write(wakeUp_, &one, sizeof one) == sizeof one;
}

void Console::clearBar() {
    if (!barShown_) return;
    writeAll(STDERR_FILENO, "\r\033[K");
    barShown_ = false;
}

void Console::drawBar(const ProgressState& state) {
    // One column is left free: a full line would move the cursor to the next one.
    writeAll(STDERR_FILENO, "\r\033[K" + harmless(progressLine(state, terminalWidth() - 1)));
    barShown_ = true;
}

void Console::showProgress(const ProgressState& state) {
    if (state.height == 0) {
        clearBar();
        return;
    }
    if (output_ == Output::json) {
        emit({{"event", "progress"},
              {"status", state.status},
              {"subtitle", state.subtitle},
              {"value", state.indeterminate ? Value() : Value(state.value)}});
        return;
    }
    if (bar_) {
        drawBar(state);
        return;
    }
    std::string line = state.status + (state.subtitle.empty() ? "" : "  " + state.subtitle);
    if (line == lastLine_ || line.empty()) return;
    lastLine_ = line;
    writeAll(STDERR_FILENO, harmless(line) + "\n");
}

std::string Console::emphasised(Emphasis emphasis, std::string_view text) const {
    const std::string shown = harmless(text);
    if (!colours_) return shown;
    return (emphasis == Emphasis::error ? "\033[31m" : "\033[1m") + shown + "\033[0m";
}

}  // namespace morvane::cli
