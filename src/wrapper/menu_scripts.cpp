#include "wrapper/menu_scripts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <tuple>

#include "foundation/file_manager.h"
#include "platform/files.h"
#include "wrapper/layout.h"

namespace morvane {
namespace {

/// From "AppEntry2--Title".
std::optional<MenuScript> scriptOf(const std::string& file, const std::string& folder) {
    for (const std::string menu : {"App", "Help"}) {
        const std::string start = menu + "Entry";
        if (!file.starts_with(start)) continue;
        int number = 0;
        const auto [end, error] =
            std::from_chars(file.data() + start.size(), file.data() + file.size(), number);
        const std::string rest(end, file.data() + file.size());
        if (error != std::errc() || number < 1 || !rest.starts_with("--")) return std::nullopt;
        return MenuScript{menu, number, rest.substr(2), files::join(folder, file)};
    }
    return std::nullopt;
}

}  // namespace

std::vector<MenuScript> wrapperMenu(const std::string& wrapper) {
    const std::string folder = wrapper + layout::menuScripts;
    std::vector<MenuScript> menu;
    if (!MVFileManager::directoryExistsAtPath(folder)) return menu;
    for (const std::string& name : MVFileManager::contentsOfDirectoryAtPath(folder)) {
        if (auto script = scriptOf(name, folder)) menu.push_back(std::move(*script));
    }
    std::ranges::sort(menu, {},
                      [](const MenuScript& script) { return std::tie(script.menu, script.number); });
    return menu;
}

}  // namespace morvane
