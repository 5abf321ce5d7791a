// wrapper/partitions.h: the Windows part of hybrid discs, of which the system shows the other part only.
// Blocks on programs; a worker for all but the question, which is asked on the main thread.
#pragma once

#include <string>
#include <vector>

namespace morvane::NSPartitionMounter {

struct MountableDisk {
    std::string identifier;  ///< as `diskutil` lists it, "disk2"
    std::string text;        ///< "Game (disk2)"
    bool operator==(const MountableDisk&) const = default;
};

/// `mountableDisksList`. The inserted discs with an Apple partition scheme, in the order of the list.
[[nodiscard]] std::vector<MountableDisk> mountableDisksList();
/// `mountAndOpenDiscWithID:`. Read-only at "MV_WIN_DISC" in the folder of the volumes, instead of the disc
/// that was there before. Failures of the mount are not seen: the folder that is opened is empty then.
void mountAndOpenDiscWithID(const std::string& identifier);
/// `mountWindowsPartition`. Asks which one.
void mountWindowsPartition();

}  // namespace morvane::NSPartitionMounter
