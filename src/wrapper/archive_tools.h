// wrapper/archive_tools.h: unpacking archives, and copies that are there whole or not at all. Any thread.
#pragma once

#include <string>
#include <vector>

namespace morvane::archives {

/// The application's own archive program of that name ("7za" or "7z").
[[nodiscard]] std::string archiveTool(const std::string& name);

/// Whether that program can unpack anything here; when not, an error that says what to install. To be asked
/// before an archive is unpacked: the programs start the 7-Zip of the system, which need not be there.
[[nodiscard]] bool archiveToolWorks(const std::string& name);

/// Runs the program and tells whether it ended well, which `MVTask` does not tell and which decides here
/// whether an archive is whole. Warnings of the archive programs (status 1) count as well. On the thread of
/// the running creation a cancellation stops it and throws `Cancelled`.
[[nodiscard]] bool endedWell(const std::string& program, const std::string& folder,
                             const std::vector<std::string>& arguments);

/// Unpacks a tar archive into the folder, as `tar` in "/" with "-C", the folder, "-xf" and the archive.
[[nodiscard]] bool unpackTar(const std::string& archive, const std::string& folder);

/// A fresh folder of the wrapper technology's support folder, to unpack in: what an archive holds beside the
/// expected can't overwrite anything there, and half of a wrapper is never taken for one. Removed at the end.
class UnpackingFolder {
  public:
    /// Removes what a killed run left there. Its path is empty when the folder could not be made, which is
    /// reported.
    UnpackingFolder();
    ~UnpackingFolder();
    UnpackingFolder(const UnpackingFolder&) = delete;
    UnpackingFolder& operator=(const UnpackingFolder&) = delete;

    std::string path;
};

/// Copies under a passing name beside the destination, so that a kill, a cancellation or a full disk leaves
/// all of it there or nothing. False after a reported error.
[[nodiscard]] bool copyWhole(const std::string& source, const std::string& destination);

}  // namespace morvane::archives
