// wrapper/archive_tools.h: unpacking archives, and copies that are there whole or not at all. Any thread.
#pragma once

#include <optional>
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

/// Whether all of the archive can be read, of whatever kind it is: a page that a server has sent in its place
/// and half of a download can't. Takes about as long as unpacking, and writes nothing. To be asked only after
/// `archiveToolWorks`.
[[nodiscard]] bool isWhole(const std::string& archive);

/// Makes harmless what an archive of a stranger's has left in the folder: links that lead out of it and
/// absolute ones go (but to a program of the system, below "/usr": engines made of this machine's Wine have
/// one), so do files that have another name elsewhere (a change would change that one, too) and
/// what is no file, folder or link. What stays may be moved and removed, whatever the archive's permissions.
/// Unpacked in a folder where it is alone, and tamed before the next archive is unpacked beside it or out of
/// it, no archive reaches anything else.
void tame(const std::string& folder);

/// Unpacks a tar archive into the folder, as `tar` in "/" with "-C", the folder, "-xf" and the archive; then
/// `tame`.
[[nodiscard]] bool unpackTar(const std::string& archive, const std::string& folder);

/// Unpacks with the archive program into the folder, which is the folder that it runs in; then `tame`.
[[nodiscard]] bool unpack(const std::string& tool, const std::string& archive, const std::string& folder,
                          const std::vector<std::string>& options = {});

/// Unpacks the outer layer of a "<name>.tar.7z" into the folder; the tar file that it holds under one of the
/// names. Nothing when the archive is not whole, or holds none.
[[nodiscard]] std::optional<std::string> unpackedTar(const std::string& archive,
                                                     const std::vector<std::string>& names,
                                                     const std::string& folder);

/// A fresh folder inside the other, for one archive alone: what an outer archive has left leads no inner one
/// astray. Empty after a reported error.
[[nodiscard]] std::string freshFolder(const std::string& parent);

/// A fresh folder of the wrapper technology's support folder, to unpack in: what an archive holds beside the
/// expected can't overwrite anything there, and half of a wrapper is never taken for one. Removed at the end.
class UnpackingFolder {
  public:
    /// Removes what a killed run left there. Its path is empty when the folder could not be made, which is
    /// reported.
    explicit UnpackingFolder(const std::string& name = ".unpacking");
    ~UnpackingFolder();
    UnpackingFolder(const UnpackingFolder&) = delete;
    UnpackingFolder& operator=(const UnpackingFolder&) = delete;

    std::string path;
};

/// Copies under a passing name beside the destination, so that a kill, a cancellation or a full disk leaves
/// all of it there or nothing. False after a reported error.
[[nodiscard]] bool copyWhole(const std::string& source, const std::string& destination);

}  // namespace morvane::archives
