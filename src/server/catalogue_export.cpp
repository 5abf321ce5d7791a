#include "server/catalogue_export.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/static_catalogue.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/http.h"
#include "platform/sites.h"
#include "server/catalogue_texts.h"
#include "server/database.h"
#include "server/static_files.h"

namespace morvane {
namespace {

namespace fs = std::filesystem;
using catalogue_texts::page;

constexpr const char* manifestName = ".morvane-export";
constexpr const char* lockName = ".morvane-export.lock";
constexpr std::string_view passingMark = ".morvane-new";
constexpr int rankingRows = 25, frontPageRows = 10;

/// A folder of files that one export after the other writes, and the list of what they wrote.
class ExportFolder {
  public:
    explicit ExportFolder(std::string path) : path_(std::move(path)) {}

    Result<> open() {
        if (auto made = files::createFolder(path_, true); !made) return made;
        const auto names = files::list(path_);
        if (!names) return names.error();
        const bool isOurs = std::ranges::find(*names, manifestName) != names->end();
        if (!isOurs && std::ranges::any_of(*names, [](const std::string& name) { return name != lockName; }))
            return Failure{localized("The folder %@ holds files that no export has written.", {path_})};
        lock_ = files::Lock::tryLock(files::join(path_, lockName));
        if (!lock_) return Failure{localized("Another export writes to %@.", {path_})};
        if (isOurs) {
            auto manifest = files::read(files::join(path_, manifestName));
            if (!manifest) return manifest.error();
            for (std::string& name : MVString::split(*manifest, "\n")) {
                if (!name.empty()) earlier_.insert(std::move(name));
            }
        }
        return writeManifest();
    }

    /// From here on these may be written: a later export knows of them whenever this one ends.
    Result<> announce(std::vector<std::string> names) {
        for (std::string& name : names) announced_.insert(std::move(name));
        return writeManifest();
    }

    Result<> put(const std::string& name, std::string_view bytes) {
        const auto path = prepared(name);
        if (!path) return path.error();
        if (files::kindOf(*path) == files::Kind::file && files::size(*path) == bytes.size()) {
            const auto there = files::read(*path);
            if (there && *there == bytes) return kept();
        }
        ++outcome.written;
        return files::write(*path, bytes, files::Atomically::yes);
    }

    /// A file of any size; the same size and time of change are the same file.
    Result<> copy(const std::string& name, const std::string& source) {
        const auto path = prepared(name);
        if (!path) return path.error();
        struct stat from {
        }, to{};
        if (::stat(source.c_str(), &from) != 0)
            return Failure{localized("%@ cannot be read: %@", {source, files::read(source).error().why})};
        if (::lstat(path->c_str(), &to) == 0 && S_ISREG(to.st_mode) && to.st_size == from.st_size &&
            to.st_mtim.tv_sec == from.st_mtim.tv_sec && to.st_mtim.tv_nsec == from.st_mtim.tv_nsec)
            return kept();
        const std::string passing = *path + std::string(passingMark);
        if (files::kindOf(passing) != files::Kind::none) {
            if (auto removed = files::remove(passing); !removed) return removed;
        }
        if (auto copied = files::copy(source, passing); !copied) return copied;
        // What may be private to the server's user is for everybody here.
        constexpr unsigned readable = 0644;
        if (auto done = files::setPermissions(passing, readable); !done) return done;
        std::error_code error;
        fs::rename(passing, *path, error);
        if (error) return Failure{localized("%@ cannot be written: %@", {*path, error.message()})};
        ++outcome.written;
        return {};
    }

    /// Removes what earlier exports wrote and this one did not.
    Result<> finish() {
        for (const std::string& name : earlier_) {
            if (written_.contains(name)) continue;
            // The list lies where others may write: it names files below this folder, or nothing.
            const auto path = pathInside(path_, name, Levels::many, localized("the file's name"));
            if (!path) continue;
            const std::string passing = *path + std::string(passingMark);
            for (const std::string& file : {*path, passing}) {
                if (files::kindOf(file) != files::Kind::file) continue;
                if (auto removed = files::remove(file); !removed) return removed;
                if (file == *path) ++outcome.removed;
            }
            removeEmptyFolders(files::parent(*path));
        }
        earlier_.clear();
        announced_ = written_;
        return writeManifest();
    }

    ExportedCatalogue outcome;

  private:
    Result<std::string> prepared(const std::string& name) {
        auto path = pathInside(path_, name, Levels::many, localized("the file's name"));
        if (!path) return path;
        if (auto made = files::createFolder(files::parent(*path), true); !made) return made.error();
        written_.insert(name);
        return path;
    }

    Result<> kept() {
        ++outcome.unchanged;
        return {};
    }

