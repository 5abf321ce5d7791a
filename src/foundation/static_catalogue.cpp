#include "foundation/static_catalogue.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "foundation/text.h"
#include "platform/http.h"
#include "platform/percent_coding.h"
#include "platform/sites.h"

namespace morvane::static_catalogue {
namespace {

constexpr std::string_view firstLine = "Morvane catalogue of plain files 1\n";
constexpr std::string_view liveMark = "live ";
constexpr const char* folder = "ckis/static/";
constexpr const char* everyCountry = "--";
constexpr std::size_t mostFound = 100;

using Parameters = std::map<std::string, std::string>;

Parameters parametersOf(std::string_view request) {
    Parameters parameters;
    const std::size_t mark = request.find('?');
    if (mark == std::string_view::npos) return parameters;
    for (std::string pair : MVString::split(request.substr(mark + 1), "&")) {
        std::ranges::replace(pair, '+', ' ');
        const std::size_t equals = std::min(pair.find('='), pair.size());
        parameters.emplace(percent::decoded(pair.substr(0, equals)),
                           percent::decoded(pair.substr(std::min(equals + 1, pair.size()))));
    }
    return parameters;
}

std::string valueOf(const Parameters& parameters, const char* name) {
    const auto known = parameters.find(name);
    return known == parameters.end() ? std::string() : known->second;
}

/// As a part of a file's name: letters in one case, whatever is neither letter nor digit as "-".
std::string nameOf(std::string_view text) {
    std::string name = MVString::lowercased(text);
    std::ranges::replace_if(
        name, [](char c) { return !((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')); }, '-');
    return name;
}

std::vector<std::string> listFiles(const Parameters& parameters) {
    if (parameters.contains("search") && valueOf(parameters, "country").empty()) return {everyList};
    const std::string list = valueOf(parameters, "developer") == "1" ? "list-developer" : "list";
    const std::string country = nameOf(valueOf(parameters, "country"));
    if (country.size() != 2 || country == everyCountry) return {folder + list};
    return {folder + list + "-" + country, folder + list};
}

std::vector<std::string> rankingFiles(const Parameters& parameters) {
    const std::string ranking = "ranking-" + nameOf(valueOf(parameters, "type"));
    const std::string card = nameOf(valueOf(parameters, "card"));
    if (ranking != "ranking-highrated" || card.empty()) return {folder + ranking};
    return {folder + ranking + "-" + card, folder + ranking};
}

std::vector<std::string> fileOfPort(const std::string& id, const char* name) {
    const bool isNumber = !id.empty() && id.find_first_not_of("0123456789") == std::string::npos;
    if (!isNumber) return {folder + std::string("none")};
    return {folder + id + "/" + name};
}

struct Line {
    std::string_view text;
    std::string name, country;  ///< the name in lower case
};

std::vector<Line> linesOf(std::string_view list) {
    constexpr std::string_view lineBreak = "<br>";
    std::vector<Line> lines;
    while (!list.empty()) {
        const std::string_view line = list.substr(0, list.find(lineBreak));
        list.remove_prefix(std::min(line.size() + lineBreak.size(), list.size()));
        const auto fields = MVString::split(line, " || ");
        constexpr std::size_t name = 2, country = 5;
        if (fields.size() > country)
            lines.push_back({line, MVString::lowercased(fields[name]), fields[country]});
    }
    return lines;
}

}  // namespace

const std::vector<std::string>& indexFiles() {
    static const std::vector<std::string> files = {"ckis/download.php",   "ckis/instructions.php",
                                                   "ckis/listPorts.php",  "ckis/portDescription.php",
                                                   "ckis/portRating.php", "ckis/rankingPorts.php"};
    return files;
}

std::string textOf(const Index& index) {
    std::string text(firstLine);
    if (!index.live.empty()) text.append(liveMark).append(index.live).append("\n");
    return text;
}

std::optional<Index> indexIn(std::string_view answer) {
    if (!answer.starts_with(firstLine)) return std::nullopt;
    Index index;
    for (const std::string& line : MVString::split(answer.substr(firstLine.size()), "\n")) {
        if (!line.starts_with(liveMark)) continue;
        const std::string address = MVString::trimmed(line.substr(liveMark.size()));
        if (isWebLink(address)) index.live = withFinalSlash(address);
    }
    return index;
}

std::vector<std::string> filesAnswering(std::string_view request) {
    const Parameters parameters = parametersOf(request);
    const std::string_view page = request.substr(0, request.find('?'));
    if (page == "ckis/listPorts.php") return listFiles(parameters);
    if (page == "ckis/portDescription.php")
        return fileOfPort(valueOf(parameters, "id"),
                          valueOf(parameters, "brief") == "true" ? "brief" : "description");
    if (page == "ckis/portRating.php") return fileOfPort(valueOf(parameters, "game"), "rating");
    if (page == "ckis/rankingPorts.php") return rankingFiles(parameters);
    if (page == "ckis/instructions.php")
        return {folder + ("instructions-" + nameOf(valueOf(parameters, "source")))};
    return {};
}

std::optional<Search> searchIn(std::string_view request) {
    if (request.substr(0, request.find('?')) != "ckis/listPorts.php") return std::nullopt;
    const Parameters parameters = parametersOf(request);
    if (!parameters.contains("search")) return std::nullopt;
    return Search{valueOf(parameters, "search"), MVString::uppercased(valueOf(parameters, "country"))};
}

std::string found(const Search& search, std::string_view list) {
    if (search.text.empty()) return "";
    const std::string wanted = MVString::lowercased(search.text);
    std::vector<Line> lines = linesOf(list);
    std::erase_if(lines, [&](const Line& line) { return line.name.find(wanted) == std::string::npos; });
    const std::string country = search.country.empty() ? everyCountry : search.country;
    // The list is in the order of names already.
    std::ranges::stable_sort(lines, {}, [&](const Line& line) {
        return std::tuple(line.name != wanted, line.country != country, !line.name.starts_with(wanted));
    });
    if (lines.size() > mostFound) lines.resize(mostFound);
    std::string text;
    for (const Line& line : lines) text.append(text.empty() ? "" : "<br>").append(line.text);
    return text;
}

}  // namespace morvane::static_catalogue
