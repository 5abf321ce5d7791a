#include "library/menu_entries.h"

#include <sys/stat.h>

#include <array>

#include "foundation/settings.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/icon_cache.h"
#include "library/local_items.h"
#include "platform/desktop_menu.h"
#include "platform/digest.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "wrapper/port_manager.h"
#include "wrapper/wrapper.h"

namespace morvane::menu_entries {

namespace {

using desktop_menu::MenuEntry;

constexpr std::array<int, 4> edges{32, 64, 128, 256};  // pixels

/// The arguments for one of our programs; with the home folder that this process was given.
std::vector<std::string> commandOf(const char* program, std::vector<std::string> arguments) {
    const auto own = files::resolved("/proc/self/exe");
    const std::string beside = own ? files::join(files::parent(*own), program) : "";
    arguments.insert(arguments.begin(), files::isExecutable(beside) ? beside : program);
    const std::string home = environmentVariable("MORVANE_HOME");
    if (!home.empty()) arguments.insert(arguments.begin(), {"env", "MORVANE_HOME=" + host().folders.home});
    return arguments;
}

/// Changes with the picture.
std::string markOf(const std::string& icon) {
    struct stat status {};
    if (::stat(icon.c_str(), &status) != 0) return "none";
    return digest::sha256(icon).substr(0, 16) + "-" + std::to_string(status.st_size) + "-" +
           std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec);
}

void addIcons(MenuEntry& entry, const std::string& path) {
    const auto file = icon_cache::localIconPath(path);
    entry.iconMark = markOf(file.value_or(""));
    if (desktop_menu::iconMarkOf(host().folders.applicationData, entry.id) == entry.iconMark) return;
    const auto bytes = file ? files::read(*file) : Result<std::string>("");
    const auto picture = bytes ? pictures::decode(*bytes) : std::nullopt;
    if (!picture) return;
    for (const int edge : edges)
        entry.icons[edge] = pictures::encodePng(pictures::scaledToWidth(*picture, edge));
}

/// Nothing for an item that no desktop can start.
std::optional<MenuEntry> entryOf(const LocalItem& item) {
    const LibraryItem found(item.path);
    MenuEntry entry;
    entry.id = desktop_menu::idStart + digest::sha256(item.path).substr(0, 16);
    entry.name = item.name;
    entry.play = commandOf("morvane-desktop", {item.path});
    if (!desktop_menu::canBeStarted(entry.play) || local_items::isMissing(item.path)) return std::nullopt;
    if (found.isWrapper() || found.isCustomEXE()) {
        const Wrapper wrapper = found.wrapper();
        entry.needs = wrapper.launcher();
        entry.stop = commandOf("morvane", {"stop", wrapper.path()});
        entry.open = {wrapper.tool()};
        if (found.isWrapper()) {
            const auto stored = findSetting(found, wrapper_keys::associations);
            for (const std::string& each : MVString::split(stored.value_or(""), " "))
                entry.extensions.push_back(each);
        }
    } else {
        entry.needs = entry.play.front();
    }
    addIcons(entry, item.path);
    return entry;
}

void tellDesktop(desktop_menu::Changed changed) {
    const std::string& data = host().folders.applicationData;
    const auto run = [&](const char* program, const std::string& folder) {
        const auto found = processes::search(program, host().searchPath);
        const auto env = processes::search("env", host().searchPath);
        if (found.empty() || env.empty()) return;
        // They warn of a folder that the desktop does not read, as that of a home of our own.
        MVTask::ignoreEnding(MVTask::runLogged(
            {.program = env.front(), .arguments = {"XDG_DATA_HOME=" + data, found.front(), folder}}));
    };
    if (changed == desktop_menu::Changed::types) run("update-mime-database", data + "/mime");
    if (changed != desktop_menu::Changed::nothing) run("update-desktop-database", data + "/applications");
}

}  // namespace

void settle() {
    // Two at once would each undo what the other has made of a list that has changed between them.
    const MutexLock lock(host().menu);
    std::vector<MenuEntry> entries;
    if (settings::get(settings::menuEntries)) {
        for (const LocalItem& item : local_items::storedItems())
            if (auto entry = entryOf(item)) entries.push_back(*std::move(entry));
    }
    const auto changed = desktop_menu::set(host().folders.applicationData, entries);
    if (!changed) return host().log.write(Log::Level::warning, changed.error().message());
    tellDesktop(*changed);
}

void settleLater() {
    MVThread::dispatchQueueWithName("app.morvane.menuEntries", Priority::low, [] { settle(); });
}

}  // namespace morvane::menu_entries
