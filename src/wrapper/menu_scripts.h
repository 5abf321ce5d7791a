// wrapper/menu_scripts.h: the menu that a wrapper carries, a script for each entry. Any thread.
#pragma once

#include <string>
#include <vector>

namespace morvane {

struct MenuScript {
    std::string menu;  ///< "App" or "Help"
    int number;        ///< its place in that menu
    std::string name;  ///< its title
    std::string path;
};

/// The entries in their order, those of the application first. Empty without a menu.
[[nodiscard]] std::vector<MenuScript> wrapperMenu(const std::string& wrapper);

}  // namespace morvane
