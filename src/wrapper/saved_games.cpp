#include "wrapper/saved_games.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/file_exchange.h"
#include "platform/host.h"
#include "platform/iso_time.h"
#include "platform/passing_file.h"
#include "platform/private_folder.h"
#include "platform/utf8.h"
#include "wrapper/archive_tools.h"
#include "wrapper/processes.h"

namespace morvane::saved_games {

namespace {

using files::Kind;

/// Of a user; the last two are the names of older prefixes.
constexpr std::array<std::string_view, 8> places{
    "Documents",     "My Documents",     "Saved Games",      "AppData/Roaming",
    "AppData/Local", "AppData/LocalLow", "Application Data", "Local Settings/Application Data"};
/// In those, what is not the games'.
constexpr std::array<std::string_view, 3> notSaves{"Microsoft", "Temp", "Temporary Internet Files"};
constexpr std::string_view publicUser = "Public", usersName = "users", ending = ".tar.gz";
constexpr std::size_t automaticKept = 3;

std::string usersFolder(const Wrapper& wrapper) {
    return files::join(wrapper.driveC(), usersName);
}

std::vector<std::string> entriesOf(const std::string& folder) {
    auto names = files::list(folder);
    return names ? *std::move(names) : std::vector<std::string>{};
}

std::string below(const std::string& folder, const std::string& name) {
    return folder.empty() ? name : folder + "/" + name;
}

class Search {
  public:
    enum class For { all, first };
    Search(std::string users, For what) : users_(std::move(users)), what_(what) {}

    Saves run(const Wrapper& wrapper) {
        // A drive C or a users' folder that is a link may lead to another wrapper's.
        if (!staysInside(wrapper.path(), users_)) return {};
        for (const std::string& user : entriesOf(users_)) {
            for (const std::string_view place : places) visitPlace(user, place);
        }
        std::ranges::sort(saves_.files);
        std::ranges::sort(saves_.behind);
        saves_.behind.erase(std::unique(saves_.behind.begin(), saves_.behind.end()), saves_.behind.end());
        return std::move(saves_);
    }

  private:
    /// Level by level: each may be a link.
    void visitPlace(const std::string& user, std::string_view place) {
        std::string path = user;
        for (const std::string& level : MVString::split(std::string(place), "/")) {
            if (!isEntered(path)) return;
            path = below(path, level);
        }
        if (!isEntered(path)) return;
        for (const std::string& name : entriesOf(files::join(users_, path))) {
            if (std::ranges::find(notSaves, name) == notSaves.end()) visit(below(path, name));
        }
    }

    bool isEntered(const std::string& path) {
        const Kind kind = files::kindOf(files::join(users_, path));
        if (kind == Kind::link) saves_.behind.push_back(path);
        return kind == Kind::folder;
    }

    void visit(const std::string& path) {
        if (what_ == For::first && !saves_.files.empty()) return;
        if (files::kindOf(files::join(users_, path)) == Kind::file) {
            saves_.files.push_back(path);
        } else if (isEntered(path)) {
            for (const std::string& name : entriesOf(files::join(users_, path))) visit(below(path, name));
        }
    }

