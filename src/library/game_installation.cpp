#include "library/game_installation.h"

// From a game of the catalogue to an installed port: the decisions, the place, the port file.

#include <algorithm>

#include "building/agreement.h"
#include "building/archives.h"
#include "building/cancellable_creation.h"
#include "building/entry_removal.h"
#include "building/extra_files.h"
#include "building/port_checks.h"
#include "building/wrapper_creation.h"
#include "foundation/alerts.h"
#include "foundation/download.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/catalogue_addresses.h"
#include "library/description_view.h"
#include "platform/files.h"
#include "platform/host.h"
#include "ports/port_data.h"
#include "ports/typed_stream.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr const char* otherSource = "Other";
/// 0 and 1 stand for "not known".
constexpr std::int64_t firstKnownID = 2;

/// A game's name as a file name. It comes from a server: it may be none.
std::string fileNameOf(const NSGameData& game) {
    return MVString::replacedAll(game.gameName, ":", " -");
}

/// The name that a save panel proposes.
std::string proposedNameOf(const NSGameData& game) {
    std::string name = MVString::replacedAll(fileNameOf(game), "/", "-");
    std::erase_if(name, [](unsigned char character) { return character < ' '; });
    return name.substr(std::min(name.find_first_not_of('.'), name.size()));
}

std::string pictureOf(const std::string& source) {
    const std::string name = MVString::lowercased(source);
    if (name.find('/') != std::string::npos) return "";
    const std::string path = files::join(host().folders.resources, name + ".png");
    return MVFileManager::regularFileExistsAtPath(path) ? path : "";
}

bool automaticFolderSave() {
    return settings::get(settings::automaticFolderSave);
}

/// The place that needs no question: in the first apps folder, under the game's name. Nothing when the name
/// is no file name, and when something lies there: what is replaced is for the user to say.
std::optional<std::string> automaticTarget(const NSGameData& game) {
    const std::string name = fileNameOf(game);
    if (name.empty()) return std::nullopt;
    const auto place =
        pathInside(defaultGamesFolder(), name + ".app", Levels::one, localized("the game's name"));
    const bool isFree = place && files::kindOf(*place) == files::Kind::none;
    return isFree ? std::optional(*place) : std::nullopt;
}

std::optional<std::string> askForTarget(const NSGameData& game) {
    SavePanel panel;
    panel.title = localized("Create Port at...");
    panel.startFolder = defaultGamesFolder();
    panel.proposedName = proposedNameOf(game);
    panel.types = {"app"};
    return MVAlert::chooseSavePath(panel);
}

std::optional<std::string> askForBaseGame(std::int64_t id) {
    NSValidPortDelegate valid(id);
    OpenPanel panel;
    panel.title = localized("Install at Port...");
    panel.startFolder = defaultGamesFolder();
    panel.types = {"app"};
    panel.shouldEnable = [&valid](const std::string& path) { return valid.shouldEnable(path); };
    for (const bool any : {false, true}) {
        valid.anyCaskeryPortAllowed = any;
        const auto chosen = MVAlert::chooseFiles(panel);
        if (!chosen.empty() && valid.doesPathMatches(chosen.front())) return chosen.front();
    }
    return std::nullopt;
}

std::optional<std::string> chooseTarget(const NSGameData& game) {
    if (game.gameDependencyID == 0) {
        auto target = automaticFolderSave() ? automaticTarget(game) : std::nullopt;
        return target ? target : askForTarget(game);
    }
    auto base = automaticFolderSave() ? validPortWithGameID(game.gameDependencyID) : std::nullopt;
    return base ? base : askForBaseGame(game.gameDependencyID);
}

/// Fetches a port file. Tells the user why there is none.
bool downloadCkiFile(Download& download, const std::string& address, const std::string& path) {
    const auto& progress = download.progressWindow;
    progress->setMessage(localized("Downloading CKI..."), CreatingPort::no);
    progress->showCreatingPort(CreatingPort::no);
    const bool removed = removeFileOrLink(path);
    const bool transferred = removed && download.downloadFile(address, path, Silence::no);
    progress->closeCreatingPort(CreatingPort::no);
    if (!transferred) {
        MVAlert::showAlertErrorMessage(localized("File not found!"));
        return false;
    }
    if (MVFileManager::regularFileExistsAtPath(path)) return true;
    MVAlert::showAlertErrorMessage(localized("The CKI download failed for some unknown reason!"));
    return false;
}

