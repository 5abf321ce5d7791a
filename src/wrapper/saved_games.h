// wrapper/saved_games.h: what the programs of a wrapper have saved, kept as archives outside it and put back.
// Any thread but for `restore`, which asks; blocks on the disk.
//
// Saved games are the files in the folders of drive C's users where programs keep what is the user's: the documents,
// "Saved Games", and the application data. What Windows itself keeps there, and what only passes, is left out.
// A link is never followed and never kept: where one leads out of the wrapper ("Documents" to the home folder), what
// lies behind it is the user's own, outlives the wrapper, and is neither packed nor written to.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/result.h"
#include "platform/user_interface.h"
#include "wrapper/wrapper.h"

namespace morvane::saved_games {

struct Saves {
    std::vector<std::string> files;   ///< below the users' folder, as "name/Documents/game.sav", sorted
    std::vector<std::string> behind;  ///< links in the same form, behind which nothing is looked for
};
[[nodiscard]] Saves savesOf(const Wrapper& wrapper);
/// Whether there is anything to keep.
[[nodiscard]] bool hasAny(const Wrapper& wrapper);

/// Why an archive was made. Of those of updates, the last three are kept; one that a restoration has made may be all
/// that is left of what it has replaced.
enum class Occasion { asked, update, restore };
struct Backup {
    std::string path;
    std::string
        name;  ///< "<wrapper's name> 2026-01-31T12.00.00.000Z.tar.gz", or with " before update" at the end
    Occasion occasion = Occasion::asked;
    std::uint64_t bytes = 0;
};
/// Where those of a wrapper of this name lie: a new wrapper of the same game finds them.
[[nodiscard]] std::string folderFor(const Wrapper& wrapper);
/// The newest first.
[[nodiscard]] std::vector<Backup> backupsFor(const Wrapper& wrapper);

/// Packs them. A kill or a full disk leaves no archive, and all earlier ones. Nothing when there is nothing to keep.
[[nodiscard]] Result<std::optional<Backup>> backUp(const Wrapper& wrapper, Occasion occasion);

/// Puts the files of an archive into the wrapper; its other files stay. What is there is backed up first, and the user
/// is asked before a newer file is replaced. A kill, a full disk or a failure leaves all as it was. Refused: an archive
/// that holds anything but files in the folders above, a place behind a link, and a wrapper whose programs run.
[[nodiscard]] Result<> restore(const Wrapper& wrapper, const std::string& archive);

/// Whether to back up the saved games before the wrapper goes; the default is yes.
[[nodiscard]] Dialog offerDialog(const std::string& name);
/// For a wrapper that is going to be lost: asks when it has any, and packs them. False when that was wanted and has
/// failed, which the user is told; the wrapper is to stay then.
[[nodiscard]] bool offerBackup(const Wrapper& wrapper);
/// Packs them; false when that has failed, which the user is told.
[[nodiscard]] bool backUpOrTell(const Wrapper& wrapper, Occasion occasion);

}  // namespace morvane::saved_games
