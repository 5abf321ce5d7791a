#include "library/catalogue_addresses.h"

#include <chrono>
#include <utility>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/host.h"
#include "platform/http.h"

namespace morvane::catalogue {
namespace {

std::string page(const char* name) {
    return filled("%@ckis/%@", {host().sites.catalogue, name});
}

/// A part of a link that is escaped already: only what an address cannot hold, and what would leave the
/// parameter, is escaped.
std::string asItStands(std::string_view text) {
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool unsafe = byte <= ' ' || byte >= 0x7f ||
                            std::string_view("&#?\"<>\\").find(character) != std::string_view::npos;
        static constexpr char digits[] = "0123456789ABCDEF";
        if (unsafe) {
            result += {'%', digits[byte >> 4], digits[byte & 15]};
        } else {
            result += character;
        }
    }
    return result;
}

}  // namespace

std::string searchAddress(std::string_view search, std::string_view country) {
    const std::string address = filled("%@?search=%@", {page("listPorts.php"), asItStands(search)});
    return country.empty() ? address : filled("%@&country=%@", {address, asItStands(country)});
}

std::string briefDescriptionAddress(std::string_view id) {
    return filled("%@?id=%@&brief=true", {page("portDescription.php"), asItStands(id)});
}

std::string rankingAddress(std::string_view type, int rows, std::string_view card) {
    return filled("%@?type=%@&num=%d&card=%@", {page("rankingPorts.php"), std::string(type),
                                                std::to_string(rows), MVString::stringToWebStructure(card)});
}

std::string downloadAddress(std::int64_t id, std::string_view source) {
    return filled("%@?id=%ld&type=%@",
                  {page("download.php"), std::to_string(id), MVString::stringToWebStructure(source)});
}

std::string instructionsAddress(std::string_view source) {
    return filled("%@?source=%@", {page("instructions.php"), MVString::stringToWebStructure(source)});
}

std::string versionAddress() {
    return filled("%@files/version.txt", {host().sites.catalogue});
}

std::string voteAddress(std::string_view card, int rate, std::int64_t id) {
    return filled("%@?card=%@&rate=%ld&game=%ld",
                  {page("facebook/ratePort.php"), MVString::stringToWebStructure(card), std::to_string(rate),
                   std::to_string(id)});
}

std::optional<std::string> answerOf(const std::string& address) {
    constexpr std::chrono::seconds longestSilence{20};
    constexpr std::uint64_t longestAnswer = std::uint64_t{16} << 20;
    auto response =
        http::fetch({.url = address, .idleTimeout = longestSilence, .longestBody = longestAnswer});
    constexpr int firstOwnTrouble = 500;
    if (!response.error.empty() || response.status >= firstOwnTrouble) return std::nullopt;
    return std::move(response.body);
}

std::string unreachable() {
    return localized(
        "An error occured while connecting to the database! Please, check your internet connection and try "
        "again later.");
}

}  // namespace morvane::catalogue
