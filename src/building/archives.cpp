// Unpacking downloaded archives with the 7-Zip programs.

#include <algorithm>
#include <array>
#include <set>

#include "building/wrapper_creation.h"
#include "foundation/file_manager.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "platform/files.h"
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

/// The tool takes "-o/somewhere.zip" for an option and "@list.zip" for a list of names; the names of
/// downloads come from port descriptions.
std::string asArgument(const std::string& name) {
    return name.starts_with("-") || name.starts_with("@") ? "./" + name : name;
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
    if (!archives::archiveToolWorks(tool)) return {};
    MVTask::runProgram(archives::archiveTool(tool), *folder,
                       std::vector<std::string>{"x", "-y", asArgument(files::lastComponent(archive))},
                       Wait::no);
    std::vector<std::string> added;
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(*folder))
        if (!before.contains(name)) added.push_back(*folder + "/" + name);
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