    void removeEmptyFolders(std::string folder) const {
        std::error_code error;
        // Of a folder that is not empty, only the attempt is made.
        while (folder.size() > path_.size() && fs::is_directory(fs::symlink_status(folder, error)) &&
               fs::is_empty(folder, error) && fs::remove(folder, error))
            folder = files::parent(folder);
    }

    Result<> writeManifest() {
        std::set<std::string> names = earlier_;
        names.insert(announced_.begin(), announced_.end());
        std::string text;
        for (const std::string& name : names) text.append(name).append("\n");
        return files::write(files::join(path_, manifestName), text, files::Atomically::yes);
    }

    const std::string path_;
    std::optional<files::Lock> lock_;
    std::set<std::string> earlier_, announced_, written_;
};

/// One file of the export: a text, or a copy.
struct ExportedFile {
    std::string name;
    std::string text = {};
    std::string source = {};  ///< copied in place of the text; empty: none
};
using ExportedFiles = std::vector<ExportedFile>;

/// The file that answers the request.
std::string fileOf(const std::string& request) {
    return static_catalogue::filesAnswering(request).front();
}

/// The files of one port: its texts, recipes and icon.
ExportedFiles filesOfPort(const CatalogueStore& store, const CatalogueEntry& entry) {
    const std::string id = std::to_string(entry.id), description = "ckis/portDescription.php?id=" + id;
    const auto details = store.details(entry.id);
    if (!details) return {};  // withdrawn meanwhile
    const auto ratings = store.ratings(entry.id);
    ExportedFiles result = {{fileOf(description), catalogue_texts::description(*details, ratings)},
                            {fileOf(description + "&brief=true"), catalogue_texts::list({entry})},
                            {fileOf("ckis/portRating.php?game=" + id), catalogue_texts::ratings(ratings)}};
    const std::string folder = "ckis/" + entry.creator + "/" + id + "/";
    result.push_back({folder + "Icon.png", "", store.iconPath(entry.id)});
    for (const CatalogueSource& source : details->sources) {
        const auto path = source.hasFile ? store.ckiPath(entry.id, source.name) : std::nullopt;
        if (!path) continue;
        result.push_back({folder + source.name + ".cki", "", *path});
        // As the application spells that source.
        if (source.name == "Gog") result.push_back({folder + "GOG.cki", "", *path});
    }
    return result;
}

/// What lies below a folder of the content, under another folder of the export; what a server would not serve,
/// and names of several lines, are left out.
void addFolder(ExportedFiles& result, const std::string& folder, const std::string& below) {
    const auto names = files::listBelow(folder);
    if (!names) return;
    for (const std::string& name : *names) {
        const auto path = fileBelow(folder, name);
        if (path && name.find('\n') == std::string::npos) result.push_back({below + name, "", *path});
    }
}

std::string listOf(const std::vector<CatalogueEntry>& all, bool developer, const std::string& country) {
    std::vector<CatalogueEntry> entries;
    std::ranges::copy_if(all, std::back_inserter(entries), [&](const CatalogueEntry& entry) {
        const bool isForThem = entry.country == everyCountry || entry.country == country || country.empty();
        return isForThem && (developer || !entry.developer);
    });
    return catalogue_texts::list(entries);
}

ExportedFiles lists(const std::vector<CatalogueEntry>& all) {
    std::set<std::string> countries;
    for (const CatalogueEntry& entry : all) countries.insert(entry.country);
    countries.insert(everyCountry);
    ExportedFiles result = {{static_catalogue::everyList, listOf(all, false, "")}};
    for (const std::string& country : countries) {
        for (const char* developer : {"0", "1"}) {
            result.push_back(
                {fileOf(std::string("ckis/listPorts.php?developer=") + developer + "&country=" + country),
                 listOf(all, *developer == '1', country)});
        }
    }
    return result;
}

ExportedFiles rankings(const CatalogueStore& store) {
    const std::string address = "ckis/rankingPorts.php?type=";
    const auto text = [&](RankingKind kind, std::optional<CardFamily> family) {
        return catalogue_texts::ranking(store.ranking(kind, rankingRows, family));
    };
    ExportedFiles result = {{fileOf(address + "latest"), text(RankingKind::latest, std::nullopt)},
                            {fileOf(address + "popular"), text(RankingKind::popular, std::nullopt)},
                            {fileOf(address + "highrated"), text(RankingKind::highrated, std::nullopt)}};
    for (const char* family : cardFamilyNames) {
        result.push_back({fileOf(address + "highrated&card=" + family),
                          text(RankingKind::highrated, cardFamilyNamed(family))});
    }
    return result;
}

ExportedFiles instructions(const CatalogueStore& store) {
    ExportedFiles result;
    const auto read = files::read(store.folder() + "/instructions");
    if (!read) return result;
    for (const std::string& line : MVString::split(*read, "\n")) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) continue;
        const std::string source = MVString::stringToWebStructure(MVString::trimmed(line.substr(0, equals)));
        result.push_back(
            {fileOf("ckis/instructions.php?source=" + source), MVString::trimmed(line.substr(equals + 1))});
    }
    return result;
}

