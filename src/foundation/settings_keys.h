// foundation/settings_keys.h: the keys of the application's settings.
#pragma once

namespace morvane::settings {

inline constexpr const char* appList = "App List";
inline constexpr const char* mainFolder = "Main Folder";
inline constexpr const char* useOldLibrary = "Use old Library";

}  // namespace morvane::settings
