// building/wrapper_menu.h: the wrapper's menu.
#pragma once

#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

class Wrapper;

/// True.
bool saveCaskeryWrapperMenuForPort(const NSPortData& data, const Wrapper& wrapper);

/// The menu list of a port: an entry of the same title is replaced, the new one comes last.
/// `addMenuItemDictionaryOfMenu:withName:andCommand:`.
void addMenuItemDictionaryOfMenu(std::vector<MenuEntry>& menu, const std::string& type,
                                 const std::string& name, const std::string& command);
void addAppMenuItemDictionaryWithName(std::vector<MenuEntry>& menu, const std::string& name,
                                      const std::string& command);
void addHelpMenuItemDictionaryWithName(std::vector<MenuEntry>& menu, const std::string& name,
                                       const std::string& command);

}  // namespace morvane
