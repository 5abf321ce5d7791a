// building/winetricks.h: the places of the Winetricks script and of its download cache, and what the stages
// of the Windows components share. Any thread; nothing here changes the disk but `fetchFilesOf`.
#pragma once

#include <set>
#include <string>

#include "building/verb_script.h"
#include "platform/result.h"

namespace morvane {
class WrapperCreation;
}

namespace morvane::winetricks {

/// How often the downloads of a component, or of a helper, are handled again from the start because a sum is
/// wrong for the web archive's copy, or for the user's own, as well. Then the user is told, and the
/// installation goes on without the file.
inline constexpr int checksumRetries = 3;
/// How often the user is asked for a file that he has to fetch himself, before the installation goes on
/// without it: answers that are given in advance would go on for ever.
inline constexpr int manualDownloadQuestions = 20;

[[nodiscard]] std::string scriptOf(const std::string& wrapper);
/// The last good script, shared by all wrappers.
[[nodiscard]] std::string sharedScript();
/// Winetricks' own download cache.
[[nodiscard]] std::string cacheFolder();

/// The place of a file in the cache, or why its folder's or its own name can't be used. Nothing is created.
[[nodiscard]] Result<std::string> placeInCache(const std::string& folder, const std::string& file);
/// Whether the link may be followed: http, https or ftp with a host. A script has no business with others.
[[nodiscard]] bool isWebLink(const std::string& link);
/// The address of a file that the catalogue server supplies.
[[nodiscard]] std::string catalogueAddressOf(const std::string& component, const std::string& file);
/// The web archive's copy of what the link leads to.
[[nodiscard]] std::string archiveAddressOf(const std::string& link);

/// `manuallyDownloadWinetrick:AtFile:` for one of several components: what is in `visited` has been fetched.
void fetchFilesOf(WrapperCreation& creation, const std::string& component, const std::string& wrapper,
                  std::set<std::string>& visited);

}  // namespace morvane::winetricks
