#include "platform/styled_text.h"

#include <libxml/HTMLparser.h>

#include <algorithm>
#include <array>
#include <map>
#include <utility>
#include <vector>

#include "platform/utf8.h"

// The markup is read here and not by the library's parser, which gives up behind some hundred open elements
// and takes quadratic time over end tags without a start. What it knows better are the names of the entities.

namespace morvane {

namespace {

constexpr std::size_t longestInput = std::size_t{1} << 20U;  // bytes; the rest of a larger text is dropped

bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\n' || character == '\r' ||
           character == '\f';
}
bool isLetter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}
bool isDigit(char character) {
    return character >= '0' && character <= '9';
}
char lowered(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}
std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& character : result) character = lowered(character);
    return result;
}

bool isOneOf(std::string_view name, const auto& names) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

constexpr std::array<std::string_view, 9> boldElements = {"b",  "strong", "th", "h1", "h2",
                                                          "h3", "h4",     "h5", "h6"};
constexpr std::array<std::string_view, 6> italicElements = {"i", "em", "cite", "var", "dfn", "address"};
/// Elements that begin and end lines of their own.
constexpr std::array<std::string_view, 35> blockElements = {
    "p",       "div",    "li",      "ul",    "ol",         "dl",     "dt",     "dd",       "h1",
    "h2",      "h3",     "h4",      "h5",    "h6",         "hr",     "pre",    "table",    "caption",
    "tr",      "center", "address", "body",  "blockquote", "form",   "header", "fieldset", "footer",
    "section", "nav",    "article", "aside", "main",       "figure", "html",   "menu"};
/// Elements without content or end tag.
constexpr std::array<std::string_view, 8> voidElements = {"img",  "hr",    "input", "meta",
                                                          "link", "embed", "wbr",   "col"};
/// Elements whose content is no text of the page and holds no markup, up to their end tag.
constexpr std::array<std::string_view, 8> hiddenElements = {"script", "style",   "title",    "textarea",
                                                            "iframe", "noembed", "noframes", "template"};

// --- Entities

/// What browsers read numeric entities from 128 to 159 as; 0 where they have no other meaning.
constexpr std::array<char16_t, 32> windowsCharacters = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char32_t numericEntity(std::string_view digits, unsigned base) {
    char32_t number = 0;
    for (const char character : digits) {
        const unsigned digit = isDigit(character) ? static_cast<unsigned>(character - '0')
                                                  : static_cast<unsigned>(lowered(character) - 'a') + 10;
        number = std::min<char32_t>(number * base + digit, 0x110000);
    }
    if (number >= 128 && number < 160 && windowsCharacters[number - 128] != 0) {
        return windowsCharacters[number - 128];
    }
    return number == 0 || number > 0x10FFFF ? utf8::replacement : number;
}

/// The character of the entity that begins at the position ("&"), which is moved behind it; "&" itself, with
/// the position behind that, when it is none.
char32_t entityAt(std::string_view text, std::size_t& position) {
    const std::size_t start = ++position;
    std::size_t end = start;
    const auto skipWhile = [&](auto test) {
        while (end < text.size() && test(text[end])) ++end;
    };
    if (end < text.size() && text[end] == '#') {
        const bool hexadecimal = end + 1 < text.size() && lowered(text[end + 1]) == 'x';
        const std::size_t digits = end += hexadecimal ? 2 : 1;
        skipWhile(
            [&](char c) { return isDigit(c) || (hexadecimal && lowered(c) >= 'a' && lowered(c) <= 'f'); });
        if (end == digits) return '&';
        position = end + (end < text.size() && text[end] == ';' ? 1 : 0);
        return numericEntity(text.substr(digits, end - digits), hexadecimal ? 16 : 10);
    }
    constexpr std::size_t longestName = 32;
    skipWhile([&](char c) { return end - start < longestName && (isLetter(c) || isDigit(c)); });
    const std::string name(text.substr(start, end - start));
    const htmlEntityDesc* const entity = htmlEntityLookup(reinterpret_cast<const xmlChar*>(name.c_str()));
    if (entity == nullptr) return '&';
    const bool closed = end < text.size() && text[end] == ';';
    // Old pages leave out the semicolon behind the oldest names.
    if (!closed && entity->value > 0xFF) return '&';
    position = end + (closed ? 1 : 0);
    return entity->value;
}

