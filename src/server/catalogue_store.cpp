#include "server/catalogue_store.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <charconv>

#include "foundation/localization.h"
#include "foundation/text.h"
#include "platform/annotations.h"
#include "platform/descriptor.h"
#include "platform/files.h"
#include "server/database.h"

namespace morvane {
namespace {

constexpr std::int64_t schemaVersion = 2;
constexpr std::int64_t secondsPerHour = 3600, secondsPerDay = 86400;
constexpr std::int64_t newFor = 30 * secondsPerDay;
constexpr std::int64_t mailsPerHour = 10, mailsPerDay = 1000, votesPerDay = 1'000'000;
constexpr int mostFound = 100;
constexpr const char* databaseName = "/catalogue.db";
// The column "developer" of a port: 0 for everybody, 1 for port developers, 2 for nobody any more (withdrawn).
constexpr const char* iconName = "/Icon.png";
constexpr mode_t ownerOnly = 0600;

/// Long texts stand in a table of their own, so that a list reads few pages. The sums of the votes are kept
/// by triggers: they hold whoever changes a vote. IDs begin at 2: 1 means "not known" to the application.
constexpr const char* schema = R"(
CREATE TABLE ports(id INTEGER PRIMARY KEY AUTOINCREMENT, creator TEXT NOT NULL, name TEXT NOT NULL,
    country TEXT NOT NULL, free INTEGER NOT NULL, native INTEGER NOT NULL, developer INTEGER NOT NULL,
    dependency INTEGER NOT NULL, published INTEGER NOT NULL, folded TEXT NOT NULL,
    UNIQUE(creator, name, country)) STRICT;
INSERT INTO sqlite_sequence(name, seq) VALUES('ports', 1);
CREATE INDEX ports_by_name ON ports(folded, id);
CREATE INDEX ports_by_country ON ports(country);
CREATE INDEX ports_by_date ON ports(published);
CREATE TABLE pages(port INTEGER PRIMARY KEY REFERENCES ports(id), description TEXT NOT NULL,
    trailer TEXT NOT NULL, crossover TEXT NOT NULL, genres TEXT NOT NULL) STRICT;
CREATE TABLE sources(port INTEGER NOT NULL REFERENCES ports(id), name TEXT NOT NULL COLLATE NOCASE,
    link TEXT NOT NULL, has_file INTEGER NOT NULL, UNIQUE(port, name)) STRICT;
CREATE TABLE downloads(port INTEGER PRIMARY KEY REFERENCES ports(id), count INTEGER NOT NULL) STRICT;
CREATE INDEX downloads_by_count ON downloads(count);
CREATE TABLE votes(voter TEXT NOT NULL, port INTEGER NOT NULL REFERENCES ports(id), family INTEGER NOT NULL,
    stars INTEGER NOT NULL CHECK(stars BETWEEN 1 AND 5), at INTEGER NOT NULL,
    PRIMARY KEY(voter, port, family)) STRICT, WITHOUT ROWID;
CREATE TABLE ratings(family INTEGER NOT NULL, port INTEGER NOT NULL REFERENCES ports(id),
    votes INTEGER NOT NULL, stars INTEGER NOT NULL, PRIMARY KEY(port, family)) STRICT, WITHOUT ROWID;
CREATE TRIGGER vote_added AFTER INSERT ON votes BEGIN
    INSERT INTO ratings(family, port, votes, stars) VALUES(new.family, new.port, 1, new.stars)
        ON CONFLICT DO UPDATE SET votes = votes + 1, stars = stars + new.stars;
END;
CREATE TRIGGER vote_changed AFTER UPDATE OF stars ON votes BEGIN
    UPDATE ratings SET stars = stars + new.stars - old.stars WHERE port = new.port AND family = new.family;
END;
CREATE TRIGGER vote_removed AFTER DELETE ON votes BEGIN
    UPDATE ratings SET votes = votes - 1, stars = stars - old.stars
        WHERE port = old.port AND family = old.family;
END;
CREATE TABLE mails(id INTEGER PRIMARY KEY AUTOINCREMENT, at INTEGER NOT NULL, sender TEXT NOT NULL,
    name TEXT NOT NULL, email TEXT NOT NULL, subject TEXT NOT NULL, comment TEXT NOT NULL) STRICT;
CREATE INDEX mails_by_sender ON mails(sender, at);
CREATE INDEX mails_by_time ON mails(at);
CREATE TABLE publications(count INTEGER NOT NULL) STRICT;
INSERT INTO publications VALUES(0);
PRAGMA user_version=1;
)";

/// Who has sent what lately, for the bounds: a day's worth.
constexpr const char* arrivalsSchema = R"(
CREATE TABLE arrivals(kind TEXT NOT NULL, sender TEXT NOT NULL, at INTEGER NOT NULL) STRICT;
CREATE INDEX arrivals_by_sender ON arrivals(kind, sender, at);
CREATE INDEX arrivals_by_time ON arrivals(at);
INSERT INTO arrivals SELECT 'mail', sender, at FROM mails WHERE at > unixepoch() - 86400;
DROP INDEX mails_by_sender;
DROP INDEX mails_by_time;
PRAGMA user_version=2;
)";

