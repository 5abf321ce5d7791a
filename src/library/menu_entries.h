// library/menu_entries.h: the items of the library in the desktop's menu. Any thread.
#pragma once

namespace morvane::menu_entries {

/// Brings the menu to the library as it is stored, or empties it where the setting "Menu Entries" is off. Blocks.
/// What cannot be written goes to the log.
void settle();
/// The same, soon and in the background: after each change of the library. One at a time.
void settleLater();

}  // namespace morvane::menu_entries