std::string decodedAttribute(std::string_view text) {
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        if (text[position] == '&') {
            utf8::append(result, entityAt(text, position));
        } else {
            utf8::append(result, utf8::next(text, position));
        }
    }
    return result;
}

// --- Text with its runs

struct Look {
    bool bold = false, italic = false;
    int heading = 0;  // its level; 0: none
    std::string link;
};

class Output {
  public:
    /// One character of the page. White space folds into one blank, which is dropped at both ends of a line.
    void add(char32_t character, const Look& look, bool folds) {
        if (folds && character < 0x80 && isBlank(static_cast<char>(character))) {
            if (!lineIsEmpty_ && !blank_) blank_ = look;
            return;
        }
        startBlockIfNeeded(look);
        if (blank_) {
            append(' ', *blank_);
            blank_.reset();
        }
        append(character, look);
        lineIsEmpty_ = character == '\n';
    }
    void breakLine(const Look& look) {
        startBlockIfNeeded(look);
        blank_.reset();
        append('\n', look);
        lineIsEmpty_ = true;
    }
    /// What follows stands on a line of its own.
    void beginBlock() {
        blank_.reset();
        if (!lineIsEmpty_) blockBegins_ = true;
        lineIsEmpty_ = true;
    }
    void addPicture(HtmlPage::Picture picture, const Look& look) {
        constexpr char32_t inPlaceOfAnObject = 0xFFFC;
        if (page_.pictures.size() >= HtmlPage::mostPictures) return;
        add(inPlaceOfAnObject, look, false);
        picture.place = length_ - 1;
        page_.pictures.push_back(std::move(picture));
    }
    HtmlPage take() { return std::move(page_); }

  private:
    void startBlockIfNeeded(const Look& look) {
        if (std::exchange(blockBegins_, false)) append('\n', look);
    }
    void append(char32_t character, const Look& look) {
        utf8::append(page_.text.text, character);
        const std::size_t units = character > 0xFFFF ? 2 : 1;
        if (look.heading > 0 && character != '\n') addToHeading(look.heading, units);
        length_ += units;
        std::vector<StyledRun>& runs = page_.text.runs;
        if (runs.empty() || runs.back().bold != look.bold || runs.back().italic != look.italic ||
            runs.back().link != look.link) {
            runs.push_back({0, look.bold, look.italic, {}, 0, look.link});
        }
        runs.back().length += units;
    }
    void addToHeading(int level, std::size_t units) {
        auto& headings = page_.headings;
        const bool goesOn = !headings.empty() && headings.back().place + headings.back().length == length_ &&
                            headings.back().level == level;
        if (!goesOn) headings.push_back({.place = length_, .length = 0, .level = level});
        headings.back().length += units;
    }

    HtmlPage page_;
    std::size_t length_ = 0;  // of the text, in UTF-16 units
    bool lineIsEmpty_ = true;
    bool blockBegins_ = false;
    std::optional<Look> blank_;
};

// --- Markup

struct Tag {
    std::string name;
    bool ends = false;
    std::map<std::string, std::string, std::less<>> attributes;
};

class Reader {
  public:
    enum class Reads { text, page };
    Reader(std::string_view html, Reads reads) : html_(html.substr(0, longestInput)), reads_(reads) {}

    HtmlPage read() {
        while (position_ < html_.size()) {
            const char character = html_[position_];
            if (character == '<' && markup()) continue;
            const char32_t shown =
                character == '&' ? entityAt(html_, position_) : utf8::next(html_, position_);
            const bool isDropped = shown == 0 || (shown == '\r' && preformatted_ > 0);
            if (!isDropped) output_.add(shown, look_, preformatted_ == 0);
        }
        HtmlPage page = output_.take();
        page.title = std::move(title_);
        return page;
    }