std::int64_t now() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

/// Of a row of "ports", whole.
CatalogueEntry entryOf(const Query& row) {
    enum { id, creator, name, country, isFree, native, developer, dependency, published };
    CatalogueEntry entry;
    entry.id = row.integer(id);
    entry.creator = row.text(creator);
    entry.name = row.text(name);
    entry.country = row.text(country);
    entry.free = row.integer(isFree) != 0;
    entry.native = row.integer(native) != 0;
    entry.developer = row.integer(developer) != 0;
    entry.isNew = now() - row.integer(published) < newFor;
    entry.dependency = row.integer(dependency);
    return entry;
}

std::vector<CatalogueEntry> entriesOf(Query& rows) {
    std::vector<CatalogueEntry> entries;
    while (rows.next()) entries.push_back(entryOf(rows));
    return entries;
}

std::optional<std::int64_t> firstInteger(Query& rows) {
    return rows.next() ? std::optional(rows.integer(0)) : std::nullopt;
}

/// The name and the country of a folder such as "Half Life (BR)".
std::optional<std::pair<std::string, std::string>> nameAndCountry(const std::string& folder) {
    constexpr std::string_view pattern = " (XX)";
    if (folder.size() <= pattern.size()) return std::nullopt;
    const std::string_view end = std::string_view(folder).substr(folder.size() - pattern.size());
    if (!end.starts_with(" (") || !end.ends_with(')')) return std::nullopt;
    return std::pair(folder.substr(0, folder.size() - pattern.size()), std::string(end.substr(2, 2)));
}

void updateSchema(Database& database) {
    Transaction transaction(database);
    // Asked again inside: another process may have been quicker.
    const auto version = [&] { return firstInteger(*database.query("PRAGMA user_version")); };
    if (version() == 0) database.script(schema);
    if (version() == 1) database.script(arrivalsSchema);
    transaction.commit();
}

/// Who is counted as one sender: of IPv6, where everybody has very many addresses, the network (/64).
std::string networkOf(const std::string& sender) {
    in6_addr address{};
    if (::inet_pton(AF_INET6, sender.c_str(), &address) != 1 || IN6_IS_ADDR_V4MAPPED(&address)) return sender;
    std::fill(std::begin(address.s6_addr) + 8, std::end(address.s6_addr), std::uint8_t{0});
    std::array<char, INET6_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET6, &address, text.data(), text.size());
    return std::string(text.data()) + "/64";
}