    const std::string users_;
    const For what_;
    Saves saves_;
};

std::string_view suffixOf(Occasion occasion) {
    switch (occasion) {
        case Occasion::update:
            return " before update";
        case Occasion::restore:
            return " before restore";
        default:
            return "";
    }
}

/// Names in the order in which they were made, by the millisecond.
std::string freePathFor(const Wrapper& wrapper, Occasion occasion) {
    using std::chrono::milliseconds;
    for (;;) {
        const auto now = std::chrono::floor<milliseconds>(std::chrono::system_clock::now());
        const auto second = std::chrono::floor<std::chrono::seconds>(now);
        std::string time = MVString::replacedAll(isoText(second), ":", ".");
        time.insert(time.size() - 1, "." + std::to_string(1000 + (now - second).count()).substr(1));
        const std::string name =
            wrapper.name() + " " + time + std::string(suffixOf(occasion)) + std::string(ending);
        const std::string path = files::join(folderFor(wrapper), name);
        if (files::kindOf(path) == Kind::none) return path;
    }
}

Failure notPacked(const Wrapper& wrapper, const std::string& why) {
    return Failure{localized("The saved games of %@ could not be backed up: %@", {wrapper.path(), why})};
}

/// Streams the archive into its passing file: what is in its place is whole, and on the disk.
Result<> pack(const Wrapper& wrapper, const Saves& saves, const std::string& path) {
    const auto tar = MVTask::getPathOfProgram("tar");
    if (!tar) return notPacked(wrapper, localized("Program couldn't be found."));
    const auto passing = files::PrivateFolder::make(host().folders.temporary);
    if (!passing) return passing.error();
    std::string list;
    for (const std::string& file : saves.files) list += std::string(usersName) + "/" + file + '\0';
    const std::string listPath = files::join(passing->path(), "files");
    if (auto written = files::write(listPath, list, files::Atomically::no); !written) return written;

    files::PassingFile archive(path);
    ProcessRequest request;
    request.program = *tar;
    request.runFolder = "/";
    // That format keeps parts of a second: what was not changed since is not newer.
    request.arguments = {"-C",     wrapper.driveC(),        "--format=posix", "--no-recursion",
                         "--null", "--verbatim-files-from", "-czf-",          "-T",
                         listPath};
    request.keptErrors = 2000;
    request.printed = [&archive](std::string_view bytes) {
        static_cast<void>(archive.append(bytes, std::nullopt));
    };
    const auto ended = MVTask::runLogged(std::move(request));
    if (!ended) return ended.error();
    if (!archive.soFar()) return notPacked(wrapper, archive.soFar().error().reason());
    if (ended->ending.shellStatus() != 0) return notPacked(wrapper, ended->errors);
    return archive.putInPlace();
}

void dropOldOnes(const Wrapper& wrapper, Occasion occasion) {
    if (occasion != Occasion::update) return;
    std::size_t kept = 0;
    for (const Backup& backup : backupsFor(wrapper)) {
        if (backup.occasion == occasion && ++kept > automaticKept)
            static_cast<void>(files::remove(backup.path));
    }
}

/// The user's folder that is meant by one of another wrapper: its only own, where it has none of that name.
std::string userIn(const std::string& users, const std::string& name) {
    if (name == publicUser || files::kindOf(files::join(users, name)) != Kind::none) return name;
    auto own = entriesOf(users);
    std::erase_if(own, [&](const auto& each) {
        return each == publicUser || files::kindOf(files::join(users, each)) != Kind::folder;
    });
    return own.size() == 1 ? own.front() : name;
}

bool isInPlace(std::string_view file) {
    return std::ranges::any_of(places, [&](std::string_view place) {
        if (!file.starts_with(std::string(place) + "/")) return false;
        const std::string inside(file.substr(place.size() + 1));
        return std::ranges::find(notSaves, MVString::split(inside, "/").front()) == notSaves.end();
    });
}

Failure noBackup(const std::string& archive, const std::string& why) {
    return Failure{localized("%@ is no backup of saved games: %@", {archive, why})};
}

class Restoring {
  public:
    Restoring(const Wrapper& wrapper, std::string archive)
        : wrapper_(wrapper), archive_(std::move(archive)), users_(usersFolder(wrapper)) {}

    Result<> run() {
        auto passing = files::PrivateFolder::makeFor(wrapper_.driveC(), host().folders.temporary);
        if (!passing) return passing.error();
        const std::string unpacked = files::join(passing->path(), "unpacked");
        const std::string staged = files::join(passing->path(), "staged");
        if (auto made = files::createFolder(unpacked, false); !made) return made;
        if (!archives::unpackTar(archive_, unpacked))
            return noBackup(archive_, localized("it is damaged, or the disk is full."));
        if (auto taken = takeIn(unpacked); !taken) return taken;
        if (!isMeant(unpacked)) return Failure{localized("Nothing was restored.")};
        if (const auto kept = backUp(wrapper_, Occasion::restore); !kept) return kept.error();
        if (auto copied = files::copy(users_, staged); !copied) return copied;
        for (const Place& file : files_) {
            if (auto placed = put(files::join(unpacked, file.from), staged, file.to); !placed) return placed;
        }
        return files::exchange(staged, users_);
    }

  private:
    struct Place {
        std::string from, to;  ///< below the unpacked, and below the users' folder
    };

    Result<> takeIn(const std::string& unpacked) {
        const auto all = files::listBelow(unpacked);
        if (!all) return all.error();
        for (const std::string& path : *all) {
            const Kind kind = files::kindOf(files::join(unpacked, path));
            if (kind == Kind::folder) continue;
            const auto levels = MVString::split(path, "/");
            const bool isBelowUser = levels.size() > 2 && levels.front() == usersName;
            const std::string inUser =
                isBelowUser ? path.substr(usersName.size() + levels[1].size() + 2) : std::string();
            if (kind != Kind::file || !isInPlace(inUser))
                return noBackup(archive_, localized("it holds %@.", {harmless(path)}));
            files_.push_back({path, userIn(users_, levels[1]) + "/" + inUser});
            if (auto checked = checkLinks(users_, files_.back().to); !checked) return checked;
        }
        return files_.empty() ? Result<>(noBackup(archive_, localized("it is empty."))) : Result<>();
    }

