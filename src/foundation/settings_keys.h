// foundation/settings_keys.h: the keys of the application's settings, with the reading of an absent one.
#pragma once

namespace morvane::settings {

// The library.
inline constexpr const char* appList = "App List";  ///< list of "Name" and "Path"; absent: never made
/// Dictionary: by path, what an item of the library is known by after it was moved; absent: never made.
inline constexpr const char* appIdentities = "App Identities";
/// List of apps folders, each ending in "/"; a single text in its older form.
inline constexpr const char* mainFolder = "Main Folder";
/// Integer, 0 by name, 1 by size; absent: the user's own order.
inline constexpr const char* autoOrderAppsList = "Auto-order Apps List";
inline constexpr const char* automaticFolderSave = "Automatic Folder Save";  ///< boolean; absent: no
inline constexpr const char* useOldLibrary = "Use old Library";              ///< boolean; absent: no
inline constexpr const char* hideDockInGridView = "Hide Dock in Grid View";  ///< boolean; absent: no
/// Real, by which the grid is reduced; absent or 0: 1.
inline constexpr const char* collectionViewIconsScale = "Collection View Icons Scale";

// Texts and looks.
inline constexpr const char* descriptionFontSize = "Description Font Size";           ///< points; absent: 0
inline constexpr const char* webViewIncreaseTextSize = "WebView increase text size";  ///< steps; absent: 0
inline constexpr const char* useVibrantDarkStyle = "Use Vibrant Dark Style";          ///< boolean; absent: no
inline constexpr const char* webAutomaticSpellingCorrection = "WebAutomaticSpellingCorrectionEnabled";

// Start-up, reports and updates.
inline constexpr const char* developerMode = "Developer Mode";  ///< boolean; absent: no
inline constexpr const char* automaticallySendCrashLogs =
    "Automatically Send Crash Logs";                                        ///< boolean; absent: yes
inline constexpr const char* lastFoundCrashLog = "Last Found Crash Log";    ///< text: a file's name
inline constexpr const char* offeredGamesFolder = "Offered Games folder";   ///< boolean; absent: no
inline constexpr const char* lastRunningDay = "Last running day";           ///< date
inline constexpr const char* runningDaysCounter = "Running days counter";   ///< integer; absent: 0
inline constexpr const char* automaticUpdates = "SUEnableAutomaticChecks";  ///< boolean; absent: yes
inline constexpr const char* lastUpdateCheck = "Last update check";         ///< date

/// Real: the seconds that making a prefix took last, for the bar of the next one.
inline constexpr const char* prefixCreationTime = "Prefix Creation Time";

/// Base addresses that replace the embedded site and catalogue; the environment goes before them.
inline constexpr const char* caskerySite = "Caskery Site";
inline constexpr const char* catalogueSite = "Catalogue Site";

}  // namespace morvane::settings
