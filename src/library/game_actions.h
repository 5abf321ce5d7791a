// library/game_actions.h: what can be done with an installed game. Main thread, unless said; long work runs on queues
// of its own, and ends without a word to a page that is gone.
//
// Every operation is given its game and keeps to it through all its questions. Without a game nothing happens.
// Failures are told to the user.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "library/game_installation.h"

namespace morvane {

class NSDescriptionView;

class GameActions {
  public:
    /// Tells that page of what it has run and removed.
    explicit GameActions(NSDescriptionView& page) : page_(page) {}

    void playGame(const GamePointer& game);
    void updateAndRunWrapper(const std::string& path);
    /// Runs it afterwards, unless the user has cancelled the update.
    void updateWrapper(const std::string& wrapper);
    void runWrapper(const std::string& wrapper, const std::string& binary);
    void debugGame(const GamePointer& game);
    /// Asks, and returns at once.
    void forceCloseGame(const GamePointer& game);
    /// Asks, and deletes in the background. The page shows no game any more once it is gone.
    void removeGame(const GamePointer& game);
    void showInFinder(const GamePointer& game);
    void gameProperties(const GamePointer& game);
    void openC_Drive(const GamePointer& game);
    void launchCaskery(const GamePointer& game);
    void taskManager(const GamePointer& game);
    void commandPrompt(const GamePointer& game);
    void registryEditor(const GamePointer& game);
    void wineConfiguration(const GamePointer& game);
    /// Asks, and installs in the background.
    void installModPatch(const GamePointer& game);

  private:
    NSDescriptionView& page_;
};

/// What is installed, and into which folder; asked for where it is empty.
struct ModPatch {
    std::vector<std::string> files = {};
    std::string destination = {};
};

void runDebugModeOfWrapper(const std::string& wrapper);
/// `runSelectedWrapperWithFlag:`.
void runSelectedWrapperWithFlag(const GamePointer& game, const std::string& flag);
/// Asks, and installs in the background. The completion comes on the main thread: whether something was
/// installed, as far as that is known.
void installModPatchAtWrapper(const std::string& wrapper, std::function<void(bool installed)> completion,
                              const ModPatch& mod = {});
/// Any thread; blocks. A file over a folder, a folder over a file and an item onto itself are refused
/// with a message; nothing is deleted then. Whether everything is there but for what the user has
/// declined.
bool copyFiles(const std::vector<std::string>& paths, const std::string& folder);

}  // namespace morvane
