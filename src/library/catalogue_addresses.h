// library/catalogue_addresses.h: the addresses of the catalogue's requests, and their answers. Any thread.
//
// All lie below the catalogue's base address. Texts are escaped here, unless said. A catalogue of plain files
// (foundation/static_catalogue.h) is known by its first answer, and asked for its files from then on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace morvane::catalogue {

/// The first port that a search finds. The texts stand as they are: they come from links, escaped already;
/// what would end an address or begin another parameter is escaped all the same. An empty country is left
/// out.
[[nodiscard]] std::string searchAddress(std::string_view search, std::string_view country);
/// One list line of the port. The text stands as it is, as above.
[[nodiscard]] std::string briefDescriptionAddress(std::string_view id);
[[nodiscard]] std::string rankingAddress(std::string_view type, int rows, std::string_view card);
/// The port file of a source, which counts as a download; of a catalogue of plain files, the file in the port's
/// folder (an address, ending in "/").
[[nodiscard]] std::string downloadAddress(std::int64_t id, std::string_view source, std::string_view folder);
/// The link of an instruction video.
[[nodiscard]] std::string instructionsAddress(std::string_view source);
/// The file that tells the application's newest version.
[[nodiscard]] std::string versionAddress();
/// The page on which the user votes.
[[nodiscard]] std::string voteAddress(std::string_view card, int rate, std::int64_t id);

/// The base address of the server that takes votes and mails: the catalogue's, unless plain files name another.
[[nodiscard]] std::string liveSite();
/// The same, asked for: for whoever has not asked the catalogue for anything yet. Blocks.
[[nodiscard]] std::string liveSiteAskedFor();

/// The answer's bytes; nothing when there is none, when it is longer than any answer is, when the server
/// falls silent, and when it only says that it is in trouble (a status of 500 and more). Blocks.
[[nodiscard]] std::optional<std::string> answerOf(const std::string& address);
/// What the user is told of a catalogue that does not answer.
[[nodiscard]] std::string unreachable();

}  // namespace morvane::catalogue
