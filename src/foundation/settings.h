// foundation/settings.h: the application's settings: the one table of their keys, and typed access. Any thread;
// of the host's defaults store.
//
// A value of another type is read as the platform reads it: a flag is a number other than 0, true, or a text
// that begins like one or with Y or T; a number is a text's leading digits, the whole part of a real, or a flag's
// 0 or 1.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/localization.h"
#include "platform/value.h"

namespace morvane::settings {

enum class Kind {
    boolean,
    flag,  ///< a boolean stored as 0 or 1
    integer,
    real,
    text,
    date,
    folders,  ///< a list of folders that end in "/"; a single text in its older form
    library,  ///< kept by the application
};

/// What a setting is called, holds and is for.
struct Setting {
    const char* key;
    Kind kind;
    const char* meaning;               ///< empty for one that is not shown
    double fallback = 0;               ///< of a missing flag or number
    std::int64_t least = 0, most = 1;  ///< of an integer
    bool isWrittenAtFirst = false;     ///< the preferences store the fallback when there is nothing
};
/// A setting whose values are read as a `T`: bool, std::int64_t, double, std::string, Date or Value.
template <class T>
struct Key : Setting {};

// The library.
inline constexpr Key<Value> appList{{"App List", Kind::library, marked("the library, in its order")}};
/// By path, what an item of the library is known by after it was moved.
inline constexpr Key<Value> appIdentities{{"App Identities", Kind::library, ""}};
inline constexpr Key<Value> mainFolder{
    {"Main Folder", Kind::folders,
     marked("the apps folders; the first that can be written to gets new ports")}};
/// Missing: the user's own order.
inline constexpr Key<std::int64_t> autoOrderAppsList{
    {"Auto-order Apps List", Kind::integer, marked("the order kept in the library: 0 by name, 1 by size")}};
inline constexpr Key<bool> automaticFolderSave{
    {"Automatic Folder Save", Kind::flag,
     marked("new ports go to the first apps folder without a question")}};
inline constexpr Key<bool> menuEntries{
    {"Menu Entries", Kind::flag, marked("games stand in the desktop's menu"), 1}};
inline constexpr Key<bool> useOldLibrary{{.key = "Use old Library",
                                          .kind = Kind::boolean,
                                          .meaning = marked("the library as a list instead of a grid"),
                                          .isWrittenAtFirst = true}};
inline constexpr Key<bool> hideDockInGridView{{.key = "Hide Dock in Grid View",
                                               .kind = Kind::flag,
                                               .meaning = marked("no shelf under the grid"),
                                               .isWrittenAtFirst = true}};
inline constexpr Key<double> collectionViewIconsScale{
    {"Collection View Icons Scale", Kind::real, marked("by what the grid is reduced"), 1}};

// Texts and looks.
inline constexpr Key<std::int64_t> descriptionFontSize{
    {"Description Font Size", Kind::integer, marked("size of descriptions in points"), 12, 1, 288, true}};
inline constexpr Key<std::int64_t> webViewIncreaseTextSize{
    {"WebView increase text size", Kind::integer, marked("steps by which web pages show larger text"), 0, 0,
     20, true}};
/// By the title of a file panel, the folder that was chosen in last.
inline constexpr Key<Value> panelFolders{{"Panel Folders", Kind::library, ""}};
inline constexpr Key<bool> useVibrantDarkStyle{
    {"Use Vibrant Dark Style", Kind::boolean, marked("dark windows")}};
inline constexpr Key<bool> webAutomaticSpellingCorrection{
    {"WebAutomaticSpellingCorrectionEnabled", Kind::boolean,
     marked("web pages correct the spelling by themselves")}};

// Start-up, reports and updates.
inline constexpr Key<bool> developerMode{
    {.key = "Developer Mode",
     .kind = Kind::flag,
     .meaning = marked("the catalogue lists what is meant for developers"),
     .isWrittenAtFirst = true}};
inline constexpr Key<bool> automaticallySendCrashLogs{
    {"Automatically Send Crash Logs", Kind::flag,
     marked("look for crash reports at the start, and send them"), 1, 0, 1, true}};
/// A file's name.
inline constexpr Key<std::string> lastFoundCrashLog{
    {"Last Found Crash Log", Kind::text, marked("the crash report that was sent last")}};
inline constexpr Key<bool> offeredGamesFolder{
    {"Offered Games folder", Kind::flag, marked("the games folder was offered")}};
inline constexpr Key<Date> lastRunningDay{
    {"Last running day", Kind::date, marked("the last day on which the application ran")}};
inline constexpr Key<std::int64_t> runningDaysCounter{{"Running days counter", Kind::integer,
                                                       marked("days on which the application ran"), 0, 0,
                                                       1'000'000'000}};
inline constexpr Key<bool> automaticUpdates{
    {"SUEnableAutomaticChecks", Kind::flag, marked("look for a newer version of the application, once a day"),
     1, 0, 1, true}};
inline constexpr Key<Date> lastUpdateCheck{
    {"Last update check", Kind::date, marked("the last day on which a newer version was looked for")}};
inline constexpr Key<double> prefixCreationTime{
    {"Prefix Creation Time", Kind::real,
     marked("seconds that making a prefix took last, for the bar of the next one")}};

// The sandboxes of wrappers (wrapper/sandbox.h).
/// Missing: the machine decides.
inline constexpr Key<std::string> newWrapperSandbox{
    {"New Wrapper Sandbox", Kind::text,
     marked("the sandbox of new wrappers: off, home or strict; none: home where it works")}};
inline constexpr Key<bool> runWithoutSandbox{
    {"Run Without Sandbox", Kind::flag,
     marked("where no sandbox can be made, wrappers that want one run without")}};
inline constexpr Key<bool> toldOfSandbox{
    {"Told of Sandbox", Kind::flag, marked("the sandbox of new wrappers was told")}};

// Base addresses that replace the embedded site and catalogue; the environment goes before them.
inline constexpr Key<std::string> caskerySite{
    {"Caskery Site", Kind::text, marked("address of the engines and wrappers; none: the embedded site")}};
inline constexpr Key<std::string> catalogueSite{
    {"Catalogue Site", Kind::text, marked("address of the catalogue; none: the embedded one")}};

/// Every setting that is shown, in the order in which they are listed.
[[nodiscard]] std::span<const Setting* const> all();

/// As it is stored, whatever its type.
[[nodiscard]] std::optional<Value> stored(const Setting& setting);
/// The absolute paths among the texts of a `folders` setting; none when it is missing.
[[nodiscard]] std::vector<std::string> storedFolders(const Setting& setting);
/// Stores the value, or removes the key. False when the file could not be written.
bool store(const Setting& setting, const std::optional<Value>& value);
/// As `DefaultsStore::update`.
bool update(const Setting& setting,
            const std::function<std::optional<Value>(const std::optional<Value>&)>& change);

[[nodiscard]] bool get(const Key<bool>& key);
[[nodiscard]] std::int64_t get(const Key<std::int64_t>& key);
/// A number that is 0 or less, or none, counts as missing.
[[nodiscard]] double get(const Key<double>& key);
/// Empty for a missing one.
[[nodiscard]] std::string get(const Key<std::string>& key);

/// Nothing for a missing one.
template <class T>
[[nodiscard]] std::optional<T> find(const Key<T>& key) {
    return stored(key) ? std::optional<T>(get(key)) : std::nullopt;
}

// False when the file could not be written.
bool set(const Key<bool>& key, bool on);
bool set(const Key<std::int64_t>& key, std::int64_t number);
bool set(const Key<double>& key, double number);
bool set(const Key<std::string>& key, const std::string& text);
template <class T>
bool remove(const Key<T>& key) {
    return store(key, std::nullopt);
}

}  // namespace morvane::settings
