// server/catalogue_publish.h: putting ports into a catalogue: what publishers give is checked here, before
// the store takes it. Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"
#include "server/catalogue_store.h"

namespace morvane {

/// A port as its publisher describes it; files by their paths. What is absent stays as it is when the port is
/// there already.
struct PortToPublish {
    std::optional<std::string> cki;  ///< the source's name is the "Source" in it, or "Other"
    std::string name;
    std::string creator;  ///< becomes a folder of addresses
    std::string country = everyCountry;
    std::optional<std::string> description;  ///< an HTML file
    std::optional<std::string> icon;         ///< any picture; stored as PNG
    std::optional<std::string> trailer, crossover;
    std::optional<std::vector<std::string>> genres;
    std::vector<std::string> sourceLinks;  ///< "SOURCE=URL"
    std::optional<std::int64_t> dependency;
    std::optional<bool> free, native, developer;
};

/// Checks and reads everything; a failure says what is wrong with which text or file.
[[nodiscard]] Result<Publication> checkedPublication(const PortToPublish& port);

/// Publishes the port, or adds the CKI's source to the port of that creator, name and country: the ID.
[[nodiscard]] Result<std::int64_t> publishPort(CatalogueStore& store, const PortToPublish& port);

/// Publishes the ports that the property list describes, where the catalogue does not hold them yet: an array
/// of dictionaries with "Name", "Creator", "CKIs" (a list), "Description", "Icon" (files beside the list)
/// and, as wanted, "Country", "Trailer", "CrossOver", "Genres", "Source Links", "Free", "Developer". For the
/// samples that the application brings along: cheap when there is nothing to do.
[[nodiscard]] Result<> publishList(CatalogueStore& store, const std::string& list);

/// The content folder of the embedded catalogue, made and filled with the list's ports where they are
/// missing. A folder that others filled keeps what they put there.
[[nodiscard]] Result<> prepareSampleCatalogue(const std::string& list, const std::string& content);

}  // namespace morvane
