#include "building/early_links.h"

#include <set>

#include "building/extra_files.h"
#include "building/store_clients.h"
#include "building/verb_script.h"
#include "building/winetricks_files.h"
#include "building/winetricks_lists.h"
#include "foundation/computer_information.h"
#include "foundation/file_manager.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane::building {

namespace {

void addExtraFiles(const std::vector<ExtraFileEntry>& entries, std::vector<std::string>& links) {
    for (const ExtraFileEntry& entry : entries) {
        if (!extra_files::isDownloaded(entry)) continue;
        // One in the folder of downloads may be used instead.
        const std::string place = files::join(host().folders.downloads, extra_files::fileNameOf(entry));
        if (!entry.autorun || !MVFileManager::fileExistsAtPath(place)) links.push_back(*entry.origin);
    }
}

std::vector<store_clients::StoreClient> clientsOf(const NSPortData& port) {
    std::vector<store_clients::StoreClient> clients;
    if (port.isSteam) clients.push_back(store_clients::steam());
    if (port.isOrigin) clients.push_back(store_clients::origin());
    if (port.isUplay) clients.push_back(store_clients::uplay());
    return clients;
}

/// The components of the port and of its clients, in the order of the build.
std::vector<std::string> componentsOf(const NSPortData& port,
                                      const std::vector<store_clients::StoreClient>& clients) {
    const auto card = NSComputerInformation::graphicCardType();
    std::vector<std::string> components;
    for (const std::string& entry : port.winetricks) {
        if (entry == installAppMarker) continue;
        const verb_script::Request request = verb_script::requestOf(entry, card);
        if (request.applies && request.kind == verb_script::Request::Kind::component)
            components.push_back(request.name);
    }
    for (const auto& client : clients)
        components.insert(components.end(), client.components.begin(), client.components.end());
    return components;
}

}  // namespace

std::vector<std::string> earlyLinksOf(const NSPortData& port) {
    std::vector<std::string> links;
    const auto clients = clientsOf(port);
    const std::string script = files::read(winetricks::sharedScript()).value_or("");
    std::set<std::string> visited;
    for (const std::string& component : componentsOf(port, clients)) {
        winetricks::forEachDownload(script, component, visited,
                                    [&](const verb_script::Download& file, bool byHand) {
                                        const auto place = winetricks::placeInCache(file.folder, file.file);
                                        if (!byHand && place && !MVFileManager::fileExistsAtPath(*place))
                                            links.push_back(file.link);
                                    });
    }
    for (const auto& client : clients) links.push_back(client.link);
    // A GOG Galaxy port gets its game from the client.
    if (!port.isGogGalaxy) addExtraFiles(port.extraFilesBeforeInstaller, links);
    if (!port.isGogGalaxy) addExtraFiles(port.extraFilesAfterInstaller, links);
    return links;
}

}  // namespace morvane::building