/// Notes that the sender sends one more of the kind, within the transaction of what is sent. False, and
/// nothing is noted, when the sender has sent so many within the hour, or all have within the day.
bool noteArrival(Database& database, const char* kind, const std::string& sender, std::int64_t mostPerHour,
                 std::int64_t mostPerDay) {
    const std::int64_t time = now();
    const auto ofSender = firstInteger(
        *database.query("SELECT count(*) FROM arrivals WHERE kind = ?1 AND sender = ?2 AND at > ?3", kind,
                        sender, time - secondsPerHour));
    // Rows come at one end and go at the other: there are no more of them than that. Counting is for when it
    // could matter, not for each vote of a busy day.
    auto ofAll = firstInteger(
        *database.query("SELECT 1 + (SELECT max(rowid) FROM arrivals) - (SELECT min(rowid) FROM arrivals)"));
    if (ofAll >= mostPerDay)
        ofAll = firstInteger(*database.query(
            "SELECT count(*) FROM arrivals INDEXED BY arrivals_by_sender WHERE kind = ?1 AND at > ?2", kind,
            time - secondsPerDay));
    if (ofSender >= mostPerHour || ofAll >= mostPerDay) return false;
    database.run("DELETE FROM arrivals WHERE at <= ?1", time - secondsPerDay);
    database.run("INSERT INTO arrivals(kind, sender, at) VALUES(?1, ?2, ?3)", kind, sender, time);
    return true;
}

}  // namespace

std::optional<CardFamily> cardFamilyNamed(std::string_view name) {
    const auto* found = std::find(cardFamilyNames.begin(), cardFamilyNames.end(), name);
    if (found == cardFamilyNames.end()) return std::nullopt;
    return static_cast<CardFamily>(found - cardFamilyNames.begin());
}

/// A connection for each reader at a time, kept for the next one; and one each for the two kinds of writing,
/// of which only one happens at a time: waiting for a mutex is cheaper than for a file's lock.
struct CatalogueStore::State {
    State(std::string file, std::chrono::milliseconds waiting)
        : path(std::move(file)),
          patience(waiting),
          votes(path, Database::Durability::power, waiting),
          counters(path, Database::Durability::process, waiting) {}

    class Reader {
      public:
        explicit Reader(State& state) : state_(state) {
            const MutexLock lock(state.readersMutex);
            if (state.readers.empty()) return;
            database_ = std::move(state.readers.back());
            state.readers.pop_back();
        }
        ~Reader() {
            if (!database_) return;
            const MutexLock lock(state_.readersMutex);
            state_.readers.push_back(std::move(database_));
        }
        Reader(const Reader&) = delete;
        Reader& operator=(const Reader&) = delete;
        Database& operator*() {
            if (!database_)
                database_ =
                    std::make_unique<Database>(state_.path, Database::Durability::process, state_.patience);
            return *database_;
        }
        Database* operator->() { return &**this; }

      private:
        State& state_;
        std::unique_ptr<Database> database_;
    };

    const std::string path;
    const std::chrono::milliseconds patience;
    Mutex readersMutex, writing;
    std::vector<std::unique_ptr<Database>> readers MV_GUARDED_BY(readersMutex);
    Database votes MV_GUARDED_BY(writing), counters MV_GUARDED_BY(writing);
};

CatalogueStore::CatalogueStore(std::string folder, std::chrono::milliseconds patience)
    : folder_(std::move(folder)), state_(std::make_unique<State>(folder_ + databaseName, patience)) {}

CatalogueStore::~CatalogueStore() = default;

Result<std::unique_ptr<CatalogueStore>> CatalogueStore::open(const std::string& folder,
                                                             std::chrono::milliseconds patience) {
    if (const auto done = files::createFolder(folder, true); !done)
        return Failure{localized("The folder %@ cannot be made: %@", {folder, done.error().why})};
    // Mails hold people's addresses. SQLite gives its other files the permissions of this one. Closed before
    // SQLite opens the file: the end of any descriptor of it drops the locks of the whole process, and the
    // next process would take the database for its own and delete what is not in it yet.
    Descriptor(::open((folder + databaseName).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly))
        .reset();
    try {
        std::unique_ptr<CatalogueStore> store(new CatalogueStore(folder, patience));
        Database& database = store->state_->votes;
        const auto version = firstInteger(*database.query("PRAGMA user_version"));
        if (version > schemaVersion)
            return Failure{localized("The catalogue in %@ was made by a newer version.", {folder})};
        if (version < schemaVersion) updateSchema(database);
        return store;
    } catch (const DatabaseError& error) {
        return Failure{localized("The catalogue in %@ cannot be opened: %@", {folder, error.what()})};
    }
}

