// library/game_installation.h: getting a port: from an entry of the catalogue into a wrapper. Main thread, unless
// said.
//
// Every operation is given its game and keeps to it through all its questions. Without a game nothing happens.
// Failures are told to the user.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "library/game_data.h"
#include "platform/private_folder.h"

namespace morvane {

class NSDescriptionView;

/// A game as actions take it: theirs for as long as they need it, whatever the page shows.
using GamePointer = std::shared_ptr<NSGameData>;

class GameInstallation {
  public:
    /// Tells that page of what it has installed.
    explicit GameInstallation(NSDescriptionView& page) : page_(page) {}

    void installGame(const GamePointer& game);
    void runOrInstallGame(const GamePointer& game);
    void chooseDownloadSource(const GamePointer& game, const std::optional<std::string>& target = {});
    bool shouldInstallGameOrOpenLinkOfGame(const GamePointer& game, const std::string& source);
    static void openBuyingLinkForNativeGame(const GamePointer& game);
    static void openLinkForSourceButton(const GamePointer& game, const std::string& source);
    /// Asks where to, and for the source.
    void downloadGameCKI(const GamePointer& game);
    /// The same to a place that is known.
    void downloadGameCKITo(const GamePointer& game, const std::string& source, const std::string& path);
    /// Asks where to, unless `target` says it.
    void downloadCkiOfSourceWithName(const GamePointer& game, const std::string& source,
                                     const std::optional<std::string>& target = {});

  private:
    void downloadCkiFromSource(const GamePointer& game, const std::string& source, const std::string& target);

    NSDescriptionView& page_;
};

/// A port on its way into a wrapper. The folder goes with the object.
struct DownloadedCki {
    files::PrivateFolder folder;
    std::string path;
};
/// The place of the source's port in a fresh folder; nothing after a reported failure.
[[nodiscard]] std::optional<DownloadedCki> pathForDownloadedCkiOfSource(const std::string& source);
/// Ends in "/".
[[nodiscard]] std::string defaultGamesFolder();
/// A wrapper of the library or of the apps folders; none for IDs below 2.
[[nodiscard]] std::optional<std::string> validPortWithGameID(std::int64_t id);
/// The title of the action button of a catalogue entry: "Play" where it is known to be installed.
[[nodiscard]] std::string actionButtonInstallStringForGameData(const NSGameData& game);
[[nodiscard]] std::string actionButtonInstallStringForGameWithID(std::int64_t id, std::int32_t dependencyID);

/// The "%@ Link" of a source in a description; "GOG" is found under "Gog Link" as well. Nothing when it is
/// empty or missing, and when it is no http or https link.
[[nodiscard]] std::optional<std::string> linkOfSource(const NSGameData& game, const std::string& source);

/// The sources that the game can be installed from: "Other" when its entry names none.
[[nodiscard]] std::vector<std::string> sourcesOf(const NSGameData& game);

/// Which wrappers an add-on can be installed into (`NSValidPortDelegate`, made by `allocAndInitWithID:`).
class NSValidPortDelegate {
  public:
    explicit NSValidPortDelegate(std::int64_t id) : id_(id) {}
    bool anyCaskeryPortAllowed = false;
    [[nodiscard]] bool doesPathMatches(const std::string& path) const;
    /// Whether a file panel offers the path: folders can be entered.
    [[nodiscard]] bool shouldEnable(const std::string& path) const;

  private:
    std::int64_t id_;
};

}  // namespace morvane