    /// The names are those of real files: only links can lead elsewhere.
    static Result<> checkLinks(const std::string& users, const std::string& file) {
        if (staysInside(users, files::join(users, file))) return {};
        return Failure{
            localized("The saved game %@ would go through a link out of the wrapper.", {harmless(file)})};
    }

    bool isMeant(const std::string& unpacked) const {
        const bool losesNewer = std::ranges::any_of(files_, [&](const Place& file) {
            std::error_code missing;
            const auto there = std::filesystem::last_write_time(files::join(users_, file.to), missing);
            return !missing && there > std::filesystem::last_write_time(files::join(unpacked, file.from));
        });
        return !losesNewer ||
               MVAlert::showBooleanAlertMessage(
                   localized("%@ has saved games that are newer than those of the backup. Do you want to "
                             "replace them? A backup of them is made first.",
                             {wrapper_.name()}),
                   localized("Saved Games"), false);
    }

    static Result<> put(const std::string& file, const std::string& staged, const std::string& to) {
        const std::string path = files::join(staged, to);
        if (auto checked = checkLinks(staged, to); !checked) return checked;
        if (auto made = files::createFolder(files::parent(path), true); !made) return made;
        const Kind kind = files::kindOf(path);
        if (kind == Kind::folder)
            return Failure{localized("There is a folder where the saved game %@ goes.", {to})};
        if (kind != Kind::none) {
            if (auto removed = files::remove(path); !removed) return removed;
        }
        return files::move(file, path);
    }

    const Wrapper& wrapper_;
    const std::string archive_, users_;
    std::vector<Place> files_;
};

}  // namespace

Saves savesOf(const Wrapper& wrapper) {
    return Search(usersFolder(wrapper), Search::For::all).run(wrapper);
}

bool hasAny(const Wrapper& wrapper) {
    return !Search(usersFolder(wrapper), Search::For::first).run(wrapper).files.empty();
}

std::string folderFor(const Wrapper& wrapper) {
    return files::join(layout::applicationSupportFolder() + "/Saved Games", wrapper.name());
}

std::vector<Backup> backupsFor(const Wrapper& wrapper) {
    std::vector<Backup> backups;
    const std::string folder = folderFor(wrapper);
    for (const std::string& name : entriesOf(folder)) {
        const std::string path = files::join(folder, name);
        if (!name.starts_with(wrapper.name() + " ") || !name.ends_with(ending)) continue;
        if (files::kindOf(path) != Kind::file) continue;
        Occasion occasion = Occasion::asked;
        for (const Occasion each : {Occasion::update, Occasion::restore}) {
            if (name.ends_with(std::string(suffixOf(each)) + std::string(ending))) occasion = each;
        }
        backups.push_back({path, name, occasion, files::size(path).value_or(0)});
    }
    // The names hold their time, in an order of text.
    std::ranges::sort(backups, std::ranges::greater(), &Backup::name);
    return backups;
}

Result<std::optional<Backup>> backUp(const Wrapper& wrapper, Occasion occasion) {
    const Saves saves = savesOf(wrapper);
    if (saves.files.empty()) return std::optional<Backup>();
    if (const auto made = files::createFolder(folderFor(wrapper), true); !made)
        return notPacked(wrapper, made.error().reason());
    const std::string path = freePathFor(wrapper, occasion);
    if (const auto packed = pack(wrapper, saves, path); !packed) return packed.error();
    dropOldOnes(wrapper, occasion);
    return std::optional(Backup{path, files::lastComponent(path), occasion, files::size(path).value_or(0)});
}

Result<> restore(const Wrapper& wrapper, const std::string& archive) {
    const std::string users = usersFolder(wrapper);
    if (files::kindOf(users) != Kind::folder || !staysInside(wrapper.path(), users))
        return Failure{localized("%@ has no folder of users in it.", {wrapper.path()})};
    const std::string real = files::resolved(wrapper.path()).value_or(wrapper.path());
    if (!NSUtilities::runningProcessesOfWrapper(real).empty()) {
        return Failure{localized("Programs of %@ are running. Wait for their end, or stop them first.",
                                 {wrapper.path()})};
    }
    return Restoring(wrapper, archive).run();
}

Dialog offerDialog(const std::string& name) {
    return MVAlert::booleanDialog(
        localized("%@ has saved games. Do you want to make a backup of them first?", {name}),
        localized("Saved Games"), true);
}

bool backUpOrTell(const Wrapper& wrapper, Occasion occasion) {
    const auto backup = backUp(wrapper, occasion);
    if (!backup) MVAlert::showAlertErrorMessage(backup.error().message());
    return backup.has_value();
}

bool offerBackup(const Wrapper& wrapper) {
    if (!hasAny(wrapper) || !MVAlert::isAnsweredYes(offerDialog(wrapper.name()))) return true;
    return backUpOrTell(wrapper, Occasion::asked);
}

}  // namespace morvane::saved_games
