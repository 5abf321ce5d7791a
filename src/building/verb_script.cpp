#include "building/verb_script.h"

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/utf8.h"

namespace morvane::verb_script {

namespace {

constexpr std::string_view metadataLine = "\nw_metadata ", helperLine = "\nhelper_", helperPrefix = "helper_";

constexpr std::array<std::pair<std::string_view, std::string_view>, 3> catalogueFiles{{
    {"msxml3", "msxml3.msi"},
    {"gdiplus_winxp", "NDP1.0sp2-KB830348-X86-Enu.exe"},
    {"icodecs", "codinstl.exe"},
}};

/// The text up to the marker; all of it when the marker does not occur.
std::string_view upTo(std::string_view text, std::string_view marker) {
    return text.substr(0, text.find(marker));
}

/// The pieces behind each occurrence of the keyword, up to the next one. Left out are those whose preceding
/// piece ends with the mark, if there is one.
std::vector<std::string_view> piecesAfter(std::string_view text, std::string_view keyword,
                                          std::string_view mark) {
    std::vector<std::string_view> pieces;
    std::size_t start = 0, found = text.find(keyword);
    while (found != std::string_view::npos) {
        const bool marked = !mark.empty() && text.substr(start, found - start).ends_with(mark);
        start = found + keyword.size();
        found = text.find(keyword, start);
        if (!marked)
            pieces.push_back(text.substr(start, found == std::string_view::npos ? found : found - start));
    }
    return pieces;
}

/// A name that is called: the rest of the line up to its first space.
std::string calledName(std::string_view piece) {
    return std::string(piece.substr(0, piece.find_first_of(" \n")));
}

/// A download line as words with one space between them. Blanks at its beginning, which a line has that
/// begins with a line break, are no word.
std::string cleanedLine(std::string_view piece) {
    const std::string joined = MVString::replacedAll(piece, "\\\n", "");
    std::string line;
    for (char character : upTo(joined, "\n")) {
        if (character == '\t') character = ' ';
        if (character == ' ' && (line.empty() || line.back() == ' ')) continue;
        line += character;
    }
    return line;
}

std::string word(std::string_view line, int number) {
    return getFromString(line, number).value_or("");
}

std::string cleanedLink(std::string link) {
    const std::string& sourceForge = host().sites.sourceForge;
    if (!sourceForge.empty()) {
        link = MVString::replacedAll(link, "$WINETRICKS_SOURCEFORGE",
                                     sourceForge.substr(0, sourceForge.size() - 1));
    }
    if (!link.starts_with('"') && !link.starts_with('\'')) return link;
    const std::string inside = withoutEnds(link).value_or("");
    return inside.empty() ? link : inside;
}

/// Where each component and helper of a script is defined. Of several definitions the first counts.
class Definitions {
  public:
    explicit Definitions(std::string_view script) : script_(script) {
        for (std::size_t at = script.find(metadataLine); at != std::string_view::npos;
             at = script.find(metadataLine, at + 1)) {
            const std::size_t name = at + metadataLine.size();
            const std::size_t end = std::min(script.find_first_of(" \t\r\n", name), script.size());
            components_.emplace(script.substr(name, end - name), end);
        }
        for (std::size_t at = script.find(helperLine); at != std::string_view::npos;
             at = script.find(helperLine, at + 1)) {
            const std::string_view line = upTo(script.substr(at + 1), "\n");
            const std::size_t end = line.find("()");
            if (end != std::string_view::npos) helpers_.emplace(line.substr(0, end), at + 1 + end + 2);
        }
    }

    [[nodiscard]] std::optional<std::string_view> component(std::string_view name) const {
        const auto found = components_.find(name);
        if (name.empty() || found == components_.end()) return std::nullopt;
        return upTo(upTo(script_.substr(found->second), metadataLine), "winetricks_stats_save()");
    }
    [[nodiscard]] std::optional<std::string_view> helper(std::string_view name) const {
        const auto found = helpers_.find(name);
        if (found == helpers_.end()) return std::nullopt;
        return upTo(upTo(script_.substr(found->second), helperLine), metadataLine.substr(1));
    }

  private:
    const std::string_view script_;
    std::unordered_map<std::string_view, std::size_t> components_, helpers_;
};

std::optional<std::string> owned(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    return std::string(*text);
}

/// A component or a helper by its name.
struct Called {
    enum class Kind { component, helper } kind;
    std::string name;
};

std::vector<Called> callsIn(std::string_view text, Called::Kind caller) {
    std::vector<Called> calls;
    if (caller == Called::Kind::component) {
        for (const std::string_view piece : piecesAfter(text, "w_call ", "\"")) {
            std::string name = calledName(piece);
            if (!name.starts_with('$') && !name.starts_with('"'))
                calls.push_back({Called::Kind::component, std::move(name)});
        }
    }
    // At the beginning of a line a helper is defined, not called.
    for (const std::string_view piece : piecesAfter(text, helperPrefix, "\n"))
        calls.push_back({Called::Kind::helper, std::string(helperPrefix) + calledName(piece)});
    return calls;
}

/// The way through what calls each other, with a stack of its own: a script may nest calls without end.
class Walk {
  public:
    Walk(std::string_view script, std::set<std::string>& visited, const Visitor& visitor)
        : definitions_(script), visited_(visited), visitor_(visitor) {}