  private:
    /// Takes the markup at the position; false when that "<" is text.
    bool markup() {
        const std::string_view rest = html_.substr(position_);
        if (rest.starts_with("<!--")) {
            skipBehind("-->", position_ + 2);  // "<!-->" is a comment too
            return true;
        }
        if (rest.size() < 2) return false;
        const bool ends = rest[1] == '/';
        if (rest[1] == '!' || rest[1] == '?' || (ends && rest.size() > 2 && !isLetter(rest[2]))) {
            skipBehind(">", position_);
            return true;
        }
        if (rest.size() < (ends ? 3U : 2U) || !isLetter(rest[ends ? 2 : 1])) return false;
        position_ += ends ? 2 : 1;
        if (const std::optional<Tag> tag = restOfTag(ends)) take(*tag);
        return true;
    }

    void skipBehind(std::string_view end, std::size_t from) {
        const std::size_t found = html_.find(end, from);
        position_ = found == std::string_view::npos ? html_.size() : found + end.size();
    }

    void skipBlanks() {
        while (position_ < html_.size() && (isBlank(html_[position_]) || html_[position_] == '/'))
            ++position_;
    }

    std::string_view upTo(auto isEnd) {
        const std::size_t start = position_;
        while (position_ < html_.size() && !isEnd(html_[position_])) ++position_;
        return html_.substr(start, position_ - start);
    }

    /// From the name on; nothing when the text ends before the tag does.
    std::optional<Tag> restOfTag(bool ends) {
        Tag tag;
        tag.ends = ends;
        tag.name = lowered(upTo([](char c) { return isBlank(c) || c == '/' || c == '>'; }));
        for (skipBlanks(); position_ < html_.size() && html_[position_] != '>'; skipBlanks()) {
            const std::size_t start = position_++;  // a name may begin with "="
            upTo([](char c) { return isBlank(c) || c == '/' || c == '>' || c == '='; });
            const std::string name = lowered(html_.substr(start, position_ - start));
            while (position_ < html_.size() && isBlank(html_[position_])) ++position_;
            if (position_ >= html_.size() || html_[position_] != '=') continue;
            tag.attributes.try_emplace(name, attributeValue());
        }
        if (position_ >= html_.size()) return std::nullopt;
        ++position_;
        return tag;
    }

    std::string attributeValue() {
        ++position_;
        while (position_ < html_.size() && isBlank(html_[position_])) ++position_;
        if (position_ >= html_.size()) return {};
        const char quote = html_[position_];
        if (quote != '"' && quote != '\'') {
            return decodedAttribute(upTo([](char c) { return isBlank(c) || c == '>'; }));
        }
        ++position_;
        const std::string_view value = upTo([&](char c) { return c == quote; });
        if (position_ < html_.size()) ++position_;
        return decodedAttribute(value);
    }

    void take(const Tag& tag) {
        if (!tag.ends && isOneOf(tag.name, hiddenElements)) {
            const std::size_t start = position_;
            skipContent(tag.name);
            if (tag.name == "title" && reads_ == Reads::page && title_.empty())
                title_ = titleIn(html_.substr(start, position_ - start));
            return;
        }
        if (tag.name == "br") return output_.breakLine(look_);
        if (tag.name == "td" || tag.name == "th") output_.add(' ', look_, true);
        if (isOneOf(tag.name, blockElements)) output_.beginBlock();
        if (tag.ends) {
            close(tag.name);
        } else if (!isOneOf(tag.name, voidElements)) {
            open(tag);
        }
        // A heading whose end is missing ends with the next block.
        if (isOneOf(tag.name, blockElements))
            heading_ = isHeading(tag.name) && !tag.ends ? tag.name[1] - '0' : 0;
        look_ = {bold_ > 0, italic_ > 0, heading_, link_};
        if (reads_ == Reads::page && !tag.ends) takeObject(tag);
    }