void storeDescription(const Dictionary& description, const std::string& wrapper) {
    const auto archive = typed_stream::archive(Value(description));
    const Result<> stored =
        archive ? files::write(wrapper + layout::descriptionCkii, *archive, files::Atomically::yes)
                : archive.error();
    if (!stored) {
        MVAlert::showAlertErrorMessage(
            localized("The description of %@ could not be stored: %@", {wrapper, stored.error().reason()}));
    }
}

/// A worker. What is to be replaced is back in its place after a failure.
bool installCkiAtPath(const std::string& cki, const std::string& target, const NSGameData& game,
                      WrapperCreation& creation) {
    const std::optional<Dictionary> description = game.descriptionDictionary;
    // An add-on goes into the wrapper that is there.
    const Replacing replacing = game.gameDependencyID == 0 ? Replacing::yes : Replacing::no;
    if (creation.installCKI(cki, target, Trust::yes, replacing) != 0) return false;
    if (!description) return true;
    storeDescription(*description, target);
    for (const LocalItem& launcher : local_items::checkForCustomEXEsInWrapper(target)) {
        storeDescription(*description, launcher.path);
    }
    return true;
}

}  // namespace

bool NSValidPortDelegate::doesPathMatches(const std::string& path) const {
    if (!Wrapper(path).exists()) return false;
    if (anyCaskeryPortAllowed) return true;
    return id_ >= firstKnownID && MVFileManager::regularFileExistsAtPath(path + layout::descriptionCkii) &&
           NSGameData::getIdentifierOfGameAtPath(path) == id_;
}

bool NSValidPortDelegate::shouldEnable(const std::string& path) const {
    return !path.ends_with(".app") || doesPathMatches(path);
}

std::vector<std::string> sourcesOf(const NSGameData& game) {
    return game.gameSourcesList.empty() ? std::vector<std::string>{otherSource} : game.gameSourcesList;
}

std::string defaultGamesFolder() {
    for (const std::string& folder : local_items::validAppsFolders()) {
        if (files::isWritable(folder)) return folder.ends_with('/') ? folder : folder + "/";
    }
    return host().folders.desktop + "/";
}

std::optional<std::string> validPortWithGameID(std::int64_t id) {
    if (id < firstKnownID) return std::nullopt;
    const auto holdsIt = [id](const std::string& path) {
        return Wrapper(path).exists() && NSGameData::getIdentifierOfGameAtPath(path) == id;
    };
    for (const LocalItem& item : local_items::storedItems()) {
        if (holdsIt(item.path)) return item.path;
    }
    for (const std::string& folder : local_items::validAppsFolders()) {
        const auto names = files::list(folder);
        if (!names) continue;
        for (const std::string& name : *names) {
            const std::string path = files::join(folder, name);
            if (name.ends_with(".app") && holdsIt(path)) return path;
        }
    }
    return std::nullopt;
}

std::string actionButtonInstallStringForGameData(const NSGameData& game) {
    return actionButtonInstallStringForGameWithID(game.gameID, game.gameDependencyID);
}

std::string actionButtonInstallStringForGameWithID(std::int64_t id, std::int32_t dependencyID) {
    const bool plays = dependencyID == 0 && automaticFolderSave() && validPortWithGameID(id).has_value();
    return plays ? localized("Play") : localized("Install");
}

void GameInstallation::installGame(const GamePointer& game) {
    if (!game) return;
    if (game->isGameNative) return openBuyingLinkForNativeGame(game);
    if (page_.shift() == Shift::held) {
        downloadGameCKI(game);
        return page_.titleActionButton();
    }
    runOrInstallGame(game);
}