    void run(const Called& first) {
        enter(first);
        while (!path_.empty()) {
            Level& level = path_.back();
            if (level.next < level.calls.size()) {
                enter(Called(std::move(level.calls[level.next++])));
            } else {
                leave(level);
                path_.pop_back();
            }
        }
    }

  private:
    struct Level {
        Called called;
        std::string_view text;
        std::vector<Called> calls;
        std::size_t next = 0;
    };

    void enter(const Called& called) {
        const bool isComponent = called.kind == Called::Kind::component;
        // A component may have a helper's name.
        if (!visited_.insert(isComponent ? called.name : called.name + "()").second) return;
        const auto file = isComponent ? catalogueFileOf(called.name) : std::nullopt;
        if (file) {
            if (visitor_.catalogueFile) visitor_.catalogueFile(called.name, *file);
            return;
        }
        const auto text =
            isComponent ? definitions_.component(called.name) : definitions_.helper(called.name);
        if (text) path_.push_back({called, *text, callsIn(*text, called.kind)});
    }

    void leave(const Level& level) const {
        const auto& work =
            level.called.kind == Called::Kind::component ? visitor_.component : visitor_.helper;
        if (work) work(level.called.name, std::string(level.text));
    }

    const Definitions definitions_;
    std::set<std::string>& visited_;
    const Visitor& visitor_;
    std::vector<Level> path_;
};

}  // namespace

Request requestOf(const std::string& entry, const std::optional<std::string>& graphicCardType) {
    constexpr std::string_view engineChange = "Change Engine: ";
    const std::vector<std::string> parts = MVString::split(entry, " | ");
    Request request;
    request.applies = std::all_of(parts.begin() + 1, parts.end(), [&](const std::string& condition) {
        return !MVString::contains(condition, "VC:") ||
               (graphicCardType && MVString::contains(condition, *graphicCardType));
    });
    request.name = parts.front();
    if (request.name.starts_with(engineChange)) {
        request.kind = Request::Kind::engine;
        request.words = MVString::split(request.name.substr(engineChange.size()), " ");
        request.name = request.words.front();
    }
    return request;
}

std::optional<std::string> getFromString(std::string_view line, int wordNumber) {
    if (wordNumber < 1 || wordNumber > 3) return std::nullopt;
    if (wordNumber == 1) return std::string(upTo(line, " "));
    const std::size_t space = line.find(' ');
    if (space == std::string_view::npos) return std::nullopt;
    const bool quoted = line.substr(space + 1).starts_with('"');
    const auto pieces = MVString::split(line.substr(space + 1), quoted ? "\"" : " ");
    const std::size_t wanted = static_cast<std::size_t>(wordNumber) - (quoted ? 1 : 2);
    if (wanted >= pieces.size()) return "";
    if (!quoted || wordNumber == 2) return pieces[wanted];
    return std::string(upTo(std::string_view(pieces[wanted]).substr(pieces[wanted].empty() ? 0 : 1), " "));
}

std::optional<std::string> withoutEnds(std::string_view text) {
    if (text.empty()) return std::nullopt;
    std::size_t first = 0, last = text.size() - 1;
    static_cast<void>(utf8::next(text, first));
    while (last > 0 && (static_cast<unsigned char>(text[last]) & 0xC0U) == 0x80) --last;
    if (last < first) return std::nullopt;
    return std::string(text.substr(first, last - first));
}

std::optional<std::string> textOfComponent(std::string_view script, const std::string& component) {
    return owned(Definitions(script).component(component));
}

std::optional<std::string> textOfHelper(std::string_view script, const std::string& helper) {
    return owned(Definitions(script).helper(helper));
}

std::vector<Download> ordinaryDownloads(std::string_view text, const std::string& component) {
    std::vector<Download> downloads;
    for (const std::string_view piece : piecesAfter(text, "w_download ", "#")) {
        const std::string line = cleanedLine(piece), link = cleanedLink(word(line, 1));
        if (!link.empty()) downloads.push_back({component, files::lastComponent(link), link, word(line, 2)});
    }
    return downloads;
}

std::optional<Download> manualDownload(std::string_view text, const std::string& component) {
    const auto pieces = piecesAfter(text, "w_download_manual ", "");
    if (pieces.empty()) return std::nullopt;
    const std::string line = cleanedLine(pieces.front());
    const auto file = getFromString(line, 2);
    if (!file) return std::nullopt;
    return Download{component, *file, cleanedLink(word(line, 1)), word(line, 3)};
}

std::vector<Download> helperDownloads(std::string_view text) {
    std::vector<Download> downloads;
    for (const std::string_view piece : piecesAfter(text, "w_download_to ", "")) {
        const std::string line = cleanedLine(piece);
        const auto words = MVString::split(line, " ");
        if (words.size() < 2) continue;
        const std::string link = cleanedLink(words[1]);
        downloads.push_back({words[0], files::lastComponent(link), link, word(line, 3)});
    }
    return downloads;
}

std::optional<std::string> catalogueFileOf(const std::string& component) {
    for (const auto& [name, file] : catalogueFiles) {
        if (name == component) return std::string(file);
    }
    return std::nullopt;
}

void visit(std::string_view script, const std::string& component, std::set<std::string>& visited,
           const Visitor& visitor) {
    Walk(script, visited, visitor).run({Called::Kind::component, component});
}

void visitHelper(std::string_view script, const std::string& helper, std::set<std::string>& visited,
                 const Visitor& visitor) {
    Walk(script, visited, visitor).run({Called::Kind::helper, helper});
}

}  // namespace morvane::verb_script
