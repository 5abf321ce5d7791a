// foundation/settings_keys.h: the keys of the application's settings.
#pragma once

namespace morvane::settings {

inline constexpr const char* appList = "App List";
inline constexpr const char* mainFolder = "Main Folder";
inline constexpr const char* useOldLibrary = "Use old Library";
/// Base addresses that replace the embedded site and catalogue; the environment goes before them.
inline constexpr const char* caskerySite = "Caskery Site";
inline constexpr const char* catalogueSite = "Catalogue Site";

}  // namespace morvane::settings