std::int64_t CatalogueStore::publications() const {
    State::Reader database(*state_);
    return firstInteger(*database->query("SELECT count FROM publications")).value_or(0);
}

std::vector<CatalogueEntry> CatalogueStore::list(bool developer, const std::string& country) const {
    State::Reader database(*state_);
    return entriesOf(
        *database->query("SELECT * FROM ports WHERE country IN ('--', ?1) AND developer <= ?2 "
                         "ORDER BY folded, id",
                         country, developer));
}

std::vector<CatalogueEntry> CatalogueStore::every() const {
    State::Reader database(*state_);
    return entriesOf(*database->query("SELECT * FROM ports WHERE developer < 2 ORDER BY folded, id"));
}

bool CatalogueStore::hasPortsFor(const std::string& country) const {
    State::Reader database(*state_);
    return database->query("SELECT 1 FROM ports WHERE country = ?1 AND developer < 2 LIMIT 1", country)
        ->next();
}

std::vector<CatalogueEntry> CatalogueStore::search(const std::string& text,
                                                   const std::optional<std::string>& country,
                                                   bool developer) const {
    if (text.empty()) return {};
    State::Reader database(*state_);
    return entriesOf(
        *database->query("SELECT * FROM ports WHERE instr(folded, ?1) > 0 AND developer <= ?2 AND "
                         "(?3 = '' OR country IN ('--', ?3)) "
                         "ORDER BY folded = ?1 DESC, country = iif(?3 = '', '--', ?3) DESC, "
                         "instr(folded, ?1) = 1 DESC, folded, id LIMIT ?4",
                         MVString::lowercased(text), developer, country.value_or(""), mostFound));
}

std::optional<CatalogueEntry> CatalogueStore::entry(std::int64_t id) const {
    State::Reader database(*state_);
    const auto row = database->query("SELECT * FROM ports WHERE id = ?1 AND developer < 2", id);
    return row->next() ? std::optional(entryOf(*row)) : std::nullopt;
}

std::optional<CatalogueDetails> CatalogueStore::details(std::int64_t id) const {
    auto found = entry(id);
    if (!found) return std::nullopt;
    CatalogueDetails details{*std::move(found)};
    State::Reader database(*state_);
    const auto page =
        database->query("SELECT description, trailer, crossover, genres FROM pages WHERE port = ?1", id);
    if (page->next()) {
        details.description = page->text(0);
        details.trailer = page->text(1);
        details.crossover = page->text(2);
        for (std::string& genre : MVString::split(page->text(3), ",")) {
            if (!genre.empty()) details.genres.push_back(std::move(genre));
        }
    }
    const auto rows =
        database->query("SELECT name, link, has_file FROM sources WHERE port = ?1 ORDER BY rowid", id);
    while (rows->next()) details.sources.push_back({rows->text(0), rows->text(1), rows->integer(2) != 0});
    return details;
}

std::array<double, 4> CatalogueStore::ratings(std::int64_t id) const {
    std::array<double, 4> averages{};
    State::Reader database(*state_);
    const auto rows = database->query(
        "SELECT family, CAST(stars AS REAL) / votes FROM ratings WHERE port = ?1 AND votes > 0", id);
    while (rows->next()) averages.at(static_cast<std::size_t>(rows->integer(0))) = rows->real(1);
    return averages;
}

