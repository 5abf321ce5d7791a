#include "library/moved_apps.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "building/launch_targets.h"
#include "foundation/settings.h"
#include "platform/file_identity.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/wrapper.h"

namespace morvane::moved_apps {

namespace {

using List = std::vector<LocalItem>;

bool isInside(const std::string& path, const std::string& folder) {
    return path.size() > folder.size() + 1 && path.starts_with(folder) && path[folder.size()] == '/';
}

bool isInsideABundle(const std::string& path) {
    return LibraryItem::liesInBundle(path);
}

/// Where the link leads, when that is inside the wrapper, as a path below it; empty for the wrapper itself.
std::optional<std::string> targetInside(const std::string& wrapper, const std::string& link) {
    const auto destination = files::destinationOfLink(link);
    const auto folder = files::resolved(files::parent(wrapper));
    if (!destination || !folder) return std::nullopt;
    const std::string place = files::join(*folder, files::lastComponent(wrapper));
    // The links on the way are followed, so that ".." goes up from where they lead.
    const auto target = files::resolved(
        destination->starts_with('/') ? *destination : files::join(files::parent(link), *destination));
    if (!target) return std::nullopt;
    if (*target == place) return "";
    if (!isInside(*target, place)) return std::nullopt;
    return target->substr(place.size() + 1);
}

/// The only one of the items that fits; null for none and for several.
const LocalItem* onlyOne(const List& items, const auto& fits) {
    const auto first = std::ranges::find_if(items, fits);
    if (first == items.end() || std::find_if(std::next(first), items.end(), fits) != items.end())
        return nullptr;
    return &*first;
}

const LocalItem* sameElsewhere(const LocalItem& item, const List& missing, const List& fresh,
                               const Identities& identities) {
    if (const auto known = identities.find(item.path); known != identities.end()) {
        const auto* same = onlyOne(
            fresh, [&](const LocalItem& other) { return files::identityOf(other.path) == known->second; });
        if (same != nullptr) return same;
    }
    const auto hasTheName = [&](const LocalItem& other) {
        return other.name == item.name && isInsideABundle(other.path) == isInsideABundle(item.path);
    };
    return onlyOne(missing, hasTheName) != nullptr ? onlyOne(fresh, hasTheName) : nullptr;
}

}  // namespace

Identities storedIdentities() {
    Identities identities;
    const auto stored = settings::stored(settings::appIdentities);
    if (const auto* dictionary = stored ? stored->as<Dictionary>() : nullptr) {
        for (const auto& [path, identity] : *dictionary) {
            if (const auto* text = identity.as<std::string>()) identities.emplace(path, *text);
        }
    }
    return identities;
}

void rememberIdentities(const List& items) {
    const Identities before = storedIdentities();
    Identities now;
    for (const LocalItem& item : items) {
        if (const auto identity = files::identityOf(item.path)) {
            now.emplace(item.path, *identity);
        } else if (const auto known = before.find(item.path);
                   known != before.end() && local_items::isMissing(item.path)) {
            now.insert(*known);
        }
    }
    if (now == before) return;
    Dictionary dictionary;
    for (const auto& [path, identity] : now) dictionary.set(path, identity);
    // Not told when it fails: an item that has moved is then known by its name.
    settings::store(settings::appIdentities, Value(std::move(dictionary)));
}

Moves movesOf(const List& list, const List& found, const Identities& identities) {
    List missing, fresh;
    std::ranges::copy_if(list, std::back_inserter(missing),
                         [](const LocalItem& item) { return local_items::isMissing(item.path); });
    std::ranges::copy_if(found, std::back_inserter(fresh), [&](const LocalItem& item) {
        return std::ranges::find(list, item.path, &LocalItem::path) == list.end();
    });
    Moves moves;
    const auto take = [&](const LocalItem& item, const std::string& place) {
        const auto isThere = [&](const LocalItem& other) { return other.path == place; };
        if (std::erase_if(fresh, isThere) > 0) moves.emplace(item.path, place);
    };
    for (const LocalItem& item : missing) {
        // A link follows what it leads to.
        if (isInsideABundle(item.path) || files::kindOf(item.path) == files::Kind::link) continue;
        if (const auto* same = sameElsewhere(item, missing, fresh, identities)) {
            take(item, std::string(same->path));
        }
    }
    for (const LocalItem& item : missing) {
        if (!isInsideABundle(item.path)) continue;
        if (const auto wrapper = moves.find(files::parent(item.path)); wrapper != moves.end()) {
            take(item, files::join(wrapper->second, files::lastComponent(item.path)));
        } else if (const auto* same = sameElsewhere(item, missing, fresh, identities)) {
            take(item, std::string(same->path));
        }
    }
    return moves;
}

std::vector<std::string> deadLinksInto(const std::string& wrapper,
                                       const std::vector<std::string>& appsFolders) {
    if (!wrapper.starts_with('/') || files::kindOf(wrapper) != files::Kind::none) return {};
    std::vector<std::string> folders;
    for (const std::string& folder : appsFolders) folders.push_back(files::parent(folder + "x"));
    const std::string beside = files::parent(wrapper);
    if (std::ranges::any_of(folders, [&](const auto& folder) { return isInside(beside, folder); }))
        folders.push_back(beside);
    std::vector<std::string> links;
    for (const std::string& folder : folders) {
        const auto names = files::list(folder);
        if (!names) continue;
        for (const std::string& name : *names) {
            const std::string path = files::join(folder, name);
            const bool isDead =
                files::kindOf(path) == files::Kind::link && files::kindBehind(path) == files::Kind::none;
            if (isDead && targetInside(wrapper, path) && std::ranges::find(links, path) == links.end())
                links.push_back(path);
        }
    }
    return links;
}

void removeDeadLinksInto(const std::string& wrapper, const std::vector<std::string>& appsFolders) {
    for (const std::string& link : deadLinksInto(wrapper, appsFolders)) {
        static_cast<void>(files::remove(link));
    }
}

Moves moveDeadLinks(const std::string& wrapper, const std::string& newPlace,
                    const std::vector<std::string>& appsFolders) {
    Moves moves;
    for (const std::string& link : deadLinksInto(wrapper, appsFolders)) {
        const std::string name = targetInside(wrapper, link).value_or("");
        const std::string application = files::join(newPlace, name);
        if (name.empty() || name.find('/') != std::string::npos) continue;
        const std::string newLink = files::join(files::parent(newPlace), name);
        const bool isFree = newLink == link || files::kindOf(newLink) == files::Kind::none;
        if (files::kindOf(application) != files::Kind::folder || !isFree || !files::remove(link)) continue;
        createAliasToCustomEXE(application, Wrapper(newPlace));
        moves.emplace(link, newLink);
    }
    return moves;
}

}  // namespace morvane::moved_apps
