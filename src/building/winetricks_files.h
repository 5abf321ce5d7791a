// building/winetricks_files.h: the places of the Winetricks script and of its download cache, and what the
// stages of the Windows components share. Any thread; nothing here changes the disk but `fetchFilesOf`.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "building/verb_script.h"
#include "platform/result.h"

namespace morvane {

class Build;
class Wrapper;

enum class WithoutAsking { no, yes };

/// Fetches what the component, and all that it calls, will download.
void manuallyDownloadWinetrick(Build& build, const std::string& component, const Wrapper& wrapper);
/// The ordinary downloads in a component's text.
void downloadWDownloadWinetrick(Build& build, const std::string& component, const std::string& raw);
/// The first manual download in a component's text.
void downloadWDownloadManualWinetrick(Build& build, const std::string& component, const std::string& raw);
/// The downloads of a helper function, out of the whole script.
void downloadHelperWinetrick(Build& build, const std::string& helper, const std::string& raw);
void downloadFileFromMorvaneWebsiteToWinetrick(Build& build, const std::string& file,
                                               const std::string& component);
/// Deletes a file whose sum is another one. The completion gets whether it is to be downloaded again,
/// which the user decides unless `WithoutAsking::yes`.
void compareSHA1Checksum(const std::string& expected, const std::string& file,
                         WithoutAsking promptingErrorDialog,
                         const std::function<void(bool again)>& completion);
/// The component's folder of the download cache, made if needed, with "/" at its end; nothing for a name
/// that is no folder's name, which is reported.
[[nodiscard]] std::optional<std::string> localFolderForWinetrick(const std::string& component);

}  // namespace morvane

namespace morvane::winetricks {

/// How often the downloads of a component, or of a helper, are handled again from the start because a sum is
/// wrong for the web archive's copy, or for the user's own, as well. Then the user is told, and the
/// installation goes on without the file.
inline constexpr int checksumRetries = 3;
/// How often the user is asked for a file that he has to fetch himself, before the installation goes on
/// without it: answers that are given in advance would go on for ever.
inline constexpr int manualDownloadQuestions = 20;

/// The last good script, shared by all wrappers.
[[nodiscard]] std::string sharedScript();
/// A script as its source has it, and the address that it came from: none for the shared copy.
struct Script {
    std::string bytes;
    std::string link;
};
/// The first valid script of the three sources, which are asked in their order; blocks on the network.
[[nodiscard]] std::optional<Script> scriptWithSource();

/// The link in the words of an engine change; nothing without one that could be followed.
[[nodiscard]] std::optional<std::string> linkOfEngineRequest(const std::vector<std::string>& words);

/// Winetricks' own download cache.
[[nodiscard]] std::string cacheFolder();

/// The place of a file in the cache, or why its folder's or its own name can't be used. Nothing is created.
[[nodiscard]] Result<std::string> placeInCache(const std::string& folder, const std::string& file);
/// A file that the catalogue server supplies.
[[nodiscard]] verb_script::Download fromCatalogue(const std::string& component, const std::string& file);
/// The web archive's copy of what the link leads to.
[[nodiscard]] std::string archiveAddressOf(const std::string& link);

/// Everything that the component, and all that it calls, will want in the cache, in the order in which it is
/// fetched: with its address, and whether the user has to fetch it himself. What is in `visited` is left out.
void forEachDownload(std::string_view script, const std::string& component, std::set<std::string>& visited,
                     const std::function<void(const verb_script::Download& download, bool byHand)>& work);

/// `manuallyDownloadWinetrick:AtFile:` for one of several components: what is in `visited` has been fetched.
void fetchFilesOf(Build& build, const std::string& component, const Wrapper& wrapper,
                  std::set<std::string>& visited);

}  // namespace morvane::winetricks
