#include "server/catalogue_publish.h"

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>
#include <utility>
#include <variant>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/http.h"
#include "platform/pictures.h"
#include "platform/property_list.h"
#include "ports/port_data.h"
#include "server/database.h"

namespace morvane {
namespace {

constexpr std::uint64_t mostCkiBytes = 64U << 20, mostDescriptionBytes = 256U << 10, mostIconBytes = 8U << 20;
constexpr std::size_t mostNameBytes = 200, mostFolderBytes = 60, mostSourceBytes = 60, mostLinkBytes = 2000;
constexpr std::size_t mostGenres = 20;
constexpr int longestIconEdge = 512;
/// Older recipes are refused by the application.
constexpr std::string_view oldestCki = "1.5.4";

bool isControl(unsigned char character) {
    return character < ' ' || character == 0x7f;
}

/// What the application would take for the end of a field, a line or an item of a list.
constexpr std::array<std::string_view, 4> separators = {"||", "<br>", ";;", "=>"};

/// A text of one line: no separator of the answers, no control character.
Result<> checkLine(std::string_view what, const std::string& text, std::size_t most) {
    if (text.empty()) return Failure{localized("%@ is empty.", {what})};
    if (text.size() > most)
        return Failure{localized("%@ is longer than %@ bytes.", {what, std::to_string(most)})};
    if (!MVString::isValidUtf8(text)) return Failure{localized("%@ is no UTF-8 text.", {what})};
    if (std::any_of(text.begin(), text.end(), isControl))
        return Failure{localized("%@ holds a line break or another control character.", {what})};
    if (MVString::trimmed(text) != text)
        return Failure{localized("%@ begins or ends with a blank: \"%@\".", {what, text})};
    const std::string folded = MVString::lowercased(text);
    for (const std::string_view separator : separators) {
        if (folded.find(separator) != std::string::npos)
            return Failure{localized("%@ holds \"%@\", which separates the catalogue's fields: \"%@\".",
                                     {what, separator, text})};
    }
    return {};
}

/// A text that stands in addresses as it is: letters, digits and "-_.", no dot in front.
Result<> checkAddressPart(std::string_view what, const std::string& text, std::size_t most) {
    if (auto checked = checkLine(what, text, most); !checked) return checked;
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_' || c == '.';
    };
    if (text.front() == '.' || !std::all_of(text.begin(), text.end(), plain))
        return Failure{
            localized("%@ becomes a part of addresses: only letters without accents, digits, \"-\", \"_\" "
                      "and \".\" (not "
                      "in front) are possible: \"%@\".",
                      {what, text})};
    return {};
}

Result<> checkLink(std::string_view what, const std::string& link) {
    if (auto checked = checkLine(what, link, mostLinkBytes); !checked) return checked;
    const auto url = parseUrl(link);
    const bool web = url && (url->scheme == "http" || url->scheme == "https");
    if (!web || link.find_first_of(" \"<>") != std::string::npos)
        return Failure{localized("%@ is no web address: \"%@\".", {what, link})};
    return {};
}

Result<> checkCreator(const std::string& creator) {
    if (auto checked = checkAddressPart("The creator", creator, mostFolderBytes); !checked) return checked;
    // Folders of the catalogue's own, beside those of the creators.
    if (creator == "facebook" || creator == "winetricks")
        return Failure{localized("The creator cannot be called \"%@\".", {creator})};
    return {};
}

Result<> checkCountry(const std::string& country) {
    const auto letter = [](char character) { return character >= 'A' && character <= 'Z'; };
    if (country == everyCountry ||
        (country.size() == 2 && std::all_of(country.begin(), country.end(), letter)))
        return {};
    return Failure{localized("The country is no code of two capital letters: \"%@\".", {country})};
}

/// An HTML text stands in one field: it may hold lines, but not the separator of fields.
Result<> checkDescription(const std::string& html) {
    const auto refused = [](unsigned char c) { return isControl(c) && c != '\n' && c != '\r' && c != '\t'; };
    if (!MVString::isValidUtf8(html)) return Failure{localized("The description is no UTF-8 text.")};
    if (std::any_of(html.begin(), html.end(), refused))
        return Failure{localized("The description holds a control character.")};
    if (html.find("||") != std::string::npos)
        return Failure{localized("The description holds \"||\", which separates the catalogue's fields.")};
    return {};
}

Result<std::string> boundedFile(std::string_view what, const std::string& path, std::uint64_t most) {
    const auto size = files::size(path);
    if (!size || files::kindBehind(path) != files::Kind::file)
        return Failure{localized("There is no file at %@ (%@).", {path, what})};
    if (*size > most)
        return Failure{localized("%@ is larger than %@ bytes: %@", {what, std::to_string(most), path})};
    return files::read(path);
}

/// PNG of a size that a list of games can do with.
Result<std::string> iconBytes(const std::string& path) {
    auto bytes = boundedFile("The icon", path, mostIconBytes);
    if (!bytes) return bytes;
    const std::string& given = *bytes;
    const auto picture = pictures::decode(given);
    if (!picture) return Failure{localized("The icon is no picture that can be read: %@", {path})};
    const int edge = std::max(picture->width, picture->height);
    if (edge <= longestIconEdge)
        return pictures::kindOf(given) == "PNG" ? given : pictures::encodePng(*picture);
    const int width = std::max(1, static_cast<int>(std::int64_t{picture->width} * longestIconEdge / edge));
    return pictures::encodePng(pictures::scaledToWidth(*picture, width));
}

Result<Publication::File> ckiFile(const std::string& path) {
    auto bytes = boundedFile("The CKI file", path, mostCkiBytes);
    if (!bytes) return bytes.error();
    const auto port = NSPortData::initWithCkiAtPath(path);
    if (!port) return port.error();
    const NSPortData& data = *port;
    if (!data.ckiVersionIsAtLeast(oldestCki))
        return Failure{localized("The CKI file is older than version %@, which the application refuses: %@",
                                 {oldestCki, path})};
    const std::string source = data.source && !data.source->empty() ? *data.source : "Other";
    if (auto checked = checkAddressPart("The CKI file's \"Source\"", source, mostSourceBytes); !checked)
        return checked.error();
    return Publication::File{source, *std::move(bytes)};
}

Result<CatalogueSource> sourceLink(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        return Failure{localized("A source's link is given as SOURCE=URL, not as \"%@\".", {text})};
    CatalogueSource source{text.substr(0, equals), text.substr(equals + 1)};
    if (auto checked = checkAddressPart("The source's name", source.name, mostSourceBytes); !checked)
        return checked.error();
    if (auto checked = checkLink("The source's link", source.link); !checked) return checked.error();
    return source;
}

Result<> checkGenres(const std::vector<std::string>& genres) {
    if (genres.size() > mostGenres) return Failure{localized("There are too many genres.")};
    for (const std::string& genre : genres) {
        if (auto checked = checkLine("The genre", genre, mostNameBytes); !checked) return checked;
        if (genre.find(',') != std::string::npos)
            return Failure{localized("The genre holds a comma: \"%@\".", {genre})};
    }
    return {};
}

Result<> checkTexts(const PortToPublish& port) {
    if (auto checked = checkLine("The name", port.name, mostNameBytes); !checked) return checked;
    if (auto checked = checkCreator(port.creator); !checked) return checked;
    if (auto checked = checkCountry(port.country); !checked) return checked;
    if (port.trailer && !port.trailer->empty()) {
        if (auto checked = checkLink("The trailer", *port.trailer); !checked) return checked;
    }
    if (port.crossover && !port.crossover->empty()) {
        if (auto checked = checkLink("The CrossOver page", *port.crossover); !checked) return checked;
    }
    return port.genres ? checkGenres(*port.genres) : Result<>();
}

}  // namespace

