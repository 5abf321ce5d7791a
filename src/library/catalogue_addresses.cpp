#include "library/catalogue_addresses.h"

#include <chrono>
#include <utility>

#include "foundation/localization.h"
#include "foundation/static_catalogue.h"
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

constexpr int firstOwnTrouble = 500;

HttpResponse fetched(const std::string& address) {
    constexpr std::chrono::seconds longestSilence{20};
    constexpr std::uint64_t longestAnswer = std::uint64_t{16} << 20;
    return http::fetch({.url = address, .idleTimeout = longestSilence, .longestBody = longestAnswer});
}

std::optional<static_catalogue::Index> knownIndex() {
    Cache<std::map<std::string, std::string>>& cache = host().staticCatalogues;
    const MutexLock lock(cache.mutex);
    const auto known = cache.value.find(host().sites.catalogue);
    return known == cache.value.end() ? std::nullopt : static_catalogue::indexIn(known->second);
}

void keepIndex(const std::string& answer) {
    const MutexLock lock(host().staticCatalogues.mutex);
    host().staticCatalogues.value[host().sites.catalogue] = answer;
}

void forgetIndex() {
    const MutexLock lock(host().staticCatalogues.mutex);
    host().staticCatalogues.value.erase(host().sites.catalogue);
}

/// The request below the base address; nothing for other addresses.
std::optional<std::string> requestIn(const std::string& address) {
    const std::string& base = host().sites.catalogue;
    return address.starts_with(base) ? std::optional(address.substr(base.size())) : std::nullopt;
}

/// As `answerOf`, of a catalogue of plain files.
std::optional<std::string> answerOfFiles(const std::string& request) {
    constexpr int found = 200;
    std::optional<std::string> text = "";
    for (const std::string& file : static_catalogue::filesAnswering(request)) {
        auto response = fetched(host().sites.catalogue + file);
        if (!response.error.empty() || response.status >= firstOwnTrouble) return std::nullopt;
        if (response.status != found) continue;
        text = std::move(response.body);
        break;
    }
    const auto search = static_catalogue::searchIn(request);
    return search ? static_catalogue::found(*search, *text) : text;
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

std::string downloadAddress(std::int64_t id, std::string_view source, std::string_view folder) {
    if (knownIndex())
        return filled("%@%@.cki", {std::string(folder), MVString::stringToWebStructure(source)});
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
    return filled(
        "%@ckis/facebook/ratePort.php?card=%@&rate=%ld&game=%ld",
        {liveSite(), MVString::stringToWebStructure(card), std::to_string(rate), std::to_string(id)});
}

std::string liveSite() {
    const auto index = knownIndex();
    return index && !index->live.empty() ? index->live : host().sites.catalogue;
}

std::string liveSiteAskedFor() {
    // Of the requests, the one with the shortest answer.
    static_cast<void>(answerOf(page("portRating.php?game=0")));
    return liveSite();
}

std::optional<std::string> answerOf(const std::string& address) {
    const auto request = requestIn(address);
    const bool mayBeFile = request && !static_catalogue::filesAnswering(*request).empty();
    // With each new list it is seen whether the catalogue is still of the same kind.
    const bool isList = mayBeFile && request->starts_with("ckis/listPorts.php?developer");
    if (mayBeFile && !isList && knownIndex()) return answerOfFiles(*request);
    auto response = fetched(address);
    if (!response.error.empty() || response.status >= firstOwnTrouble) return std::nullopt;
    if (!mayBeFile) return std::move(response.body);
    if (static_catalogue::indexIn(response.body)) {
        keepIndex(response.body);
        return answerOfFiles(*request);
    }
    if (isList) forgetIndex();
    return std::move(response.body);
}

std::string unreachable() {
    return localized(
        "An error occured while connecting to the database! Please, check your internet connection and try "
        "again later.");
}

}  // namespace morvane::catalogue
