#include "library/saved_games.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>

#include "foundation/alerts.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "library/game_data.h"
#include "platform/file_exchange.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/iso_time.h"
#include "platform/private_folder.h"
#include "wrapper/archive_tools.h"
#include "wrapper/layout.h"

namespace morvane::saved_games {

namespace {

constexpr std::size_t keptUpdates = 3;
constexpr const char* ending = ".tar.gz";
constexpr std::array<const char*, 5> words{"asked", "removal", "rebuild", "update", "restore"};
/// Of a user's folder.
constexpr std::array<std::string_view, 7> places{
    "AppData", "Application Data", "Documents", "Local Settings", "My Documents", "My Games", "Saved Games"};

constexpr std::array<const char*, 4> windowsOwn{"Microsoft/Windows", "Microsoft/Internet Explorer", "Temp",
                                                "Temporary Internet Files"};

std::string usersOf(const Wrapper& wrapper) {
    return wrapper.driveC() + "/users";
}

/// Windows' own: caches, menus, what passes.
bool isWindowsOwn(const std::string& path) {
    const std::string levels = "/" + path + "/";
    return std::ranges::any_of(windowsOwn, [&](const char* name) {
        return MVString::contains(levels, "/" + std::string(name) + "/");
    });
}

/// The folder for the backups of the wrapper's game.
std::string folderOf(const Wrapper& wrapper) {
    const std::int64_t id = NSGameData::getIdentifierOfGameAtPath(wrapper.path());
    const std::string name = files::withoutExtension(files::lastComponent(wrapper.path()));
    return layout::applicationSupportFolder() + "/Saves/" +
           (id > 1 ? "Game " + std::to_string(id) : "Wrapper " + name);
}

std::vector<std::string> foldersIn(const std::string& folder) {
    std::vector<std::string> folders;
    for (const std::string& name : files::list(folder).value_or(std::vector<std::string>()))
        if (files::kindOf(files::join(folder, name)) == files::Kind::folder) folders.push_back(name);
    return folders;
}

bool holdsFiles(const std::string& folder) {
    const auto below = files::listBelow(folder);
    return below && std::ranges::any_of(*below, [&](const std::string& path) {
               return !isWindowsOwn(path) && files::kindOf(files::join(folder, path)) == files::Kind::file;
           });
}

std::optional<Backup> backupAt(const std::string& folder, const std::string& name) {
    // "2026-11-23T21-54-30Z update.tar.gz"
    constexpr std::size_t dateLength = 20;
    if (!name.ends_with(ending) || name.size() <= dateLength || name[dateLength] != ' ') return std::nullopt;
    // A number behind the word tells two of one second apart.
    const std::string word =
        name.substr(dateLength + 1, name.find_first_of(" .", dateLength + 1) - dateLength - 1);
    const auto known = std::ranges::find(words, word);
    if (known == words.end()) return std::nullopt;
    std::string date = name.substr(0, dateLength - 1);
    date[10] = ' ';
    date[13] = date[16] = ':';
    const std::string path = files::join(folder, name);
    return Backup{path, date, static_cast<Reason>(known - words.begin()), files::size(path).value_or(0)};
}

std::string freePlace(const std::string& folder, Reason reason) {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const std::string start =
        folder + "/" + MVString::replacedAll(isoText(now), ":", "-") + " " + wordFor(reason);
    std::string place = start + ending;
    for (int number = 2; files::kindOf(place) != files::Kind::none; ++number)
        place = start + " " + std::to_string(number) + ending;
    return place;
}

Result<> pack(const Wrapper& wrapper, const std::vector<std::string>& folders, const std::string& archive) {
    std::vector<std::string> arguments{"--create", "--gzip", "--file=" + archive,
                                       "--directory=" + usersOf(wrapper)};
    for (const char* name : windowsOwn) arguments.push_back("--exclude=" + std::string(name));
    arguments.emplace_back("--");
    arguments.insert(arguments.end(), folders.begin(), folders.end());
    const auto ended = MVTask::runProgram("tar", "/", arguments, nullptr);
    if (!ended) return ended.error();
    if (ended->ending.succeeded()) return files::flush(archive);
    return Failure{archive, "the saved games could not be packed; they may have been changed meanwhile",
                   "End the game, and try again."};
}

void prune(const Wrapper& wrapper) {
    std::size_t updates = 0;
    for (const Backup& backup : backupsOf(wrapper))
        if (backup.reason == Reason::update && ++updates > keptUpdates)
            static_cast<void>(files::remove(backup.path));
}

/// Whose folder of the wrapper takes a user's files: the one of that name, else its only user's.
std::optional<std::string> userFor(const std::string& user, const std::vector<std::string>& users) {
    if (std::ranges::find(users, user) != users.end()) return user;
    std::vector<std::string> persons = users;
    std::erase(persons, "Public");
    return persons.size() == 1 && user != "Public" ? std::optional(persons.front()) : std::nullopt;
}

/// The files of an unpacked backup by where they go, relative to the users' folders.
Result<std::vector<std::pair<std::string, std::string>>> placesOf(const std::string& unpacked,
                                                                  const Wrapper& wrapper) {
    std::vector<std::pair<std::string, std::string>> found;
    const auto users = foldersIn(usersOf(wrapper));
    const auto paths = files::listBelow(unpacked);
    if (!paths) return paths.error();
    for (const std::string& path : *paths) {
        if (files::kindOf(files::join(unpacked, path)) != files::Kind::file) continue;
        const auto levels = MVString::split(path, "/");
        const auto user = userFor(levels.front(), users);
        const bool isSave = levels.size() > 2 && std::ranges::find(places, levels[1]) != places.end();
        if (!isSave) return Failure{path, "a backup of saved games holds nothing there"};
        if (!user)
            return Failure{path, "the wrapper has no user for it", "Start the game once, and try again."};
        found.emplace_back(path, *user + path.substr(levels.front().size()));
    }
    return found;
}

/// Whether every folder on the way is a folder, or not there yet.
bool isInside(const std::string& users, const std::string& place) {
    for (std::size_t slash = place.find('/'); slash != std::string::npos;
         slash = place.find('/', slash + 1)) {
        const auto kind = files::kindOf(files::join(users, place.substr(0, slash)));
        if (kind != files::Kind::folder && kind != files::Kind::none) return false;
    }
    return true;
}

Result<> putInPlace(const std::string& file, const std::string& place) {
    if (auto made = files::createFolder(files::parent(place), true); !made) return made;
    const auto kind = files::kindOf(place);
    if (kind == files::Kind::none) return files::move(file, place);
    if (kind != files::Kind::file) return Failure{place, "it is no file that can be replaced"};
    return files::exchange(file, place);
}

}  // namespace

std::string wordFor(Reason reason) {
    return words.at(static_cast<std::size_t>(reason));
}

std::vector<std::string> foldersOf(const Wrapper& wrapper) {
    std::vector<std::string> folders;
    const std::string users = usersOf(wrapper);
    for (const std::string& user : foldersIn(users)) {
        for (const std::string& place : foldersIn(files::join(users, user))) {
            const std::string folder = user + "/" + place;
            if (std::ranges::find(places, place) != places.end() && holdsFiles(files::join(users, folder)))
                folders.push_back(folder);
        }
    }
    return folders;
}

Result<Backup> backUp(const Wrapper& wrapper, Reason reason) {
    const auto folders = foldersOf(wrapper);
    if (folders.empty()) return Failure{wrapper.path(), "it holds no saved games"};
    const std::string folder = folderOf(wrapper);
    files::PrivateFolder::removeLeftovers(folder);
    const auto passing = files::PrivateFolder::make(folder);
    if (!passing) return passing.error();
    const std::string archive = passing->path() + "/saves" + ending;
    if (const auto packed = pack(wrapper, folders, archive); !packed) return packed.error();
    const std::string place = freePlace(folder, reason);
    if (const auto moved = files::move(archive, place); !moved) return moved.error();
    prune(wrapper);
    return *backupAt(folder, files::lastComponent(place));
}

std::vector<Backup> backupsOf(const Wrapper& wrapper) {
    std::vector<Backup> backups;
    const std::string folder = folderOf(wrapper);
    for (const std::string& name : files::list(folder).value_or(std::vector<std::string>()))
        if (auto backup = backupAt(folder, name)) backups.push_back(*std::move(backup));
    std::ranges::reverse(backups);
    return backups;
}

Result<> restore(const Backup& backup, const Wrapper& wrapper) {
    if (!wrapper.exists()) return Failure{wrapper.path(), "it is no wrapper"};
    // On the wrapper's file system, so that each file is exchanged.
    const auto passing = files::PrivateFolder::makeFor(wrapper.driveC(), host().folders.temporary);
    if (!passing) return passing.error();
    if (!archives::unpackTar(backup.path, passing->path()))
        return Failure{backup.path, "it could not be unpacked: it is damaged, or there is no room for it"};
    const auto places = placesOf(passing->path(), wrapper);
    if (!places) return places.error();
    const std::string users = usersOf(wrapper);
    for (const auto& [file, place] : *places)
        if (!isInside(users, place))
            return Failure{files::join(users, place), "it lies behind a link, outside the wrapper"};
    if (!foldersOf(wrapper).empty()) {
        if (const auto before = backUp(wrapper, Reason::restore); !before) return before.error();
    }
    for (const auto& [file, place] : *places) {
        if (auto put = putInPlace(files::join(passing->path(), file), files::join(users, place)); !put)
            return put;
    }
    return {};
}

bool offerBackup(const Wrapper& wrapper, Reason reason) {
    if (foldersOf(wrapper).empty()) return true;
    if (!MVAlert::showBooleanAlertMessage(
            localized("%@ holds saved games. Do you want to keep a backup of them?", {wrapper.name()}),
            localized("Saved Games"), true)) {
        return true;
    }
    const auto made = backUp(wrapper, reason);
    if (!made) MVAlert::showAlertErrorMessage(made.error().message());
    return made.has_value();
}

}  // namespace morvane::saved_games
