#include "building/wrapper_menu.h"

// The menu that a running wrapper shows: one script for each entry.

#include <algorithm>

#include "building/build.h"
#include "building/entry_removal.h"
#include "building/port_texts.h"
#include "foundation/file_manager.h"
#include "foundation/tasks.h"
#include "foundation/text.h"
#include "foundation/text_files.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/http.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"
#include "wrapper/windows_paths.h"
#include "wrapper/wrapper.h"

namespace morvane {
namespace {

constexpr const char* scriptHeader =
    "#!/bin/bash\n"
    "cd \"$(dirname \"$0\")/../../\"\n"
    "CONTENTSFOLD=\"$PWD\"\n"
    "export PATH=\"$CONTENTSFOLD/Frameworks/bin:$CONTENTSFOLD/Frameworks/ckwine.bundle/bin:$PATH\"\n"
    "export WINEPREFIX=\"$CONTENTSFOLD/Resources\"\n";

bool isLoopback(const std::string& hostName) {
    return hostName == "localhost" || hostName.starts_with("127.") || hostName == "::1" ||
           hostName == "[::1]";
}

/// Whether the text means itself inside a shell's double quotes.
bool isPlainInQuotes(std::string_view text) {
    return text.find_first_of("\"$`\\") == std::string_view::npos && !port_texts::hasControlCharacters(text);
}

/// Whether the site's address can stand in a script, and still leads there when the script runs: the port of
/// the embedded server changes with every start.
bool isLasting(const std::string& site) {
    const auto parts = parseUrl(site);
    return parts && !isLoopback(parts->host) && isPlainInQuotes(site);
}

void addOwnEntries(std::vector<MenuEntry>& menu, const NSPortData& data, const Wrapper& wrapper) {
    if (data.source == "CD") addAppMenuItemDictionaryWithName(menu, "Eject Disc", "wine eject");
    if (data.isSteam) {
        const std::string programs =
            NSUtilities::programFilesPathfromWrapper(wrapper.path(), For64BitsApplication::no);
        addAppMenuItemDictionaryWithName(
            menu, "Launch Steam",
            "wine \"" + MVString::replacedAll(programs, "/", "\\") + "\\Steam\\steam.exe\"");
    }
    addAppMenuItemDictionaryWithName(menu, "Task Manager", R"(wine start "C:\windows\system32\taskmgr.exe")");
    addAppMenuItemDictionaryWithName(menu, "Forceful Quit", "wineserver -k");

    const std::string& site = host().sites.caskery;
    const std::string& catalogue = host().sites.catalogue;
    const auto opening = [](const std::string& url) { return "open \"" + url + "\""; };
    if (isLasting(site)) {
        addHelpMenuItemDictionaryWithName(menu, "Caskery Website", opening(site + "tiki-index.php"));
        addHelpMenuItemDictionaryWithName(menu, "Caskery FAQ", opening(site + "tiki-index.php?page=FAQ"));
        addHelpMenuItemDictionaryWithName(menu, "Caskery Manual",
                                          opening(site + "tiki-index.php?page=Manual"));
        addHelpMenuItemDictionaryWithName(menu, "Caskery Support Forum",
                                          opening(site + "tiki-view_forum.php?forumId=1"));
    }
    if (isLasting(catalogue))
        addHelpMenuItemDictionaryWithName(menu, "Morvane Forum", opening(catalogue + "smf/"));
}

void removeOldScripts(const std::string& folder) {
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(folder)) {
        if (name.starts_with("AppEntry") || name.starts_with("HelpEntry"))
            removeFileOrLink(files::join(folder, name));
    }
}

/// False when the entry was refused.
bool writeScript(const MenuEntry& entry, const std::string& prefix, int number, const std::string& folder) {
    const auto script = port_texts::gatedPath(folder, prefix + std::to_string(number) + "--" + entry.name,
                                              Levels::one, "the title of a menu entry (WrapperMenu, name)");
    if (!script) return false;
    if (!MVString::writeToFile(scriptHeader + entry.desc, *script, files::Atomically::no, Encoding::utf8))
        return false;
    MVTask::ignoreEnding(
        MVTask::runProgram(std::string("chmod"), "/", std::vector<std::string>{"755", *script}, Wait::no));
    return true;
}

}  // namespace

void addMenuItemDictionaryOfMenu(std::vector<MenuEntry>& menu, const std::string& type,
                                 const std::string& name, const std::string& command) {
    const auto same =
        std::find_if(menu.begin(), menu.end(), [&](const MenuEntry& entry) { return entry.name == name; });
    if (same != menu.end()) menu.erase(same);
    menu.push_back({name, type, command});
}

void addAppMenuItemDictionaryWithName(std::vector<MenuEntry>& menu, const std::string& name,
                                      const std::string& command) {
    addMenuItemDictionaryOfMenu(menu, "App", name, command);
}

void addHelpMenuItemDictionaryWithName(std::vector<MenuEntry>& menu, const std::string& name,
                                       const std::string& command) {
    addMenuItemDictionaryOfMenu(menu, "Help", name, command);
}

bool saveCaskeryWrapperMenuForPort(const NSPortData& data, const Wrapper& wrapper) {
    std::vector<MenuEntry> menu = data.portMenu.value_or(std::vector<MenuEntry>{});
    addOwnEntries(menu, data, wrapper);
    const std::string folder = wrapper.menuScripts();
    removeOldScripts(folder);
    int appEntries = 0, helpEntries = 0;
    for (const MenuEntry& entry : menu) {
        host().creation.throwIfRequested();
        if (entry.type == "App" && writeScript(entry, "AppEntry", appEntries + 1, folder)) ++appEntries;
        if (entry.type == "Help" && writeScript(entry, "HelpEntry", helpEntries + 1, folder)) ++helpEntries;
    }
    return true;
}

}  // namespace morvane
