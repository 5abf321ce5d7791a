// foundation/static_catalogue.h: a catalogue as plain files, for hosts that serve files and nothing else. Such a
// host does not look at what follows the "?" of an address: it gives every such request the same file, the index,
// which says so. Whoever gets it asks again for a file that answers that one request. Any thread; no state.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace morvane::static_catalogue {

/// The requests with parameters, below the catalogue's base address: where the index lies.
[[nodiscard]] const std::vector<std::string>& indexFiles();

struct Index {
    std::string live = {};  ///< base address of the server that takes votes and mails; empty: none
};
[[nodiscard]] std::string textOf(const Index& index);
/// Nothing when the answer is no index. A server that is no http or https address is none.
[[nodiscard]] std::optional<Index> indexIn(std::string_view answer);

/// The files that answer the request ("ckis/portRating.php?game=2"), below the base address: the first that is
/// there does; where none is, the answer is an empty text. Of a search, the list in which to search. None for what
/// is no request with parameters, and for downloads, whose files have addresses of their own.
[[nodiscard]] std::vector<std::string> filesAnswering(std::string_view request);

/// A search is made where its answer is read.
struct Search {
    std::string text, country;
};
[[nodiscard]] std::optional<Search> searchIn(std::string_view request);
/// The list of a search without a country holds the ports of all of them.
inline constexpr const char* everyList = "ckis/static/list-every";
/// The lines of the list that the search finds, in the order in which a server gives them; at most a hundred.
[[nodiscard]] std::string found(const Search& search, std::string_view list);

}  // namespace morvane::static_catalogue