std::vector<RankedPort> CatalogueStore::ranking(RankingKind kind, int count,
                                                std::optional<CardFamily> family) const {
    State::Reader database(*state_);
    std::unique_ptr<Query> rows;
    switch (kind) {
        case RankingKind::latest:
            rows = database->query(
                "SELECT id, creator, name, date(published, 'unixepoch') FROM ports "
                "WHERE developer = 0 AND +country = '--' ORDER BY published DESC, id DESC LIMIT ?1",
                count);
            break;
        case RankingKind::popular:
            rows = database->query(
                "SELECT id, creator, name, downloads.count FROM downloads CROSS JOIN ports ON id = port "
                "WHERE developer = 0 AND country = '--' ORDER BY downloads.count DESC, folded LIMIT ?1",
                count);
            break;
        case RankingKind::highrated:
            rows =
                family
                    ? database->query(
                          "SELECT id, creator, name, printf('%.2f', CAST(stars AS REAL) / votes) "
                          "FROM ratings JOIN ports ON id = port "
                          "WHERE family = ?2 AND votes > 0 AND ports.developer = 0 AND country = '--' "
                          "ORDER BY CAST(stars AS REAL) / votes DESC, votes DESC, folded LIMIT ?1",
                          count, static_cast<int>(*family))
                    : database->query(
                          "SELECT id, creator, name, printf('%.2f', rate) FROM "
                          "(SELECT port, CAST(sum(stars) AS REAL) / sum(votes) AS rate, sum(votes) AS weight "
                          "FROM ratings WHERE votes > 0 GROUP BY port) JOIN ports ON id = port "
                          "WHERE ports.developer = 0 AND country = '--' "
                          "ORDER BY rate DESC, weight DESC, folded LIMIT ?1",
                          count);
    }
    std::vector<RankedPort> ranked;
    while (rows->next()) ranked.push_back({rows->integer(0), rows->text(1), rows->text(2), rows->text(3)});
    return ranked;
}

std::optional<std::int64_t> CatalogueStore::portAtFolder(const std::string& creator,
                                                         const std::string& folder) const {
    State::Reader database(*state_);
    std::int64_t id = 0;
    const char* end = folder.data() + folder.size();
    if (const auto read = std::from_chars(folder.data(), end, id);
        read.ec == std::errc() && read.ptr == end) {
        if (const auto found = firstInteger(*database->query(
                "SELECT id FROM ports WHERE id = ?1 AND creator = ?2 AND developer < 2", id, creator)))
            return found;
    }
    // Rankings give the name without a country: the port for everybody comes first.
    if (const auto found = firstInteger(
            *database->query("SELECT id FROM ports WHERE creator = ?1 AND name = ?2 AND developer < 2 "
                             "ORDER BY country = '--' DESC, id LIMIT 1",
                             creator, folder)))
        return found;
    const auto parts = nameAndCountry(folder);
    if (!parts) return std::nullopt;
    return firstInteger(*database->query(
        "SELECT id FROM ports WHERE creator = ?1 AND name = ?2 AND country = ?3 AND developer < 2", creator,
        parts->first, parts->second));
}

std::string CatalogueStore::portFolder(std::int64_t id) const {
    return folder_ + "/ports/" + std::to_string(id);
}

std::optional<std::string> CatalogueStore::ckiPath(std::int64_t id, const std::string& source) const {
    return entry(id) ? storedCki(id, source) : std::nullopt;
}

std::optional<std::string> CatalogueStore::storedCki(std::int64_t id, const std::string& source) const {
    State::Reader database(*state_);
    const auto row =
        database->query("SELECT name FROM sources WHERE port = ?1 AND name = ?2 AND has_file", id, source);
    // The name as it was published: nothing of a request becomes a path.
    return row->next() ? std::optional(portFolder(id) + "/" + row->text(0) + ".cki") : std::nullopt;
}

std::string CatalogueStore::iconPath(std::int64_t id) const {
    return portFolder(id) + iconName;
}

void CatalogueStore::countDownload(std::int64_t id) {
    const MutexLock lock(state_->writing);
    state_->counters.run(
        "INSERT INTO downloads(port, count) VALUES(?1, 1) ON CONFLICT DO UPDATE SET count = count + 1", id);
}

