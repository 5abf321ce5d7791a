#include "app/games_folder.h"

#include <array>
#include <string>
#include <string_view>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/tasks.h"
#include "foundation/threads.h"
#include "library/apps_array.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "platform/private_folder.h"
#include "platform/utf8.h"

namespace morvane::games_folder {
namespace {

struct Name {
    const char *language, *name;
};
constexpr std::array<Name, 8> names{{{"en", "Games"},
                                     {"es", "Juegos"},
                                     {"de", "Spiele"},
                                     {"du", "Games"},
                                     {"fr", "Jeux"},
                                     {"it", "Giochi"},
                                     {"pt", "Jogos"},
                                     {"ru", "Игры"}}};

std::string gamesFolder() {
    return filled("%@%@", {host().folders.applications + "/", gamesFolderName});
}

void createFolder(const std::string& path) {
    if (!MVFileManager::directoryExistsAtPath(path)) static_cast<void>(files::createFolder(path, false));
}

/// Little-endian, with the mark of the byte order.
std::string utf16(std::string_view text) {
    std::string bytes;
    const auto unit = [&](char32_t value) {
        bytes += static_cast<char>(value & 0xff);
        bytes += static_cast<char>(value >> 8);
    };
    unit(0xfeff);
    for (std::size_t place = 0; place < text.size();) {
        const char32_t character = utf8::next(text, place);
        if (character > 0xffff) {
            unit(0xd800 + ((character - 0x10000) >> 10));
            unit(0xdc00 + (character & 0x3ff));
        } else {
            unit(character);
        }
    }
    return bytes;
}

/// Desktops take a folder's picture from its ".directory" file; not every one reads icon files.
void setFolderIcon(const std::string& icon) {
    const auto bytes = files::read(icon);
    const auto picture = bytes ? pictures::decode(*bytes) : std::nullopt;
    if (!picture) return;
    constexpr int edge = 256;
    const std::string png = pictures::encodePng(pictures::scaledToWidth(*picture, edge));
    if (!files::write(gamesFolder() + ".icon.png", png, files::Atomically::yes)) return;
    static_cast<void>(files::write(gamesFolder() + ".directory", "[Desktop Entry]\nIcon=./.icon.png\n",
                                   files::Atomically::yes));
}

void unpackIcon() {
    const std::string& resources = host().folders.resources;
    const auto temporary = files::PrivateFolder::make(host().folders.temporary);
    if (!temporary) return;
    const std::string& folder = temporary->path();
    MVTask::ignoreEnding(MVTask::runProgram(
        filled("%@/7za", {resources}), "/",
        MVTask::Arguments({"x", filled("%@/games.7z", {resources}), filled("-o%@", {folder}), "-y"}),
        Wait::yes));
    setFolderIcon(folder + "/games.icns");
}

}  // namespace

void createOrFixGamesFolder() {
    // A home folder need not have a folder for applications yet.
    if (!MVFileManager::directoryExistsAtPath(host().folders.applications)) {
        static_cast<void>(files::createFolder(host().folders.applications, true));
    }
    if (!MVFileManager::directoryExistsAtPath(gamesFolder())) {
        createFolder(gamesFolder());
        MVThread::dispatchQueueWithName("app.morvane.gamesFolderIcon", Priority::normal, unpackIcon);
    }
    const std::string localizations = gamesFolder() + ".localized";
    createFolder(localizations);
    for (const Name& each : names) {
        const std::string line = filled(R"("%@"="%@";)", {names.front().name, each.name});
        static_cast<void>(files::write(filled("%@/%@.strings", {localizations, each.language}), utf16(line),
                                       files::Atomically::yes));
    }
}

void verifyGamesFolder() {
    const bool exists = MVFileManager::directoryExistsAtPath(gamesFolder());
    if (exists) createOrFixGamesFolder();
    if (settings::get(settings::offeredGamesFolder)) return;
    if (!exists && MVAlert::showBooleanAlertMessage(
                       localized("Do you want to create a games folder inside /Applications? It's a good way "
                                 "to organize your games. It has a custom icon made by Brannock (DeviantArt) "
                                 "and is localized to support many languages. You can simply remove it if "
                                 "you change your mind."),
                       "Games folder", true)) {
        createOrFixGamesFolder();
    }
    settings::set(settings::offeredGamesFolder, true);
}

}  // namespace morvane::games_folder
