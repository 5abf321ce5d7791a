// Unpacking downloaded archives with the 7-Zip programs.

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <system_error>

#include "building/entry_removal.h"
#include "building/wrapper_creation.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/tasks.h"
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
        if (const Failure* failure = failureOf(made)) {
            MVAlert::showAlertErrorMessage(localized("Error while creating folder: %@", {failure->message}));
        } else {
            path = std::get<std::string>(std::move(made));
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
    return failureOf(names) != nullptr ? std::vector<std::string>{}
                                       : std::get<std::vector<std::string>>(std::move(names));
}

/// Removes the links that lead out of the unpacked folder, and lets its folders be moved, which the archive's
/// own permissions may forbid.
void tame(const std::string& folder, const std::string& root) {
    using std::filesystem::perms;
    std::error_code ignored;
    std::filesystem::permissions(folder, perms::owner_all, std::filesystem::perm_options::add, ignored);
    for (const std::string& name : entriesOf(folder)) {
        const std::string path = files::join(folder, name);
        const auto kind = files::kindOf(path);
        if (kind == files::Kind::folder) tame(path, root);
        if (kind != files::Kind::link) continue;
        const auto destination = files::destinationOfLink(path);
        const auto* text = std::get_if<std::string>(&destination);
        if (text == nullptr || text->starts_with("/") || !staysInside(root, path))
            static_cast<void>(files::remove(path));
    }
}

/// Moves the entries into the folder, in place of files of the same names; folders are joined. What a link of
/// the folder would lead out of `root` stays behind, and so does what meets an entry of another kind, as the
/// tool itself leaves that. The first path that a link has kept back.
std::optional<std::string> moveInto(const std::string& unpacked, const std::string& folder,
                                    const std::string& root) {
    std::optional<std::string> kept;
    for (const std::string& name : entriesOf(unpacked)) {
        host().creation.throwIfRequested();
        const std::string from = files::join(unpacked, name), to = files::join(folder, name);
        const bool isFolder = files::kindOf(from) == files::Kind::folder;
        const auto there = files::kindOf(to);
        if (isFolder && files::kindBehind(to) == files::Kind::folder) {
            const auto blocked = staysInside(root, to) ? moveInto(from, to, root) : std::optional(to);
            if (!kept) kept = blocked;
            continue;
        }
        if (there != files::Kind::none && (isFolder || there == files::Kind::folder)) continue;
        if (removeFileOrLink(to)) MVFileManager::moveItemAtPath(from, to);
    }
    return kept;
}

/// The tool's arguments for an archive. It would take "*" and "?" in the path for a pattern, and unpack
/// whatever else of the user's fits.
std::vector<std::string> unpackingArguments(const std::string& archive) {
    std::vector<std::string> arguments{"x", "-y"};
    if (archive.find_first_of("*?") != std::string::npos) arguments.emplace_back("-spd");
    // A name that begins with "-" or "@" would be no name: a whole path begins with "/".
    std::error_code ignored;
    arguments.push_back(std::filesystem::absolute(archive, ignored).string());
    return arguments;
}

}  // namespace

std::vector<std::string> WrapperCreation::extractFileToFolder(const std::string& archive,
                                                              const std::optional<std::string>& folder) {
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
        MVTask::runProgram(archives::archiveTool(tool), place.path, unpackingArguments(archive), Wait::no);
        tame(place.path, place.path);
        if (const auto kept = moveInto(place.path, *folder, *folder)) {
            MVAlert::showAlertErrorMessage(
                localized("\"%@\" was not unpacked: a link leads out of its folder.", {*kept}));
        }
    }
    std::vector<std::string> added;
    for (const std::string& entry : MVFileManager::contentsOfDirectoryAtPath(*folder))
        if (!before.contains(entry)) added.push_back(files::join(*folder, entry));
    return added;
}

std::vector<std::string> WrapperCreation::extractFile(const std::string& archive) {
    return extractFileToFolder(archive, files::parent(archive));
}

std::vector<std::string> WrapperCreation::archiveExtensions() {
    std::vector<std::string> extensions;
    for (const ArchiveKind& kind : kinds) extensions.emplace_back(kind.extension);
    return extensions;
}

}  // namespace morvane