CatalogueStore::Arrival CatalogueStore::vote(const std::string& voter, const std::string& sender,
                                             std::int64_t id, CardFamily family, int stars,
                                             std::int64_t mostPerHour) {
    const MutexLock lock(state_->writing);
    Database& database = state_->votes;
    Transaction transaction(database);
    if (!database.query("SELECT 1 FROM ports WHERE id = ?1 AND developer < 2", id)->next())
        return Arrival::noSuchPort;
    if (!noteArrival(database, "vote", networkOf(sender), mostPerHour, votesPerDay)) return Arrival::tooMany;
    database.run(
        "INSERT INTO votes(voter, port, family, stars, at) VALUES(?1, ?2, ?3, ?4, ?5) "
        "ON CONFLICT DO UPDATE SET stars = excluded.stars, at = excluded.at",
        voter, id, static_cast<int>(family), stars, now());
    transaction.commit();
    return Arrival::stored;
}

CatalogueStore::Arrival CatalogueStore::addMail(const Mail& mail) {
    const MutexLock lock(state_->writing);
    Database& database = state_->votes;
    Transaction transaction(database);
    if (!noteArrival(database, "mail", networkOf(mail.sender), mailsPerHour, mailsPerDay))
        return Arrival::tooMany;
    database.run(
        "INSERT INTO mails(at, sender, name, email, subject, comment) VALUES(?1, ?2, ?3, ?4, ?5, ?6)", now(),
        mail.sender, mail.name, mail.email, mail.subject, mail.comment);
    transaction.commit();
    return Arrival::stored;
}

namespace {

std::optional<std::int64_t> idOf(Database& database, const Publication& port) {
    return firstInteger(
        *database.query("SELECT id FROM ports WHERE creator = ?1 AND name = ?2 AND country = ?3",
                        port.creator, port.name, port.country));
}

/// The message for whoever publishes, or nothing; below as well.
Result<> isComplete(Database& database, const Publication& port) {
    if (!idOf(database, port) && (!port.description || !port.icon))
        return Failure{localized("A new port needs a description and an icon.")};
    if (port.dependency.value_or(0) != 0 &&
        !database.query("SELECT 1 FROM ports WHERE id = ?1 AND developer < 2", *port.dependency)->next())
        return Failure{localized("There is no port %@ to depend on.", {std::to_string(*port.dependency)})};
    return {};
}

/// The ports row: made, or changed where the publication says something.
std::int64_t writePort(Database& database, const Publication& port) {
    if (!idOf(database, port))
        database.run(
            "INSERT INTO ports(creator, name, folded, country, free, native, developer, dependency, "
            "published) VALUES(?1, ?2, ?3, ?4, 0, 0, 0, 0, ?5)",
            port.creator, port.name, MVString::lowercased(port.name), port.country, now());
    const std::int64_t id = idOf(database, port).value();
    if (port.free) database.run("UPDATE ports SET free = ?2 WHERE id = ?1", id, *port.free);
    if (port.native) database.run("UPDATE ports SET native = ?2 WHERE id = ?1", id, *port.native);
    // What was withdrawn is back, for everybody unless it says otherwise.
    database.run("UPDATE ports SET developer = 0 WHERE id = ?1 AND developer = 2", id);
    if (port.developer) database.run("UPDATE ports SET developer = ?2 WHERE id = ?1", id, *port.developer);
    if (port.dependency) database.run("UPDATE ports SET dependency = ?2 WHERE id = ?1", id, *port.dependency);
    return id;
}

void writePage(Database& database, std::int64_t id, const Publication& port) {
    database.run(
        "INSERT OR IGNORE INTO pages(port, description, trailer, crossover, genres) VALUES(?1, '', '', '', "
        "'')",
        id);
    if (port.description)
        database.run("UPDATE pages SET description = ?2 WHERE port = ?1", id, *port.description);
    if (port.trailer) database.run("UPDATE pages SET trailer = ?2 WHERE port = ?1", id, *port.trailer);
    if (port.crossover) database.run("UPDATE pages SET crossover = ?2 WHERE port = ?1", id, *port.crossover);
    if (port.genres)
        database.run("UPDATE pages SET genres = ?2 WHERE port = ?1", id, MVString::joined(*port.genres, ","));
}

Result<> writeSources(Database& database, std::int64_t id, const Publication& port) {
    if (port.cki)
        database.run(
            "INSERT INTO sources(port, name, link, has_file) VALUES(?1, ?2, '', 1) "
            "ON CONFLICT DO UPDATE SET has_file = 1",
            id, port.cki->source);
    for (const CatalogueSource& link : port.links) {
        const bool native =
            firstInteger(*database.query("SELECT native FROM ports WHERE id = ?1", id)).value_or(0) != 0;
        // A source that is only a link could be chosen for an installation, and would have no file.
        if (!native &&
            !database.query("SELECT 1 FROM sources WHERE port = ?1 AND name = ?2", id, link.name)->next())
            return Failure{localized("There is no CKI file of the source %@.", {link.name})};
        database.run(
            "INSERT INTO sources(port, name, link, has_file) VALUES(?1, ?2, ?3, 0) "
            "ON CONFLICT DO UPDATE SET link = excluded.link",
            id, link.name, link.link);
    }
    if (!database.query("SELECT 1 FROM sources WHERE port = ?1", id)->next())
        return Failure{localized("A port needs a CKI file, or, when it is native, a link of a source.")};
    return {};
}

Result<> writeFiles(Database& database, const std::string& folder, std::int64_t id, const Publication& port) {
    if (const auto done = files::createFolder(folder, true); !done) return done;
    if (port.cki) {
        // The name that the source was first published under, whatever the case of its letters now.
        const auto row =
            database.query("SELECT name FROM sources WHERE port = ?1 AND name = ?2", id, port.cki->source);
        row->next();
        const std::string path = folder + "/" + row->text(0) + ".cki";
        if (const auto done = files::write(path, port.cki->bytes, files::Atomically::yes); !done) return done;
    }
    if (!port.icon) return {};
    return files::write(folder + iconName, *port.icon, files::Atomically::yes);
}

}  // namespace

