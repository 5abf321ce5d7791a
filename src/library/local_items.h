// library/local_items.h: what is installed, by its paths, and the folders in which it is looked for. Any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/value.h"

namespace morvane {

/// Something installed: a wrapper, a program's launcher inside one, a native application or a Boxer bundle.
struct LocalItem {
    std::string name, path;
    bool operator==(const LocalItem&) const = default;
};

/// The games folder in the applications folder.
inline constexpr const char* gamesFolderName = "Games.localized/";

enum class CustomEXE { no, yes };
namespace local_items {

/// The item at a path, by the name that it shows.
[[nodiscard]] LocalItem generateDictionaryForWrapper(const std::string& path, CustomEXE isCustomEXE);
/// The launchers in a wrapper, by name.
[[nodiscard]] std::vector<LocalItem> checkForCustomEXEsInWrapper(const std::string& wrapper);
/// Whether nothing lies at an item's path any more; also for a link that leads nowhere.
[[nodiscard]] bool isMissing(const std::string& path);

/// The list that a value of the setting "App List" holds; nothing when it holds none. Entries without a path are none.
[[nodiscard]] std::optional<std::vector<LocalItem>> listOf(const std::optional<Value>& stored);
/// The library as it is stored; nothing before the first scan.
[[nodiscard]] std::optional<std::vector<LocalItem>> storedList();
/// The same; empty before the first scan.
[[nodiscard]] std::vector<LocalItem> storedItems();
/// The apps folders as the setting has them, each ending in "/"; a missing or older form is replaced
/// first.
[[nodiscard]] std::vector<std::string> validAppsFolders();

}  // namespace local_items
}  // namespace morvane
