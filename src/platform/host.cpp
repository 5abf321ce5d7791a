#include "platform/host.h"

#include <cassert>
#include <utility>

#include "platform/http.h"
#include "platform/private_folder.h"

namespace morvane {

namespace {

Host* currentHost = nullptr;

}  // namespace

Host::Host(Options options, UserInterface& ui)
    : folders(std::move(options.folders)),
      sites(std::move(options.sites)),
      searchPath(options.searchPath + (options.searchPath.empty() ? "" : ":") + folders.programs),
      notes(std::move(options.notes)),
      texts(std::move(options.texts)),
      userInterface(ui),
      defaults(defaultsFile(folders.library)),
      log(folders.library + "/Library/Logs/Morvane/morvane.log"),
      reachability_(std::move(options.reachability)),
      appsFolders_(std::move(options.appsFolders)),
      previous_(std::exchange(currentHost, this)) {
    for (const std::string& note : notes) log.write(Log::Level::warning, note);
    for (const std::string& folder : {folders.temporary, folders.sharedTemporary, folders.applications})
        files::PrivateFolder::removeLeftovers(folder);
}

Host::~Host() {
    // First of all: a question that a closed queue answers with its default, again and again, would keep the
    // creation for ever, and so would an installer that nobody sees any more.
    creation.shutDown();
    // Whoever waits for the main thread must go on before the queues can be joined.
    mainQueue.close();
    workQueues.joinAll();
    currentHost = previous_;
}

bool Host::isReachable(const std::string& hostName) const {
    return reachability_ ? reachability_(hostName) : isHostReachable(hostName);
}

std::vector<std::string> Host::appsFolders() const {
    return appsFolders_ ? appsFolders_() : std::vector<std::string>();
}

bool hasHost() {
    return currentHost != nullptr;
}

Host& host() {
    assert(currentHost != nullptr);
    return *currentHost;
}

}  // namespace morvane