ExportedFiles pages(const CatalogueStore& store) {
    const std::string own = store.folder() + "/pages";
    const auto pageOf = [&](const char* name, const std::string& file, std::string builtIn) {
        return ExportedFile{file, std::move(builtIn), fileBelow(own, name).value_or("")};
    };
    const std::string forum = page("Forum", "This catalogue has no forum yet.");
    return {
        pageOf("front.html", "index.html",
               catalogue_texts::frontPage(store.ranking(RankingKind::latest, frontPageRows, std::nullopt))),
        pageOf("news.html", "blog/index.html", page("News", "There is no news yet.")),
        pageOf("forum.html", "smf/index.html", forum),
        pageOf("forum.html", "smf/index.php", forum),
        {"ckis/facebook/ratePort.php", page("No votes", "This catalogue takes no votes.")},
        // Hosts that have a page of their own for what is missing may send it as if it were there.
        {"404.html", catalogue_texts::missingFile},
    };
}

Result<> write(ExportFolder& folder, const ExportedFiles& written) {
    for (const ExportedFile& file : written) {
        const auto done =
            file.source.empty() ? folder.put(file.name, file.text) : folder.copy(file.name, file.source);
        if (!done) return done;
    }
    return {};
}

std::vector<std::string> namesOf(const ExportedFiles& written) {
    std::vector<std::string> names;
    for (const ExportedFile& file : written) names.push_back(file.name);
    return names;
}

/// What lies in the content folder beside the ports. Files of others give way to the catalogue's own.
ExportedFiles filesBeside(const CatalogueStore& store, const ExportedFiles& own) {
    const std::string others = store.folder() + "/files";
    ExportedFiles result;
    addFolder(result, store.folder() + "/winetricks", "ckis/winetricks/");
    addFolder(result, others, "files/");
    ExportedFiles anywhere;
    addFolder(anywhere, others, "");
    std::set<std::string> taken;
    for (const ExportedFile& file : own) taken.insert(file.name);
    for (const ExportedFile& file : result) taken.insert(file.name);
    std::erase_if(anywhere, [&](const ExportedFile& file) {
        return taken.contains(file.name) || file.name.starts_with("ckis/");
    });
    std::ranges::move(anywhere, std::back_inserter(result));
    return result;
}

}  // namespace

Result<ExportedCatalogue> exportCatalogue(const CatalogueStore& store, const CatalogueExport& to) try {
    if (!to.live.empty() && !isWebLink(to.live))
        return Failure{localized("%@ is no web address.", {to.live})};
    ExportFolder folder(to.folder);
    if (const auto opened = folder.open(); !opened) return opened.error();
    const std::vector<CatalogueEntry> all = store.every();
    const std::string index = static_catalogue::textOf({.live = withFinalSlash(to.live)});

    ExportedFiles naming = lists(all);
    for (ExportedFiles more : {rankings(store), instructions(store), pages(store)})
        std::ranges::move(more, std::back_inserter(naming));
    for (const std::string& file : static_catalogue::indexFiles()) naming.push_back({file, index});
    const ExportedFiles beside = filesBeside(store, naming);
    if (const auto told = folder.announce(namesOf(naming)); !told) return told.error();
    if (const auto told = folder.announce(namesOf(beside)); !told) return told.error();

    // Texts are made port by port: all of them at once may be more than fits.
    constexpr std::size_t portsAtOnce = 500;
    for (std::size_t first = 0; first < all.size(); first += portsAtOnce) {
        ExportedFiles some;
        for (std::size_t i = first; i < std::min(first + portsAtOnce, all.size()); ++i)
            std::ranges::move(filesOfPort(store, all[i]), std::back_inserter(some));
        if (const auto told = folder.announce(namesOf(some)); !told) return told.error();
        if (const auto done = write(folder, some); !done) return done.error();
    }
    for (const ExportedFiles* rest : {&beside, &std::as_const(naming)}) {
        if (const auto done = write(folder, *rest); !done) return done.error();
    }
    if (const auto done = folder.finish(); !done) return done.error();
    folder.outcome.ports = all.size();
    return folder.outcome;
} catch (const DatabaseError& error) {
    return Failure{localized("The catalogue cannot be read: %@", {error.what()})};
}

}  // namespace morvane
