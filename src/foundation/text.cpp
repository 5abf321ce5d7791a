#include "foundation/text.h"

#include <clocale>
#include <cwctype>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "platform/percent_coding.h"
#include "platform/utf8.h"

namespace morvane::MVString {

namespace {

struct Character {
    char32_t code = 0;
    std::size_t length = 1;
    bool valid = false;  ///< a byte that begins no UTF-8 sequence is a character of its own
};

Character characterAt(std::string_view text, std::size_t at) {
    std::size_t next = at;
    const char32_t code = utf8::next(text, next);
    // U+FFFD itself takes three bytes.
    return {code, next - at, code != utf8::replacement || next - at > 1};
}

std::string_view firstCharacter(std::string_view text) {
    return text.empty() ? text : text.substr(0, characterAt(text, 0).length);
}

/// Unicode's own case rules, whatever the process's locale: results must not depend on who started the
/// program. Where a system has no such locale, only ASCII letters have a case.
locale_t unicodeLocale() {
    static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    static const locale_t plain = newlocale(LC_CTYPE_MASK, "C", nullptr);
    return unicode != nullptr ? unicode : plain;
}

bool isLetter(char32_t code) {
    return iswalpha_l(static_cast<wint_t>(code), unicodeLocale()) != 0;
}

constexpr char32_t capitalSigma = 0x3A3, finalSigma = 0x3C2, capitalDottedI = 0x130, sharpS = 0xDF;

bool letterAt(std::string_view text, std::size_t at) {
    return at < text.size() && characterAt(text, at).valid && isLetter(characterAt(text, at).code);
}

std::vector<std::string_view> splitAtAny(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> pieces;
    for (std::size_t start = 0;;) {
        const std::size_t end = text.find_first_of(separators, start);
        pieces.push_back(text.substr(start, end == std::string_view::npos ? end : end - start));
        if (end == std::string_view::npos) return pieces;
        start = end + 1;
    }
}

constexpr std::string_view searchSeparators = " :-*?!.,";
constexpr std::string_view wordSeparators = " :-,";
constexpr std::array<std::string_view, 4> ignoredSearchWords{"of", "the", "in", "to"};

constexpr std::array<std::pair<std::string_view, std::string_view>, 21> synonyms{{
    {"&", "and"},   {"vs", "versus"}, {"i", "1"},     {"ii", "2"},   {"iii", "3"}, {"iv", "4"},
    {"v", "5"},     {"vi", "6"},      {"vii", "7"},   {"viii", "8"}, {"ix", "9"},  {"x", "10"},
    {"xi", "11"},   {"xii", "12"},    {"xiii", "13"}, {"xiv", "14"}, {"xv", "15"}, {"xvi", "16"},
    {"xvii", "17"}, {"xviii", "18"},  {"xix", "19"},
}};

/// The first characters of the words between single blanks, one behind the other. An empty word begins with nothing
/// that a text can hold.
std::string initialsOf(std::string_view lowerText) {
    std::string initials;
    for (std::size_t start = 0; start <= lowerText.size();) {
        const std::size_t end = std::min(lowerText.find(' ', start), lowerText.size());
        const std::string_view word = lowerText.substr(start, end - start);
        word.empty() ? initials.append(1, '\xFF') : initials.append(firstCharacter(word));
        start = end + 1;
    }
    return initials;
}

bool holdsInitials(std::string_view initials, std::string_view lowerAbbreviation) {
    const bool isOneLetter = firstCharacter(lowerAbbreviation).size() == lowerAbbreviation.size();
    return !isOneLetter && contains(initials, lowerAbbreviation);
}

/// Whether the word stands between separators.
bool holdsWord(std::string_view lowerText, std::string_view word) {
    const auto isEdge = [&](std::size_t at) {
        return at >= lowerText.size() || wordSeparators.find(lowerText[at]) != std::string_view::npos;
    };
    for (std::size_t at = 0; (at = lowerText.find(word, at)) != std::string_view::npos; ++at) {
        if ((at == 0 || isEdge(at - 1)) && isEdge(at + word.size())) return true;
    }
    return false;
}

/// What may stand in an address as it is, beside letters and digits. "#", "[" and "]" have fixed places in it and
/// would break it elsewhere.
constexpr std::string_view plainInAddresses = "!*'();:@=+$,/";

}  // namespace

bool contains(std::string_view text, std::string_view part) {
    return !part.empty() && text.find(part) != std::string_view::npos;
}

bool containsWord(std::string_view text, std::string_view word) {
    return holdsWord(lowercased(text), word);
}

bool containsOneOfSynonyms(std::string_view text, const std::vector<std::string>& words) {
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string& word) { return containsWord(text, word); });
}

bool containsAbbreviation(std::string_view text, std::string_view abbreviation) {
    return holdsInitials(initialsOf(lowercased(text)), lowercased(abbreviation));
}

SearchedName::SearchedName(std::string_view ofName) : name(ofName) {
    std::string plain;
    std::copy_if(name.begin(), name.end(), std::back_inserter(plain),
                 [](char character) { return character != '\'' && character != '.'; });
    lower_ = lowercased(plain);
    initials_ = initialsOf(lower_);
}

