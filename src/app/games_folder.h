// app/games_folder.h: the folder for games in the applications folder, with its own icon and a name in each
// language. Main thread: it asks, and runs 7-Zip.
#pragma once

namespace morvane::games_folder {

/// Completes the folder where it is there; else offers it, once in the life of the settings.
void verifyGamesFolder();
/// What can't be written is not reported.
void createOrFixGamesFolder();

}  // namespace morvane::games_folder
