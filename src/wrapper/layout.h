// wrapper/layout.h: where everything lies in a wrapper and in the shared support folder. Any thread; texts
// only.
#pragma once

#include <string>

namespace morvane {

namespace layout {

// Below a wrapper.
inline constexpr const char* infoPlist = "/Contents/Info.plist";
inline constexpr const char* customExePlist = "/Contents/Info.plist.cexe";
inline constexpr const char* x11Plist = "/Contents/Resources/CKX11Prefs.plist";
inline constexpr const char* resources = "/Contents/Resources";
inline constexpr const char* driveC = "/Contents/Resources/drive_c";
inline constexpr const char* dosdevices = "/Contents/Resources/dosdevices";
inline constexpr const char* menuScripts = "/Contents/Resources/CaskeryMenuScripts";
/// What a sandbox shows as "/tmp"; of this user only, and out of the reach of what runs in it under this name.
inline constexpr const char* sandboxTemporary = "/Contents/SandboxTemporary";
inline constexpr const char* quitScript = "/Contents/Resources/CaskeryMenuScripts/CaskeryQuitScript";
inline constexpr const char* infoStrings = "/Contents/Resources/English.lproj/InfoPlist.strings";
inline constexpr const char* engine = "/Contents/Frameworks/ckwine.bundle";
inline constexpr const char* engineVersion = "/Contents/Frameworks/ckwine.bundle/version";
inline constexpr const char* systemRegistry = "/Contents/Resources/system.reg";
inline constexpr const char* settingsToolResources = "/Caskery.app/Contents/Resources";
inline constexpr const char* customExeTemplate = "/Caskery.app/Contents/Resources/CustomEXE.app";
inline constexpr const char* customExeMark = "/Contents/MacOS/CustomEXE";
inline constexpr const char* boxerPlist = "/Game Info.plist";  ///< below a Boxer bundle
inline constexpr const char* folderIcon = "/.icon.png";        ///< the user's, of a Boxer bundle
inline constexpr const char* backupCki = "/mv_backup.cki";
inline constexpr const char* buildRecord = "/mv_build.plist";     ///< what it was made of
inline constexpr const char* buildSnapshot = "/mv_build.before";  ///< of an unfinished one
inline constexpr const char* descriptionCkii = "/mv_desc.ckii";

// The shared support folder of the wrapper technology, in the library folder of `host()`.
[[nodiscard]] std::string supportFolder();             ///< `Library/Application Support/Caskery`
[[nodiscard]] std::string masterFolder();              ///< its `Wrapper`
[[nodiscard]] std::string enginesFolder();             ///< its `Engines`
[[nodiscard]] std::string applicationSupportFolder();  ///< `Library/Application Support/Morvane`

}  // namespace layout
}  // namespace morvane