void GameInstallation::openBuyingLinkForNativeGame(const GamePointer& game) {
    if (!game) return;
    const auto link = linkOfSource(*game, sourcesOf(*game).front());
    if (!link) {
        MVAlert::showAlertErrorMessage(
            localized("There is no buying link for that game! Inform us throw the Contact Us tab!"));
        return;
    }
    host().userInterface.openLink(*link);
}

void GameInstallation::openLinkForSourceButton(const GamePointer& game, const std::string& source) {
    if (!game) return;
    if (const auto link = linkOfSource(*game, source)) host().userInterface.openLink(*link);
}

void GameInstallation::runOrInstallGame(const GamePointer& game) {
    if (!game) return;
    if (const auto installed = validPortWithGameID(game->gameID))
        return page_.actions().updateAndRunWrapper(*installed);
    if (doYouAgreeWithTheLicenseAgreement()) chooseDownloadSource(game);
}

void GameInstallation::chooseDownloadSource(const GamePointer& game,
                                            const std::optional<std::string>& target) {
    if (!game) return;
    const std::vector<std::string> sources = sourcesOf(*game);
    if (sources.size() == 1) return downloadCkiOfSourceWithName(game, sources.front(), target);
    Dialog sheet;
    sheet.title = localized("Choose a source");
    sheet.text = localized("Select the game version you already own or want to buy.");
    for (const SourceIcon& icon : setSourceIcons(sources)) {
        sheet.buttons.push_back(icon.source);
        sheet.buttonPictures.push_back(icon.image);
    }
    sheet.buttons.push_back(localized("Cancel"));
    const std::size_t chosen = MVAlert::showDialog(sheet).button;
    if (chosen < sources.size()) downloadCkiOfSourceWithName(game, sources[chosen], target);
}

bool GameInstallation::shouldInstallGameOrOpenLinkOfGame(const GamePointer& game, const std::string& source) {
    const auto link = linkOfSource(*game, source);
    const std::string kind = game->gameDependencyID != 0 ? localized("an add-on") : localized("a game");
    const std::string origin =
        source == otherSource ? localized("with the %@ ", {"Morvane"}) : localized("from %@ ", {source});
    std::string before;
    if (link && game->isGameFree) {
        before = localized(
            " visit the page to know more about it (or download the installer if requested in the "
            "description; it "
            "will be installed in the meanwhile). If you already know it,");
    } else if (link && source == "CD") {
        before = localized(" insert the disc in your reader before starting. If you already did that,");
    } else if (link) {
        before = localized(" buy it before trying to install. If you already have it,");
    }
    Dialog dialog;
    dialog.title = localized("Install App");
    dialog.text = localized(
        "If you never installed %@ %@before, we recommend you to watch the instructions first. If you "
        "already know "
        "how to do it,%@ then install it now.",
        {kind, origin, before});
    enum class Choice { install, visit, instructions, cancel };
    std::vector<Choice> choices;
    const auto add = [&](const std::string& title, Choice choice) {
        dialog.buttons.push_back(title);
        choices.push_back(choice);
    };
    add(localized("Install Now"), Choice::install);
    if (link) add(game->isGameFree ? localized("Visit Page") : localized("Buy"), Choice::visit);
    add(localized("Instructions"), Choice::instructions);
    add(localized("Cancel"), Choice::cancel);
    dialog.iconPath = source == otherSource ? "" : pictureOf(source);
    if (!dialog.iconPath.empty()) dialog.icon = Dialog::Icon::picture;

    const std::size_t button = MVAlert::showDialog(dialog).button;
    switch (button < choices.size() ? choices[button] : Choice::cancel) {
        case Choice::install:
            return true;
        case Choice::visit:
            host().userInterface.openLink(*link);
            return game->isGameFree;
        case Choice::instructions:
            page_.pages().watchInstructionsForSource(game, source);
            return false;
        case Choice::cancel:
            return false;
    }
    return false;
}

