// server/catalogue_store.h: the catalogue on disk: ports, downloads, votes and mails in "catalogue.db" of the
// content folder, the files of the ports beside it. Any thread; several processes may share a folder.
//
// Every operation throws `DatabaseError` when the database cannot; nothing is half done then. What a vote or
// a mail answered is on the disk, also after a loss of power; a counted download survives the end of the
// process.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/result.h"

namespace morvane {

/// The families of graphics cards that votes are counted by.
enum class CardFamily { atiAmd, intelHd, intelIris, nvidia };
inline constexpr std::array<const char*, 4> cardFamilyNames = {"ATi/AMD", "Intel HD", "Intel Iris", "NVIDIA"};
/// By its exact name; nothing for any other card.
[[nodiscard]] std::optional<CardFamily> cardFamilyNamed(std::string_view name);

/// The country of a port for everybody.
inline constexpr const char* everyCountry = "--";

/// A port as lists show it.
struct CatalogueEntry {
    std::int64_t id = 0;
    std::string creator;  ///< the folder of its author in addresses
    std::string name;
    std::string country = everyCountry;
    bool free = false, native = false, developer = false;
    bool isNew = false;           ///< published less than thirty days ago
    std::int64_t dependency = 0;  ///< the ID of the port that it adds to; 0 for none
};

struct CatalogueSource {
    std::string name, link;
    bool hasFile = false;  ///< there is a CKI file for it
};

/// What the page of a port shows.
struct CatalogueDetails {
    CatalogueEntry entry;
    std::string description, trailer, crossover;
    std::vector<std::string> genres;
    std::vector<CatalogueSource> sources;  ///< in the order of their publication
};

/// A row of a ranking.
struct RankedPort {
    std::int64_t id = 0;
    std::string creator, name;
    std::string value;  ///< a date (YYYY-MM-DD), a number of downloads or an average
};
enum class RankingKind { latest, popular, highrated };

struct Mail {
    std::string sender;  ///< the network address that it came from
    std::string name, email, subject, comment;
};

/// A port to be published. What is absent stays as it is when the port is there already.
struct Publication {
    std::string creator, name, country = everyCountry;
    std::optional<std::string> description, icon, trailer, crossover;
    std::optional<std::vector<std::string>> genres;
    std::optional<std::int64_t> dependency;
    std::optional<bool> free, native, developer;
    std::vector<CatalogueSource> links;  ///< sources whose links are to be set
    struct File {
        std::string source, bytes;
    };
    std::optional<File> cki;
};

class CatalogueStore {
  public:
    /// Opens the content folder, which is made when missing, with its parents.
    /// A failure when the folder cannot be used or belongs to a newer version of this program.
    [[nodiscard]] static Result<std::unique_ptr<CatalogueStore>> open(
        const std::string& folder, std::chrono::milliseconds patience = std::chrono::seconds(5));
    ~CatalogueStore();
    CatalogueStore(const CatalogueStore&) = delete;
    CatalogueStore& operator=(const CatalogueStore&) = delete;

    /// Changes with every publication, of other processes as well.
    [[nodiscard]] std::int64_t publications() const;
    /// The ports for everybody and those of the country, by name. Ports under development when asked for.
    [[nodiscard]] std::vector<CatalogueEntry> list(bool developer, const std::string& country) const;
    /// All of them, of every country and under development, by name.
    [[nodiscard]] std::vector<CatalogueEntry> every() const;
    /// Whether a port is meant for that country alone.
    [[nodiscard]] bool hasPortsFor(const std::string& country) const;
    /// The ports whose names hold the text, upper and lower case alike: the same name first, then those that
    /// are for the country (without one: for everybody), then those that begin with the text. At most a
    /// hundred; none for an empty text.
    [[nodiscard]] std::vector<CatalogueEntry> search(const std::string& text,
                                                     const std::optional<std::string>& country,
                                                     bool developer) const;
    [[nodiscard]] std::optional<CatalogueEntry> entry(std::int64_t id) const;
    [[nodiscard]] std::optional<CatalogueDetails> details(std::int64_t id) const;
    /// The averages in the order of `cardFamilyNames`; 0 without votes.
    [[nodiscard]] std::array<double, 4> ratings(std::int64_t id) const;
    /// Ports for everybody only, none under development. High rated: by the votes of the family, or by all.
    [[nodiscard]] std::vector<RankedPort> ranking(RankingKind kind, int count,
                                                  std::optional<CardFamily> family) const;
    /// The port of an author by its folder: its ID, its name, or its name and " (<country>)".
    [[nodiscard]] std::optional<std::int64_t> portAtFolder(const std::string& creator,
                                                           const std::string& folder) const;
    /// The path of the CKI file for a source, whose letters' case does not count.
    [[nodiscard]] std::optional<std::string> ckiPath(std::int64_t id, const std::string& source) const;
    [[nodiscard]] std::string iconPath(std::int64_t id) const;

    void countDownload(std::int64_t id);
    enum class Arrival { stored, tooMany, noSuchPort };
    /// The voter's vote for the port on that family, in place of an earlier one. Refuses more than so many of
    /// one sender (a network address) within an hour.
    [[nodiscard]] Arrival vote(const std::string& voter, const std::string& sender, std::int64_t id,
                               CardFamily family, int stars, std::int64_t mostPerHour);
    /// Refuses more than ten mails of a sender within an hour, and more than a thousand of all within a day.
    [[nodiscard]] Arrival addMail(const Mail& mail);

    /// Publishes a port, or adds to the port of that creator, name and country: the ID. The texts are not
    /// looked at. A failure where something that a new port needs is missing.
    [[nodiscard]] Result<std::int64_t> publish(const Publication& publication);
    /// Nobody is shown the port any more, nor given its files. They and its votes are kept: publishing it again
    /// brings it back under its ID. A failure when there is no such port, or when another adds to it.
    [[nodiscard]] Result<> withdraw(std::int64_t id);
    /// Whether the port, withdrawn or not, has this CKI file already.
    [[nodiscard]] bool holds(const Publication& publication) const;

    [[nodiscard]] const std::string& folder() const { return folder_; }

  private:
    struct State;
    CatalogueStore(std::string folder, std::chrono::milliseconds patience);
    [[nodiscard]] std::string portFolder(std::int64_t id) const;
    /// As `ckiPath`, of a withdrawn port as well.
    [[nodiscard]] std::optional<std::string> storedCki(std::int64_t id, const std::string& source) const;

    const std::string folder_;
    std::unique_ptr<State> state_;
};

}  // namespace morvane
