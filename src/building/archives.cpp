#include "building/archives.h"

// Unpacking downloaded archives with the 7-Zip programs.

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <set>
#include <system_error>

#include "building/build.h"
#include "building/entry_removal.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/archive_tools.h"

namespace morvane {
namespace {

struct ArchiveKind {
    std::string_view extension, tool;
};

/// Names of extensions, not of formats: "gz", "bz2", "tgz" and "exe" are not among them and stay packed.
constexpr std::array kinds{
    ArchiveKind{"7z", "7za"},  ArchiveKind{"zip", "7za"},   ArchiveKind{"cab", "7za"},
    ArchiveKind{"arj", "7za"}, ArchiveKind{"gzip", "7za"},  ArchiveKind{"bzip2", "7za"},
    ArchiveKind{"tar", "7za"}, ArchiveKind{"cpio", "7za"},  ArchiveKind{"rpm", "7za"},
    ArchiveKind{"deb", "7za"}, ArchiveKind{"xz", "7z"},     ArchiveKind{"wim", "7z"},
    ArchiveKind{"chm", "7z"},  ArchiveKind{"cramfs", "7z"}, ArchiveKind{"dmg", "7z"},
    ArchiveKind{"fat", "7z"},  ArchiveKind{"hfs", "7z"},    ArchiveKind{"lzh", "7z"},
    ArchiveKind{"lzma", "7z"}, ArchiveKind{"mbr", "7z"},    ArchiveKind{"nsis", "7z"},
    ArchiveKind{"ntfs", "7z"}, ArchiveKind{"rar", "7z"},    ArchiveKind{"squashfs", "7z"},
    ArchiveKind{"udf", "7z"},  ArchiveKind{"vhd", "7z"},    ArchiveKind{"xar", "7z"},
    ArchiveKind{"z", "7z"},
};

const ArchiveKind* kindOfArchive(const std::string& archive) {
    const std::string extension = MVString::lowercased(files::extension(archive));
    const auto* kind = std::find_if(kinds.begin(), kinds.end(),
                                    [&](const ArchiveKind& each) { return each.extension == extension; });
    return kind != kinds.end() ? kind : nullptr;
}

/// A folder beside what is there already, to unpack in. The entries of an archive come from strangers: a link
/// that lies in the folder for other reasons must not lead them out of it. What is not taken from it is
/// removed at the end, so that a cancelled unpacking leaves nothing.
class UnpackingPlace {
  public:
    explicit UnpackingPlace(const std::string& parent) {
        auto made = files::createTemporaryFolder(parent, ".unpacking-");
        if (!made) {
            MVAlert::showAlertErrorMessage(
                localized("Error while creating folder: %@", {made.error().message()}));
        } else {
            path = *std::move(made);
        }
    }
    ~UnpackingPlace() {
        if (!path.empty()) static_cast<void>(files::remove(path));
    }
    UnpackingPlace(const UnpackingPlace&) = delete;
    UnpackingPlace& operator=(const UnpackingPlace&) = delete;

    std::string path;
};

std::vector<std::string> entriesOf(const std::string& folder) {
    auto names = files::list(folder);
    return !names ? std::vector<std::string>{} : *std::move(names);
}

/// The way of what was unpacked to its folder: in place of files of the same names; folders are joined. What
/// a link of the folder would lead out of it stays behind, and so does what meets an entry of another kind, as
/// the tool itself leaves that.
class Arrival {
  public:
    Arrival(std::string unpacked, std::string folder)
        : unpacked_(std::move(unpacked)), folder_(std::move(folder)) {}

    /// How many files of the folder would be replaced.
    [[nodiscard]] std::size_t replacedFiles() {
        std::size_t count = 0;
        walk(unpacked_, folder_, [&count](const std::string&, const std::string& to) {
            if (files::kindOf(to) != files::Kind::none) ++count;
        });
        return count;
    }
    void move(Replacing replacing) {
        walk(unpacked_, folder_, [replacing](const std::string& from, const std::string& to) {
            if (replacing == Replacing::no && files::kindOf(to) != files::Kind::none) return;
            if (removeFileOrLink(to)) MVFileManager::moveItemAtPath(from, to);
        });
        if (!blocked_) return;
        MVAlert::showAlertErrorMessage(
            localized("\"%@\" was not unpacked: a link leads out of its folder.", {*blocked_}));
    }