NameSearch::NameSearch(std::string_view searchText) {
    const std::string lower = lowercased(searchText);
    for (const std::string_view piece : splitAtAny(lower, searchSeparators)) {
        if (piece.empty() || std::ranges::find(ignoredSearchWords, piece) != ignoredSearchWords.end())
            continue;
        Term term{std::string(piece), {}};
        for (const auto& [first, second] : synonyms) {
            if (piece == first || piece == second) term.synonyms.insert(term.synonyms.end(), {first, second});
        }
        terms_.push_back(std::move(term));
    }
}

bool NameSearch::matches(const SearchedName& name) const {
    return std::ranges::all_of(terms_, [&name](const Term& term) {
        return contains(name.lower_, term.text) || holdsInitials(name.initials_, term.text) ||
               std::ranges::any_of(term.synonyms,
                                   [&name](std::string_view word) { return holdsWord(name.lower_, word); });
    });
}

bool matchesWithSearchTerms(std::string_view name, std::string_view searchText) {
    return NameSearch(searchText).matches(SearchedName(name));
}

std::optional<TextRange> rangeAfterString(std::string_view text, const std::optional<std::string_view>& start,
                                          const std::optional<std::string_view>& end) {
    std::size_t from = 0;
    if (start) {
        if (!contains(text, *start)) return std::nullopt;
        from = text.find(*start) + start->size();
    }
    std::size_t to = text.size();
    if (end && !end->empty()) to = std::min(to, text.find(*end, from));
    return TextRange{from, to - from};
}

std::int64_t initialIntValue(std::string_view text) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    std::int64_t value = 0;
    for (char character : text) {
        if (character < '0' || character > '9') break;
        const int digit = character - '0';
        if (value > (largest - digit) / 10) return largest;
        value = value * 10 + digit;
    }
    return value;
}

std::string stringToWebStructure(std::string_view text) {
    return percent::encoded(text, plainInAddresses);
}

std::string stringWithHexString(std::string_view hexCodes) {
    std::string text;
    for (std::string_view piece : splitAtAny(hexCodes, " \t\r\n")) {
        if (piece.empty()) continue;
        char32_t code = 0;
        for (char character : piece) {
            const bool decimal = character >= '0' && character <= '9';
            const char letter = static_cast<char>(character | 0x20);
            // What is no hexadecimal number ends the list.
            if (!decimal && (letter < 'a' || letter > 'f')) return text;
            code = code << 4 | static_cast<char32_t>(decimal ? character - '0' : letter - 'a' + 10);
            if (code > 0x10FFFF) return text;
        }
        utf8::append(text, code);
    }
    return text;
}

std::string stringByRemovingEvenCharsFromString(std::string_view text) {
    std::string kept;
    kept.reserve((text.size() + 1) / 2);
    for (std::size_t at = 0; at < text.size(); at += 2) kept += text[at];
    return kept;
}

std::string lowercased(std::string_view text) {
    std::string lower;
    lower.reserve(text.size());
    bool letterBefore = false;
    for (std::size_t at = 0; at < text.size();) {
        // Most names are ASCII, and a catalogue has tens of thousands of them to search.
        if (static_cast<unsigned char>(text[at]) < 0x80) {
            const bool isCapital = text[at] >= 'A' && text[at] <= 'Z';
            lower += isCapital ? static_cast<char>(text[at] | 0x20) : text[at];
            letterBefore = lower.back() >= 'a' && lower.back() <= 'z';
            ++at;
            continue;
        }
        const Character character = characterAt(text, at);
        const std::size_t next = at + character.length;
        if (!character.valid) {
            lower += text[at];
        } else if (character.code == capitalDottedI) {
            lower += "i\u0307";
        } else if (character.code == capitalSigma && letterBefore && !letterAt(text, next)) {
            utf8::append(lower, finalSigma);
        } else {
            utf8::append(lower, static_cast<char32_t>(
                                    towlower_l(static_cast<wint_t>(character.code), unicodeLocale())));
        }
        letterBefore = character.valid && isLetter(character.code);
        at = next;
    }
    return lower;
}

std::string uppercased(std::string_view text) {
    std::string upper;
    upper.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        if (!character.valid) {
            upper += text[at];
        } else if (character.code == sharpS) {
            upper += "SS";
        } else {
            utf8::append(upper, static_cast<char32_t>(
                                    towupper_l(static_cast<wint_t>(character.code), unicodeLocale())));
        }
        at += character.length;
    }
    return upper;
}

std::vector<std::string> split(std::string_view text, std::string_view separator) {
    std::vector<std::string> pieces;
    for (std::size_t start = 0;;) {
        const std::size_t end = separator.empty() ? std::string_view::npos : text.find(separator, start);
        pieces.emplace_back(text.substr(start, end == std::string_view::npos ? end : end - start));
        if (end == std::string_view::npos) return pieces;
        start = end + separator.size();
    }
}

std::string joined(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string text;
    for (std::size_t at = 0; at < pieces.size(); ++at) {
        if (at > 0) text += separator;
        text += pieces[at];
    }
    return text;
}

std::string replacedAll(std::string_view text, std::string_view what, std::string_view with) {
    return joined(split(text, what), with);
}

std::string trimmed(std::string_view text) {
    return std::string(utf8::trimmed(text, " \t\n\v\f\r"));
}

bool isValidUtf8(std::string_view text) {
    return utf8::isValid(text);
}

}  // namespace morvane::MVString
