#include "building/port_checks.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "building/launch_targets.h"
#include "engines/caskery_engine.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "foundation/text.h"
#include "platform/digest.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane {
namespace {

/// Older recipes are refused.
constexpr std::string_view oldestCki = "1.5.4";

/// Of each list. A game needs a few; each program is a launcher on the disk, each refused entry a dialog.
constexpr std::size_t mostEntries = 1000;

/// The key of a list that is longer than any game's; nothing where all are fine.
std::optional<std::string> overlongList(const NSPortData& port) {
    const auto sizeOf = [](const auto& list) { return list ? list->size() : 0; };
    const std::pair<const char*, std::size_t> lists[] = {
        {"EXEs", port.exes.size()},
        {"Drives", sizeOf(port.drives)},
        {"Extensions", sizeOf(port.supportedExtensions)},
        {"WrapperMenu", sizeOf(port.portMenu)},
        {"Winetricks", port.winetricks.size()},
        {"Overrides", port.overrides.size()},
        {"Before Extra Files", port.extraFilesBeforeInstaller.size()},
        {"After Extra Files", port.extraFilesAfterInstaller.size()}};
    const auto found =
        std::ranges::find_if(lists, [](const auto& list) { return list.second > mostEntries; });
    return found == std::end(lists) ? std::nullopt : std::optional<std::string>(found->first);
}

void addFilesToSupply(std::vector<std::string>& lines, const std::vector<ExtraFileEntry>& entries) {
    for (const ExtraFileEntry& entry : entries) {
        if (!entry.origin || entry.origin->starts_with("http") || entry.origin->starts_with("ftp")) continue;
        lines.push_back(localized("- The %@ file", {*entry.origin}));
    }
}

}  // namespace

std::string folderForNewPorts() {
    const auto setting = settings::stored(settings::mainFolder);
    if (!setting) return host().folders.applications;
    const Value* first = &*setting;
    if (const Array* folders = setting->as<Array>()) first = folders->empty() ? nullptr : &folders->front();
    const auto* folder = first != nullptr ? first->as<std::string>() : nullptr;
    return folder != nullptr && !folder->empty() ? *folder : host().folders.applications;
}

Result<> checkPort(const std::optional<Result<NSPortData>>& port) {
    if (!port) return Failure{localized("An unknown error happened. Please contact the developer.")};
    if (!*port) return port->error();
    if (!(*port)->ckiVersionIsAtLeast(oldestCki)) {
        return Failure{localized("That CKI file version is incompatible!")};
    }
    if (const auto key = overlongList(**port)) {
        return Failure{localized("That CKI file lists more than %@ entries under \"%@\".",
                                 {std::to_string(mostEntries), *key})};
    }
    return {};
}

Result<> checkPlace(const std::string& wrapper) {
    const auto levels = MVString::split(wrapper, "/");
    const bool plain =
        std::ranges::none_of(levels, [](const auto& level) { return level == "." || level == ".."; });
    if (!wrapper.starts_with('/') || !wrapper.ends_with(".app") || wrapper.ends_with("/.app") || !plain) {
        return Failure{
            localized("The wrapper can't be created at \"%@\": a full path that ends in \".app\" is needed.",
                      {wrapper})};
    }
    const std::string folder = files::parent(wrapper);
    if (!MVFileManager::directoryExistsAtPath(folder)) {
        return Failure{
            localized("The wrapper can't be created at \"%@\": that folder doesn't exist.", {folder})};
    }
    if (!files::isWritable(folder)) {
        return Failure{
            localized("The wrapper can't be created at \"%@\": you may not write to that folder.", {folder})};
    }
    if (files::kindOf(wrapper) != files::Kind::none && !MVFileManager::directoryExistsAtPath(wrapper)) {
        return Failure{
            localized("The wrapper can't be created at \"%@\": there is something else already.", {wrapper})};
    }
    return {};
}

std::string requirementsListForPortData(const NSPortData& port) {
    std::vector<std::string> lines;
    addFilesToSupply(lines, port.extraFilesBeforeInstaller);
    addFilesToSupply(lines, port.extraFilesAfterInstaller);
    if (port.originalInstallerNeeded) {
        const std::string source = port.source.value_or("");
        std::string line = localized(
            "- The original application installer for Windows (%@ setup file from %@)",
            {MVString::uppercased(files::extension(port.originalInstallerName.value_or(""))), source});
        if (source == "GOG") {
            line += localized(" (GOG games might also have BIN files, which are required as well)");
        }
        lines.push_back(std::move(line));
    }
    const std::string engine = port.engine.value_or("");
    if (!NSCaskeryEngine::localPathForEngine(engine)) {
        lines.push_back(localized("- Internet connection to download the port engine (%@)", {engine}));
    }
    return MVString::joined(lines, "\n");
}

std::optional<NSPortData> portOfBlank(const std::string& wrapper, const NSCustomPortView& view) {
    auto port = NSPortData::customPortAtPath(wrapper, view.engine, view.DRMs, view.macDriver);
    if (port) {
        const char* driver = view.macDriver == MacDriver::yes ? "mac" : "x11";
        const char* installer = view.installer == InstallerNow::yes ? "with" : "without";
        port->recipe = digest::sha256("blank\n" + view.engine + "\n" + std::to_string(view.DRMs) + "\n" +
                                      driver + "\n" + installer);
    }
    if (!port || view.installer == InstallerNow::yes) return port;
    port->originalInstallerNeeded = false;
    for (ExeEntry& exe : port->exes) {
        // Something that every drive has, until the user says which program it is.
        if (isProgramToChoose(exe)) exe.path = "C:/windows/explorer.exe";
    }
    return port;
}

}  // namespace morvane
