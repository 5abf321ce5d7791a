// building/store_clients.h: the store clients that a port can ask for. Any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ports/port_data.h"

namespace morvane {

class Build;
class NSPortManager;
class Wrapper;

/// The proof is relative to drive C. False when the user goes on without the client.
bool installDRM(Build& build, const std::string& client, const std::string& url, const std::string& flags,
                const std::string& neededFile, const std::vector<std::string>& winetricks,
                const NSPortManager& port);
/// The same result; the registry of Origin and Uplay is edited after a successful installation only.
bool installSteamAtPort(Build& build, const NSPortManager& port);
bool installOriginAtPort(Build& build, const NSPortManager& port);
bool installUplayAtPort(Build& build, const NSPortManager& port);
bool installGOGGalaxyAtPort(Build& build, const NSPortManager& port);

}  // namespace morvane

namespace morvane::store_clients {

struct StoreClient {
    std::string name;   ///< as shown
    std::string link;   ///< of the installer; empty where its site is not known
    std::string flags;  ///< for a silent installation
    std::string proof;  ///< under the 32-bit Program Files folder; what shows that it is installed
    std::vector<std::string> components;  ///< Windows components that come first
};

[[nodiscard]] StoreClient steam();
[[nodiscard]] StoreClient origin();
[[nodiscard]] StoreClient uplay();
/// Asks GOG's web page for the version: blocks on the network.
[[nodiscard]] StoreClient gogGalaxy();

/// What the user is told of a client without a link.
[[nodiscard]] std::string noAddressOf(const std::string& client);
/// The path below the wrapper's drive C that shows that the client is installed.
[[nodiscard]] std::string proofOnDriveC(const StoreClient& client, const Wrapper& wrapper);

}  // namespace morvane::store_clients
