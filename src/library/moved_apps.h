// library/moved_apps.h: what has become of items that are no longer where the library has them. Any thread.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "library/apps_array.h"

namespace morvane::moved_apps {

/// By path, what an item is known by at another place.
using Identities = std::map<std::string, std::string>;
/// By the path in the library, the path at which the item lies now.
using Moves = std::map<std::string, std::string>;

/// As they were stored last.
[[nodiscard]] Identities storedIdentities();
/// Stores those of the items; of missing items, what was known before.
void rememberIdentities(const std::vector<LocalItem>& items);

/// The missing items of the list that are among the found ones: by their identity, else as the only ones of
/// their name on both sides. What lay inside a wrapper has moved with it.
[[nodiscard]] Moves movesOf(const std::vector<LocalItem>& list, const std::vector<LocalItem>& found,
                            const Identities& identities);

/// The links that led to the wrapper or into it, which is gone from its place, and now lead nowhere: in the apps
/// folders, and beside the wrapper where that is below one. None while anything lies at the wrapper's place.
[[nodiscard]] std::vector<std::string> deadLinksInto(const std::string& wrapper,
                                                     const std::vector<std::string>& appsFolders);
/// Removes them; nothing that a link leads to is touched.
void removeDeadLinksInto(const std::string& wrapper, const std::vector<std::string>& appsFolders);
/// The same for a wrapper that lies elsewhere now: its applications get links beside it instead. The links as
/// moves.
Moves moveDeadLinks(const std::string& wrapper, const std::string& newPlace,
                    const std::vector<std::string>& appsFolders);

}  // namespace morvane::moved_apps
