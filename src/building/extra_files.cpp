#include "building/extra_files.h"

// The stage that brings a port's extra files, and runs those that are to be run.

#include <algorithm>
#include <array>

#include "building/archives.h"
#include "building/build.h"
#include "building/entry_removal.h"
#include "building/foreseen_questions.h"
#include "building/installation.h"
#include "building/port_texts.h"
#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/name_patterns.h"
#include "foundation/text.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/percent_coding.h"
#include "wrapper/archive_tools.h"
#include "wrapper/port_manager.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace extra_files {
bool isDownloaded(const ExtraFileEntry& entry) {
    return entry.origin && (entry.origin->starts_with("http") || entry.origin->starts_with("ftp"));
}

std::string fileNameOf(const ExtraFileEntry& entry) {
    if (!entry.origin) return "temp.exe";
    return isDownloaded(entry) ? nameOfLink(*entry.origin) : files::lastComponent(*entry.origin);
}

std::string nameOfLink(std::string_view link) {
    std::string raw = files::lastComponent(link.substr(0, link.find_first_of("?#")));
    std::string name = percent::decoded(raw);
    return MVString::isValidUtf8(name) ? name : raw;
}

}  // namespace extra_files

namespace {

constexpr std::string_view destinyText = "the folder of an extra file (destiny)";
constexpr std::string_view nameText = "the name of an extra file (origin)";

bool isProgram(const std::string& path) {
    static constexpr std::array<std::string_view, 3> endings{".exe", ".msi", ".bat"};
    const std::string name = MVString::lowercased(files::lastComponent(path));
    return std::any_of(endings.begin(), endings.end(),
                       [&](std::string_view ending) { return name.ends_with(ending); });
}

/// Where the file of an entry goes.
struct Target {
    bool refused = false;             ///< the user has been told: the entry is left out
    std::optional<std::string> path;  ///< nothing: the entry names no place that there is
};

Target refusal() {
    return {.refused = true, .path = std::nullopt};
}

Target targetInDownloads(const std::string& name) {
    const std::string& downloads = host().folders.downloads;
    auto path = port_texts::gatedPath(downloads, name, Levels::one, nameText);
    if (!path) return refusal();
    if (!MVFileManager::directoryExistsAtPath(downloads))
        MVFileManager::createDirectoryAtPath(downloads, IntermediateFolders::yes);
    return {.path = std::move(path)};
}

/// The place inside the wrapper. A drive may lead out of it, to the user's own folders or to a disc; a
/// stranger's file has no business there.
Target targetInWrapper(const std::string& destiny, const std::string& name, const Wrapper& wrapper) {
    const auto refuseDestiny = [&] {
        port_texts::refuse(destiny, destinyText);
        return refusal();
    };
    if (port_texts::leavesItsFolder(destiny) || port_texts::hasControlCharacters(destiny))
        return refuseDestiny();
    const auto folder = NSUtilities::getMacPathForWindowsPath(
        destiny.ends_with("/") ? destiny : destiny + "/", wrapper.path());
    if (!folder) return {};
    if (!staysInside(wrapper.path(), *folder)) return refuseDestiny();
    auto path = port_texts::gatedPath(*folder, name, Levels::one, nameText);
    if (!path) return refusal();
    if (files::kindOf(*path) == files::Kind::folder) {
        port_texts::refuse(*path, "a file: a folder of that name is there");
        return refusal();
    }
    return {.path = std::move(path)};
}

/// Makes room for a file: its folder, and nothing at its place. False after a reported error.
bool prepare(const std::string& target) {
    const std::string folder = files::parent(target);
    return removeFileOrLink(target) &&
           (MVFileManager::directoryExistsAtPath(folder) ||
            MVFileManager::createDirectoryAtPath(folder, IntermediateFolders::yes));
}

std::optional<std::string> chosenFile(const ExtraFileEntry& entry) {
    auto chosen = MVAlert::chooseFiles(building::extraFilePanel(entry));
    if (chosen.empty()) return std::nullopt;
    return std::move(chosen.front());
}

/// Where the entry's file goes; a file that the user supplies only to be run stays where it is.
Target targetOf(const ExtraFileEntry& entry, const std::string& name, const Wrapper& wrapper) {
    if (entry.autorun) return extra_files::isDownloaded(entry) ? targetInDownloads(name) : Target{};
    return entry.destiny ? targetInWrapper(*entry.destiny, name, wrapper) : Target{};
}

/// The user's file, copied to its place in the wrapper; nothing after a reported error.
std::optional<std::string> placed(const std::string& chosen, const std::string& target) {
    const auto own = files::resolved(chosen);
    if (own && own == files::resolved(target)) return target;
    if (!prepare(target) || !archives::copyWhole(own.value_or(chosen), target)) return std::nullopt;
    return target;
}

std::vector<std::string> suppliedFiles(const ExtraFileEntry& entry, const Target& target,
                                       const Wrapper& wrapper) {
    const auto chosen = chosenFile(entry);
    if (!chosen) {
        // The origin goes on as it stands, but is not unpacked: it may name any archive of the user's.
        return entry.origin ? std::vector<std::string>{*entry.origin} : std::vector<std::string>{};
    }
    if (!target.path) return extractFileApart(*chosen);
    // A pattern is no name for a file.
    const bool isPattern = MVString::contains(entry.origin.value_or(""), "*");
    const Target place = isPattern ? targetOf(entry, files::lastComponent(*chosen), wrapper) : target;
    const auto file = place.path ? placed(*chosen, *place.path) : std::nullopt;
    return file ? extractFile(*file) : std::vector<std::string>{};
}

/// The files that the entry yields; none after a refusal or an error that the user has been told of.
std::vector<std::string> filesOf(const ExtraFileEntry& entry, const Wrapper& wrapper, Build& build) {
    const Target target = targetOf(entry, extra_files::fileNameOf(entry), wrapper);
    if (target.refused) return {};
    if (!target.path || !extra_files::isDownloaded(entry)) return suppliedFiles(entry, target, wrapper);
    // In the folder of downloads nothing is replaced without asking, which the download does.
    if (!entry.autorun && !prepare(*target.path)) return {};
    build.downloadFileToPath(*entry.origin, *target.path,
                             localized("extra file %@", {files::lastComponent(*target.path)}));
    return entry.autorun ? extractFileApart(*target.path) : extractFile(*target.path);
}

}  // namespace

bool downloadExtraFiles(Build& build, const std::vector<ExtraFileEntry>& entries, const NSPortManager& port) {
    for (const ExtraFileEntry& entry : entries) {
        host().creation.throwIfRequested();
        const auto files = filesOf(entry, Wrapper(port.path), build);
        if (!entry.autorun) continue;
        for (const std::string& file : files) {
            host().creation.throwIfRequested();
            if (!isProgram(file)) continue;
            build.setMessage(localized("Running %@...", {file}));
            removeUselessDesktopFilesCreatedOnBlock([&] { port.runWithArguments({"CKS-installer", file}); });
        }
    }
    return true;
}

}  // namespace morvane
