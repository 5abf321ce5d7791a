#include "cli/line_editor.h"

#include <histedit.h>

#include <clocale>
#include <cstdio>
#include <utility>

#include "cli/terminal_interface.h"
#include "platform/files.h"
#include "platform/utf8.h"

namespace morvane::cli {

namespace {

constexpr int linesKept = 200;
/// Libedit takes the terminal's own, longer than any path.
constexpr const char* program = "morvane";

}  // namespace

struct LineEditor::State {
    std::function<std::optional<char>()> nextByte;
    std::string prompt;
    EditLine* editor = nullptr;
    History* history = nullptr;

    static State& of(EditLine* editor) {
        void* state = nullptr;
        el_get(editor, EL_CLIENTDATA, &state);
        return *static_cast<State*>(state);
    }
    static char* promptOf(EditLine* editor) { return of(editor).prompt.data(); }

    /// The next character. The library takes wide ones, whatever it was compiled for.
    static int character(EditLine* editor, wchar_t* character) {
        std::string bytes;
        do {
            const auto next = of(editor).nextByte();
            if (!next) return 0;
            bytes += *next;
        } while (bytes.size() < lengthOf(bytes.front()));
        std::size_t position = 0;
        *character = static_cast<wchar_t>(utf8::next(bytes, position));
        return 1;
    }
    /// Of the character that begins with the byte.
    static std::size_t lengthOf(char first) {
        const auto byte = static_cast<unsigned char>(first);
        return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    }

    static unsigned char complete(EditLine* editor, int) {
        const LineInfo* line = el_line(editor);
        const std::string begun(line->buffer, line->cursor);
        const std::string rest = pathCompletion(begun);
        if (rest.empty() || el_insertstr(editor, rest.c_str()) != 0) return CC_REFRESH_BEEP;
        return CC_REFRESH;
    }
};

LineEditor::LineEditor(std::function<std::optional<char>()> nextByte) : state_(std::make_unique<State>()) {
    // For characters of more than one byte.
    std::setlocale(LC_CTYPE, "");
    state_->nextByte = std::move(nextByte);
    state_->editor = el_init(program, stdin, stderr, stderr);
    state_->history = history_init();
    HistEvent event;
    history(state_->history, &event, H_SETSIZE, linesKept);
    history(state_->history, &event, H_SETUNIQUE, 1);
    EditLine* editor = state_->editor;
    el_set(editor, EL_CLIENTDATA, state_.get());
    el_set(editor, EL_PROMPT, &State::promptOf);
    el_set(editor, EL_GETCFN, &State::character);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 0);
    el_set(editor, EL_HIST, history, state_->history);
    el_set(editor, EL_ADDFN, "complete-path", "completes a path", &State::complete);
    el_set(editor, EL_BIND, "^I", "complete-path", nullptr);
}

LineEditor::~LineEditor() {
    el_end(state_->editor);
    history_end(state_->history);
}

std::optional<std::string> LineEditor::read(const std::string& prompt) {
    state_->prompt = prompt;
    int count = 0;
    const char* typed = el_gets(state_->editor, &count);
    if (typed == nullptr || count <= 0) return std::nullopt;
    std::string line(typed, static_cast<std::size_t>(count));
    HistEvent event;
    if (line.find_first_not_of(" \n") != std::string::npos)
        history(state_->history, &event, H_ENTER, line.c_str());
    if (line.ends_with('\n')) line.pop_back();
    return line;
}

std::string pathCompletion(const std::string& begun) {
    const std::size_t slash = begun.rfind('/');
    const std::string name = slash == std::string::npos ? begun : begun.substr(slash + 1);
    const std::string folder = expandedPath(slash == std::string::npos ? "." : begun.substr(0, slash + 1));
    const auto entries = files::list(folder);
    if (!entries) return "";
    std::optional<std::string> common;
    std::size_t fitting = 0;
    for (const std::string& entry : *entries) {
        // Hidden files are offered to those who ask for them.
        if (!entry.starts_with(name) || (name.empty() && entry.starts_with('.'))) continue;
        ++fitting;
        if (!common) common = entry;
        std::size_t same = 0;
        while (same < std::min(common->size(), entry.size()) && (*common)[same] == entry[same]) ++same;
        common->resize(same);
    }
    if (!common) return "";
    // Not in the middle of a character.
    const auto isInside = [&](std::size_t at) {
        return at < common->size() && (static_cast<unsigned char>((*common)[at]) & 0xC0U) == 0x80U;
    };
    while (fitting > 1 && !common->empty() && isInside(common->size() - 1)) common->pop_back();
    std::string rest = common->substr(std::min(name.size(), common->size()));
    if (fitting == 1 && files::kindBehind(files::join(folder, *common)) == files::Kind::folder) rest += "/";
    return rest;
}

}  // namespace morvane::cli