  private:
    /// Calls the work for each entry that can go to its place.
    void walk(const std::string& unpacked, const std::string& folder,
              const std::function<void(const std::string& from, const std::string& to)>& work) {
        for (const std::string& name : entriesOf(unpacked)) {
            host().creation.throwIfRequested();
            const std::string from = files::join(unpacked, name), to = files::join(folder, name);
            const bool isFolder = files::kindOf(from) == files::Kind::folder;
            const auto there = files::kindOf(to);
            if (isFolder && files::kindBehind(to) == files::Kind::folder) {
                if (staysInside(folder_, to)) {
                    walk(from, to, work);
                } else if (!blocked_) {
                    blocked_ = to;
                }
            } else if (there == files::Kind::none || (!isFolder && there != files::Kind::folder)) {
                work(from, to);
            }
        }
    }

    const std::string unpacked_, folder_;
    std::optional<std::string> blocked_;  ///< the first path that a link has kept back
};

/// A name beside the archive that nothing has yet: "Patch" for "Patch.zip", or "Patch 2".
std::string freeFolderBeside(const std::string& archive) {
    const std::string name = files::withoutExtension(archive);
    std::string folder = name;
    for (int number = 2; files::kindOf(folder) != files::Kind::none; ++number)
        folder = name + " " + std::to_string(number);
    return folder;
}

/// A folder that goes at the end, unless something is in it.
class PassingFolder {
  public:
    explicit PassingFolder(std::string path) : path_(std::move(path)) {}
    ~PassingFolder() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    PassingFolder(const PassingFolder&) = delete;
    PassingFolder& operator=(const PassingFolder&) = delete;

  private:
    const std::string path_;
};

}  // namespace

std::vector<std::string> extractFileToFolder(const std::string& archive,
                                             const std::optional<std::string>& folder, Replacing replacing) {
    if (!folder) return {};
    if (folder->empty()) return {archive};
    if (!MVFileManager::directoryExistsAtPath(*folder))
        MVFileManager::createDirectoryAtPath(*folder, IntermediateFolders::yes);
    const auto listing = MVFileManager::contentsOfDirectoryAtPath(*folder);
    const std::set<std::string> before(listing.begin(), listing.end());
    const ArchiveKind* kind = kindOfArchive(archive);
    if (kind == nullptr) return {archive};
    const std::string tool(kind->tool);
    if (!MVFileManager::regularFileExistsAtPath(archive) || !archives::archiveToolWorks(tool)) return {};
    {
        const UnpackingPlace place(*folder);
        if (place.path.empty()) return {};
        // What can be had of an archive that is not whole is taken.
        static_cast<void>(archives::unpack(tool, archive, place.path, {"-y"}));
        Arrival arrival(place.path, *folder);
        const std::size_t replaced = replacing == Replacing::ask ? arrival.replacedFiles() : 0;
        if (replaced > 0) {
            replacing =
                MVAlert::showBooleanAlertMessage(
                    localized("The archive %@ holds %@ of the files that are already in the %@ folder. "
                              "Do you want to replace them?",
                              {files::lastComponent(archive), std::to_string(replaced), *folder}),
                    "Warning", false)
                    ? Replacing::yes
                    : Replacing::no;
        }
        arrival.move(replacing);
    }
    std::vector<std::string> added;
    for (const std::string& entry : MVFileManager::contentsOfDirectoryAtPath(*folder))
        if (!before.contains(entry)) added.push_back(files::join(*folder, entry));
    return added;
}

std::vector<std::string> extractFileApart(const std::string& archive) {
    if (kindOfArchive(archive) == nullptr) return {archive};
    if (!MVFileManager::regularFileExistsAtPath(archive)) return {};
    const std::string folder = freeFolderBeside(archive);
    if (!MVFileManager::createDirectoryAtPath(folder, IntermediateFolders::no)) return {};
    const PassingFolder passing(folder);
    return extractFileToFolder(archive, folder);
}

std::vector<std::string> extractFile(const std::string& archive) {
    return extractFileToFolder(archive, files::parent(archive));
}

std::vector<std::string> archiveExtensions() {
    std::vector<std::string> extensions;
    for (const ArchiveKind& kind : kinds) extensions.emplace_back(kind.extension);
    return extensions;
}

}  // namespace morvane
