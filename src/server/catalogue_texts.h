// server/catalogue_texts.h: the catalogue's answers: the text formats that the application parses, and the
// pages for people. Any thread; no state.
//
// Fields are separated by " || " and lines by "<br>"; publishing refuses texts that hold such separators.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "server/catalogue_store.h"

namespace morvane::catalogue_texts {

/// The lines of a list: ID, creator, name, free, new, country, folder layout ("1": by ID), dependency,
/// native.
[[nodiscard]] std::string list(const std::vector<CatalogueEntry>& entries);
/// The fourteen fields of a description: those of the list up to the country; the description as HTML, the
/// trailer, the genres, the sources with their links; the dependency, the ratings, native, the CrossOver
/// page.
[[nodiscard]] std::string description(const CatalogueDetails& details, const std::array<double, 4>& ratings);
/// "ATi/AMD:4.5, Intel HD:0, Intel Iris:0, NVIDIA:3".
[[nodiscard]] std::string ratings(const std::array<double, 4>& averages);
/// ID, creator, name, value.
[[nodiscard]] std::string ranking(const std::vector<RankedPort>& ports);

/// What the vote form says and sends along.
struct VoteForm {
    CatalogueEntry game;
    std::string card;  ///< as the player's machine names it
    int stars = 4;
    std::string token;
};
[[nodiscard]] std::string voteForm(const VoteForm& form);
/// A page of a heading and a line of text.
[[nodiscard]] std::string page(std::string_view heading, std::string_view text);
/// The page at the base address: the newest ports, with links that install them.
[[nodiscard]] std::string frontPage(const std::vector<RankedPort>& latest);
/// The answer for what is not there. The application takes a file that begins so for a missing one.
inline constexpr const char* missingFile = "<html><body>There is no such file.</body></html>";
/// The same for verb files, which are told apart by capital letters.
inline constexpr const char* missingVerb = "<HTML><BODY>There is no such file.</BODY></HTML>";

}  // namespace morvane::catalogue_texts