    void skipContent(const std::string& name) {
        for (; position_ < html_.size(); ++position_) {
            position_ = std::min(html_.find("</", position_), html_.size());
            if (lowered(html_.substr(std::min(position_ + 2, html_.size()), name.size())) == name) break;
        }
        skipBehind(">", position_);
    }

    static bool isHeading(const std::string& name) {
        return name.size() == 2 && name[0] == 'h' && name[1] >= '1' && name[1] <= '6';
    }
    static std::string titleIn(std::string_view content) {
        constexpr std::size_t longestTitle = 1000;
        return styledTextFromHtml(content.substr(0, std::min(content.rfind("</"), longestTitle))).text;
    }

    void takeObject(const Tag& tag) {
        if (tag.name == "li") {
            for (const char32_t character : {U'\u2022', U'\u00a0'}) output_.add(character, look_, false);
        }
        const auto source = tag.attributes.find("src");
        if (tag.name != "img" || source == tag.attributes.end() || source->second.empty()) return;
        const auto description = tag.attributes.find("alt");
        output_.addPicture({.address = source->second,
                            .description = description != tag.attributes.end() ? description->second : ""},
                           look_);
    }

    struct Change {
        bool bold = false, italic = false;
    };

    void open(const Tag& tag) {
        if (tag.name == "pre") ++preformatted_;
        if (tag.name == "a") {
            const auto target = tag.attributes.find("href");
            link_ = target == tag.attributes.end() ? std::string() : target->second;
        }
        if (tag.name == "p") close(tag.name);  // paragraphs don't nest: their end tags may be missing
        Change change{isOneOf(tag.name, boldElements), isOneOf(tag.name, italicElements)};
        if (const auto style = tag.attributes.find("style"); style != tag.attributes.end()) {
            std::string text = lowered(style->second);
            text.erase(std::remove_if(text.begin(), text.end(), isBlank), text.end());
            const auto has = [&](std::string_view part) { return text.find(part) != std::string::npos; };
            change.bold |= has("font-weight:bold") || has("font-weight:7") || has("font-weight:8") ||
                           has("font-weight:9");
            change.italic |= has("font-style:italic") || has("font-style:oblique");
        }
        bold_ += change.bold ? 1 : 0;
        italic_ += change.italic ? 1 : 0;
        open_[tag.name].push_back(change);
    }

    /// Ends the innermost element of that name, wherever others stand: so does a browser for what shows bold
    /// and italic.
    void close(const std::string& name) {
        if (name == "a") link_.clear();
        if (name == "pre" && preformatted_ > 0) --preformatted_;
        const auto found = open_.find(name);
        if (found == open_.end() || found->second.empty()) return;
        bold_ -= found->second.back().bold ? 1 : 0;
        italic_ -= found->second.back().italic ? 1 : 0;
        found->second.pop_back();
    }

    std::string_view html_;
    const Reads reads_;
    std::string title_;
    std::size_t position_ = 0;
    Output output_;
    Look look_;
    int bold_ = 0, italic_ = 0, preformatted_ = 0, heading_ = 0;
    std::string link_;
    std::map<std::string, std::vector<Change>, std::less<>> open_;
};

}  // namespace

StyledText styledTextFromHtml(std::string_view html) {
    return Reader(html, Reader::Reads::text).read().text;
}

HtmlPage htmlPage(std::string_view html) {
    return Reader(html, Reader::Reads::page).read();
}

StyledText styledText(std::string text, StyledRun format) {
    format.length = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool startsCharacter = (byte & 0xC0U) != 0x80U;
        if (startsCharacter) format.length += byte >= 0xF0 ? 2 : 1;
    }
    if (format.length == 0) return {std::move(text), {}};
    return {std::move(text), {std::move(format)}};
}

}  // namespace morvane
