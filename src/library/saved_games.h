// library/saved_games.h: backups of what the player of a game has made: saved games and settings below the users'
// folders of a wrapper's drive C. Any thread but the main one; blocks for as long as packing takes.
//
// A backup is an archive (tar, gzip) below "Saves" of the application's support folder, in a folder of the game: of its
// ID in the catalogue, or of the wrapper's name. A wrapper of the same game finds it there, whatever has become of the
// one that it was made of. What lies outside the wrapper, behind a link, is neither saved nor restored: it does not go
// with the wrapper.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/result.h"
#include "wrapper/wrapper.h"

namespace morvane::saved_games {

/// Why a backup was made. Of those before updates the last three are kept, of the others all.
enum class Reason { asked, removal, rebuild, update, restore };

struct Backup {
    std::string path;
    std::string date;  ///< "2026-11-23 21:54:30", in UTC
    Reason reason = Reason::asked;
    std::uint64_t bytes = 0;  ///< of the archive
};

/// The folders that hold something to save, relative to those of the users: "anna/Documents". Windows' own caches and
/// menus are nothing to save.
[[nodiscard]] std::vector<std::string> foldersOf(const Wrapper& wrapper);

/// A failure where there is nothing to save. On the disk, and whole, before it is there.
[[nodiscard]] Result<Backup> backUp(const Wrapper& wrapper, Reason reason);
/// Of the wrapper's game, the newest first.
[[nodiscard]] std::vector<Backup> backupsOf(const Wrapper& wrapper);
/// Puts the backup's files in the place of the wrapper's, one by one; other files stay. What is there is backed up
/// first. An archive that is not whole, or holds anything but files in users' folders, changes nothing.
[[nodiscard]] Result<> restore(const Backup& backup, const Wrapper& wrapper);

/// Asks whether to make a backup before the wrapper goes, where it holds something to save. False when what was wanted
/// could not be made, which the user is told: the wrapper is not to go then.
[[nodiscard]] bool offerBackup(const Wrapper& wrapper, Reason reason);

/// "update", as in names of backups.
[[nodiscard]] std::string wordFor(Reason reason);

}  // namespace morvane::saved_games