Result<std::int64_t> CatalogueStore::publish(const Publication& port) {
    try {
        const MutexLock lock(state_->writing);
        Database& database = state_->votes;
        Transaction transaction(database);
        if (const auto complete = isComplete(database, port); !complete) return complete.error();
        const std::int64_t id = writePort(database, port);
        writePage(database, id, port);
        if (const auto written = writeSources(database, id, port); !written) return written.error();
        database.run("UPDATE publications SET count = count + 1");
        // The files come before the commit: what a client can ask for is there. A kill between the two leaves
        // files that nobody asks for, and that the next publication replaces.
        if (const auto written = writeFiles(database, portFolder(id), id, port); !written)
            return Failure{localized("The port's files cannot be written"), written.error().why};
        transaction.commit();
        return id;
    } catch (const DatabaseError& error) {
        return Failure{localized("The catalogue cannot be written"), error.what()};
    }
}

Result<> CatalogueStore::withdraw(std::int64_t id) {
    try {
        const MutexLock lock(state_->writing);
        Database& database = state_->votes;
        Transaction transaction(database);
        if (!database.query("SELECT 1 FROM ports WHERE id = ?1 AND developer < 2", id)->next())
            return Failure{localized("There is no port %@ in the catalogue.", {std::to_string(id)})};
        {
            const auto addOn = database.query(
                "SELECT id, name FROM ports WHERE dependency = ?1 AND developer < 2 ORDER BY id LIMIT 1", id);
            if (addOn->next())
                return Failure{localized("%@ (%@) adds to port %@: it has to be withdrawn first.",
                                         {addOn->text(1), addOn->text(0), std::to_string(id)})};
        }
        database.run("UPDATE ports SET developer = 2 WHERE id = ?1", id);
        database.run("UPDATE publications SET count = count + 1");
        transaction.commit();
        return {};
    } catch (const DatabaseError& error) {
        return Failure{localized("The catalogue cannot be written"), error.what()};
    }
}

bool CatalogueStore::holds(const Publication& port) const {
    if (!port.cki) return false;
    std::optional<std::int64_t> id;
    {
        State::Reader database(*state_);
        id = idOf(*database, port);
    }
    const auto path = id ? storedCki(*id, port.cki->source) : std::nullopt;
    if (!path) return false;
    const auto stored = files::read(*path);
    return stored && *stored == port.cki->bytes;
}

}  // namespace morvane