Result<Publication> checkedPublication(const PortToPublish& port) {
    if (auto checked = checkTexts(port); !checked) return checked.error();
    Publication publication{.creator = port.creator,
                            .name = port.name,
                            .country = port.country,
                            .trailer = port.trailer,
                            .crossover = port.crossover,
                            .genres = port.genres,
                            .dependency = port.dependency,
                            .free = port.free,
                            .native = port.native,
                            .developer = port.developer};
    if (port.cki) {
        auto file = ckiFile(*port.cki);
        if (!file) return file.error();
        publication.cki = *std::move(file);
    }
    if (port.description) {
        auto html = boundedFile("The description", *port.description, mostDescriptionBytes);
        if (!html) return html.error();
        if (auto checked = checkDescription(*html); !checked) return checked.error();
        publication.description = MVString::trimmed(*html);
    }
    if (port.icon) {
        auto icon = iconBytes(*port.icon);
        if (!icon) return icon.error();
        publication.icon = *std::move(icon);
    }
    for (const std::string& text : port.sourceLinks) {
        auto link = sourceLink(text);
        if (!link) return link.error();
        publication.links.push_back(*std::move(link));
    }
    return publication;
}

Result<std::int64_t> publishPort(CatalogueStore& store, const PortToPublish& port) {
    const auto publication = checkedPublication(port);
    if (!publication) return publication.error();
    return store.publish(*publication);
}