void GameInstallation::downloadCkiOfSourceWithName(const GamePointer& game, const std::string& source,
                                                   const std::optional<std::string>& wanted) {
    if (!game || !shouldInstallGameOrOpenLinkOfGame(game, source)) return;
    const auto target = wanted ? wanted : chooseTarget(*game);
    if (!target) return;
    if (!files::isWritable(files::parent(*target))) {
        MVAlert::showAlertErrorMessage(
            localized("The choosen path isn't writable! Choose a different place."));
        return;
    }
    if (const auto place = checkPlace(*target); !place) {
        return MVAlert::showAlertErrorMessage(place.error().message());
    }
    // A panel has asked already. An add-on goes into what is there.
    if (wanted && game->gameDependencyID == 0 && files::kindOf(*target) != files::Kind::none &&
        !MVAlert::showBooleanAlertMessage(
            localized(
                "There is already something at %@. Do you want to replace it? What it holds, saved games "
                "included, will be lost.",
                {*target}),
            "Warning", false)) {
        return;
    }
    downloadCkiFromSource(game, source, *target);
}

std::optional<DownloadedCki> pathForDownloadedCkiOfSource(const std::string& source) {
    auto folder = files::PrivateFolder::make(host().folders.temporary);
    if (!folder) {
        MVAlert::showAlertErrorMessage(
            localized("Error while creating folder: %@", {folder.error().message()}));
        return std::nullopt;
    }
    auto& made = *folder;
    auto file = pathInside(made.path(), source + ".cki", Levels::one, localized("the source's name"));
    if (!file) {
        MVAlert::showAlertErrorMessage(file.error().message());
        return std::nullopt;
    }
    return DownloadedCki{std::move(made), *std::move(file)};
}

void GameInstallation::downloadCkiFromSource(const GamePointer& game, const std::string& source,
                                             const std::string& target) {
    MVThread::dispatchQueueWithName(
        "app.morvane.descriptionViewDownloadCkiAndInstall", Priority::normal,
        [self = page_.handle(), game, progress = page_.progress(), source, target] {
            const auto creation = building::cancellableCreation(progress);
            const auto cki = pathForDownloadedCkiOfSource(source);
            const std::string address = catalogue::downloadAddress(game->gameID, source, game->gamePath);
            if (!cki || !downloadCkiFile(*creation, address, cki->path)) return;
            if (!installCkiAtPath(cki->path, target, *game, *creation)) return;
            NSDescriptionView::onPage(self, [game, target](NSDescriptionView& page) {
                const auto& addPort = page.callbacks().addPort;
                if (game->gameDependencyID == 0 && addPort) addPort(target);
                page.setGameData(NSGameData::initWithPath(target), {});
            });
        });
}

void GameInstallation::downloadGameCKI(const GamePointer& game) {
    if (!game) return;
    const std::vector<std::string> sources = sourcesOf(*game);
    Form form{.fields = {{.kind = FormField::Kind::choice,
                          .label = localized("Source"),
                          .options = sources,
                          .chosen = 0,
                          .changed = {}}}};
    SavePanel panel;
    panel.title = localized("Save CKI at...");
    panel.startFolder = folderForNewPorts();
    panel.proposedName = proposedNameOf(*game);
    panel.types = {"cki"};
    panel.accessory = &form;
    const auto path = MVAlert::chooseSavePath(panel);
    if (!path) return;
    downloadGameCKITo(game, sources[std::min(form.fields.front().chosen, sources.size() - 1)], *path);
}

void GameInstallation::downloadGameCKITo(const GamePointer& game, const std::string& source,
                                         const std::string& path) {
    if (!removeFileOrLink(path) || files::kindOf(path) != files::Kind::none) {
        MVAlert::showAlertErrorMessage(
            localized("There is already a CKI file in the followed location which couldn't be removed!"));
        return;
    }
    const std::string address = filled("%@%@.cki", {game->gamePath, MVString::stringToWebStructure(source)});
    MVThread::dispatchQueueWithName("app.morvane.descriptionViewDownloadCKI", Priority::normal,
                                    [progress = page_.progress(), address, path] {
                                        Download download(progress);
                                        downloadCkiFile(download, address, path);
                                    });
}

}  // namespace morvane
