#include "library/local_items.h"

#include "foundation/file_manager.h"
#include "foundation/settings.h"
#include "platform/files.h"
#include "platform/host.h"
#include "wrapper/port_manager.h"
#include "wrapper/wrapper.h"

namespace morvane::local_items {

namespace {

using List = std::vector<LocalItem>;

std::string nameFromPath(const std::string& path) {
    return files::withoutExtension(files::lastComponent(path));
}

}  // namespace

LocalItem generateDictionaryForWrapper(const std::string& path, CustomEXE isCustomEXE) {
    if (isCustomEXE == CustomEXE::no && !LibraryItem::isBoxerName(path)) {
        const auto name = bundleNameOf(path);
        if (name && !name->empty()) return {*name, path};
    }
    return {nameFromPath(path), path};
}

List checkForCustomEXEsInWrapper(const std::string& wrapper) {
    List launchers;
    const auto names = files::list(wrapper);
    if (!names) return launchers;
    for (const std::string& name : *names) {
        const std::string path = files::join(wrapper, name);
        if (!LibraryItem(path).isCustomEXE()) continue;
        launchers.push_back(generateDictionaryForWrapper(path, CustomEXE::yes));
    }
    return launchers;
}

bool isMissing(const std::string& path) {
    return files::kindBehind(path) == files::Kind::none;
}

std::optional<List> listOf(const std::optional<Value>& stored) {
    const Array* entries = stored ? stored->as<Array>() : nullptr;
    if (entries == nullptr) return std::nullopt;
    List list;
    for (const Value& entry : *entries) {
        const auto* dictionary = entry.as<Dictionary>();
        const auto* path = dictionary != nullptr ? dictionary->get<std::string>("Path") : nullptr;
        if (path == nullptr) continue;
        const auto* name = dictionary->get<std::string>("Name");
        list.push_back({name != nullptr ? *name : nameFromPath(*path), *path});
    }
    return list;
}

std::optional<List> storedList() {
    return listOf(settings::stored(settings::appList));
}

List storedItems() {
    return storedList().value_or(List{});
}

std::vector<std::string> validAppsFolders() {
    const std::string applications = host().folders.applications + "/";
    const auto setting = settings::stored(settings::mainFolder);
    if (const Array* stored = setting ? setting->as<Array>() : nullptr) {
        std::vector<std::string> folders;
        for (const Value& folder : *stored) {
            const auto* text = folder.as<std::string>();
            if (text != nullptr && text->starts_with('/')) folders.push_back(withFinalSlash(*text));
        }
        return folders;
    }
    std::vector<std::string> folders{applications};
    const std::string games = applications + gamesFolderName;
    if (MVFileManager::directoryExistsAtPath(games)) folders.insert(folders.begin(), games);
    settings::store(settings::mainFolder, Array(folders.begin(), folders.end()));
    return folders;
}

}  // namespace morvane::local_items
