// platform/desktop_menu.h: entries of our own in the desktop's menu of applications. Any thread; blocks.
//
// Source: freedesktop.org on desktop entries (1.5), icon themes (0.13) and shared MIME information.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/result.h"

namespace morvane::desktop_menu {

struct MenuEntry {
    std::string id;  ///< of its files: "app.morvane.item.<digits>"
    std::string name;
    /// Programs with their arguments; an empty one has no action.
    std::vector<std::string> play, stop;
    std::string needs;  ///< a program without which the desktop does not show the entry
    /// By the edge in pixels: PNG files. Empty: those that are there stay.
    std::map<int, std::string> icons;
    std::string iconMark;  ///< what the icons were made of
    /// Files that open in it: their endings without a dot, and the program that a file's path is put behind.
    std::vector<std::string> extensions, open;
};

/// Beginning of the IDs.
inline constexpr const char* idStart = "app.morvane.item.";

/// Whether a desktop can start something with these arguments: no text of an entry holds a line break.
[[nodiscard]] bool canBeStarted(const std::vector<std::string>& command);
/// The text of its file, with a sum by which a change by the user is seen.
[[nodiscard]] std::string textOf(const MenuEntry& entry);
/// The icon mark of the entry that is there; empty without one.
[[nodiscard]] std::string iconMarkOf(const std::string& dataFolder, const std::string& id);

enum class Changed { nothing, entries, types };
/// Makes the entries below the folder (`$XDG_DATA_HOME`) these: missing ones come, others of ours go with their icons.
/// What the user has changed, and what is none of ours, stays as it is.
[[nodiscard]] Result<Changed> set(const std::string& dataFolder, const std::vector<MenuEntry>& entries);

}  // namespace morvane::desktop_menu