namespace {

std::optional<std::string> textAt(const Dictionary& dictionary, const char* key) {
    const Value* value = dictionary.find(key);
    const auto* text = value != nullptr ? value->as<std::string>() : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<std::vector<std::string>> textsAt(const Dictionary& dictionary, const char* key) {
    const Value* value = dictionary.find(key);
    const auto* array = value != nullptr ? value->as<Array>() : nullptr;
    if (array == nullptr) return std::nullopt;
    std::vector<std::string> texts;
    for (const Value& item : *array) {
        if (const auto* text = item.as<std::string>()) texts.push_back(*text);
    }
    return texts;
}

/// The ports of one entry: one for each CKI file, so that each adds its source.
std::vector<PortToPublish> portsOf(const Dictionary& entry, const std::string& folder) {
    const auto beside = [&](const std::optional<std::string>& file) {
        return file ? std::optional(files::join(folder, *file)) : std::nullopt;
    };
    PortToPublish port;
    port.name = textAt(entry, "Name").value_or("");
    port.creator = textAt(entry, "Creator").value_or("");
    port.country = textAt(entry, "Country").value_or(everyCountry);
    port.description = beside(textAt(entry, "Description"));
    port.icon = beside(textAt(entry, "Icon"));
    port.trailer = textAt(entry, "Trailer");
    port.crossover = textAt(entry, "CrossOver");
    port.genres = textsAt(entry, "Genres");
    port.free = booleanReading(entry.find("Free"));
    port.developer = booleanReading(entry.find("Developer"));
    std::vector<PortToPublish> ports;
    for (const std::string& cki : textsAt(entry, "CKIs").value_or(std::vector<std::string>())) {
        ports.push_back(port);
        ports.back().cki = beside(cki);
    }
    // By then every source is there.
    if (!ports.empty()) ports.back().sourceLinks = textsAt(entry, "Source Links").value_or(port.sourceLinks);
    return ports;
}

}  // namespace

Result<> publishList(CatalogueStore& store, const std::string& list) try {
    const auto read = property_lists::read(list);
    const auto* entries = read ? read->as<Array>() : nullptr;
    if (entries == nullptr) return Failure{localized("There is no list of ports at %@.", {list})};
    for (const Value& value : *entries) {
        const auto* entry = value.as<Dictionary>();
        if (entry == nullptr) continue;
        for (const PortToPublish& port : portsOf(*entry, files::parent(list))) {
            const auto checked = checkedPublication(port);
            if (!checked) return checked.error();
            const auto& publication = *checked;
            if (store.holds(publication)) continue;
            const auto published = store.publish(publication);
            if (!published) return published.error();
        }
    }
    return {};
} catch (const DatabaseError& error) {
    return Failure{localized("The catalogue cannot be read: %@", {error.what()})};
}

Result<> prepareSampleCatalogue(const std::string& list, const std::string& content) {
    auto store = CatalogueStore::open(content);
    if (!store) return store.error();
    return publishList(**store, list);
}

}  // namespace morvane
