// foundation/text.h: text matching and small text operations. Any thread, no state.
//
// Texts are UTF-8; positions and lengths are characters where they are seen, bytes inside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvane {

/// A range of bytes of a text.
struct TextRange {
    std::size_t location = 0;
    std::size_t length = 0;
    bool operator==(const TextRange&) const = default;
};

namespace MVString {

/// Literal; an empty part never occurs.
[[nodiscard]] bool contains(std::string_view text, std::string_view part);
/// Whether a piece of the lower-cased text, split at " :-,", equals the word.
[[nodiscard]] bool containsWord(std::string_view text, std::string_view word);
[[nodiscard]] bool containsOneOfSynonyms(std::string_view text, const std::vector<std::string>& words);
/// Whether the letters begin consecutive words of the text.
[[nodiscard]] bool containsAbbreviation(std::string_view text, std::string_view abbreviation);
/// Whether every term of the search text matches the name.
[[nodiscard]] bool matchesWithSearchTerms(std::string_view name, std::string_view searchText);

/// A name as the search sees it, to be made once for a name that is searched at each key.
class SearchedName {
  public:
    SearchedName() = default;
    explicit SearchedName(std::string_view ofName);

    std::string name;

  private:
    friend class NameSearch;
    std::string lower_, initials_;
};

/// `matchesWithSearchTerms` for very many names.
class NameSearch {
  public:
    explicit NameSearch(std::string_view searchText);
    [[nodiscard]] bool matches(const SearchedName& name) const;

  private:
    struct Term {
        std::string text;
        std::vector<std::string_view> synonyms;  ///< itself among them
    };
    std::vector<Term> terms_;
};

/// Nothing when the start marker does not occur.
[[nodiscard]] std::optional<TextRange> rangeAfterString(std::string_view text,
                                                        const std::optional<std::string_view>& start,
                                                        const std::optional<std::string_view>& end);
/// The leading decimal digits as a number (the largest when they do not fit), else 0.
[[nodiscard]] std::int64_t initialIntValue(std::string_view text);
/// Escaped for use inside a web address; "&" and "?" are escaped, other separators stay.
[[nodiscard]] std::string stringToWebStructure(std::string_view text);
/// The characters with the given white-space separated hexadecimal codes.
[[nodiscard]] std::string stringWithHexString(std::string_view hexCodes);
/// The bytes at the positions 0, 2, 4... of an 8-bit text.
[[nodiscard]] std::string stringByRemovingEvenCharsFromString(std::string_view text);

/// Full lower-casing of UTF-8 letters; bytes that are not UTF-8 stay.
[[nodiscard]] std::string lowercased(std::string_view text);
[[nodiscard]] std::string uppercased(std::string_view text);
/// Always at least one piece; consecutive separators give empty pieces.
[[nodiscard]] std::vector<std::string> split(std::string_view text, std::string_view separator);
[[nodiscard]] std::string joined(const std::vector<std::string>& pieces, std::string_view separator);
/// Every occurrence, in one pass from the left; what was put in is not looked at again.
[[nodiscard]] std::string replacedAll(std::string_view text, std::string_view what, std::string_view with);
/// Without white space and line ends at both ends.
[[nodiscard]] std::string trimmed(std::string_view text);
[[nodiscard]] bool isValidUtf8(std::string_view text);

}  // namespace MVString
}  // namespace morvane
