// wrapper/partitions.h: the Windows part of hybrid discs, of which the system shows the other part only.
//
// Blocks on programs, which a worker should wait for; the question is asked and the folder opened on the main
// thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace morvane::NSPartitionMounter {

struct MountableDisk {
    std::string identifier;  ///< as `diskutil` lists it, "disk2"
    std::string text;        ///< "Game (disk2)"
    bool operator==(const MountableDisk&) const = default;
};

/// "MV_WIN_DISC" in the folder of the volumes: where the one disc that can be mounted at a time lies.
[[nodiscard]] std::string mountPoint();

/// The inserted discs with an Apple partition scheme, in the order of the list.
[[nodiscard]] std::vector<MountableDisk> mountableDisksList();
/// Those of a listing of `diskutil list`.
[[nodiscard]] std::vector<MountableDisk> mountableDisksIn(std::string_view listing);

enum class Mounting { tried, cancelled, impossible };

/// Read-only at the mount point, instead of the disc that was there before. Failures of the mount are not
/// seen: the folder that is opened is empty then. Impossible for an identifier that is more than letters and
/// digits; it is reported, and nothing is done.
Mounting mountAndOpenDiscWithID(const std::string& identifier);
/// Asks which one; impossible when there is none, which is reported.
Mounting mountWindowsPartition();

}  // namespace morvane::NSPartitionMounter
