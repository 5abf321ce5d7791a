// platform/host.h: the machine as one object: its services, and every process-wide cache and lock.
//
// `main` builds one before anything else, each test builds its own; it is the only mutable global. The thread
// that builds it is the main thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/annotations.h"
#include "platform/cancellation.h"
#include "platform/defaults_store.h"
#include "platform/folders.h"
#include "platform/log.h"
#include "platform/main_queue.h"
#include "platform/message_catalogue.h"
#include "platform/sites.h"
#include "platform/user_interface.h"
#include "platform/value.h"
#include "platform/work_queues.h"

namespace morvane {

class BuildLog;
class NSGameData;
struct PictureFormats;

/// A cache with its lock. `mutex` is held while `value` is read, or filled.
template <class T>
struct Cache {
    Mutex mutex;
    T value MV_GUARDED_BY(mutex){};
};

/// The hardware values, each computed once.
struct HardwareValues {
    std::optional<Dictionary> graphicCard;
    std::optional<std::string> graphicCardType;
    bool graphicCardTypeKnown = false;
    std::optional<std::string> macOsVersion;
};

class Host {
  public:
    struct Options {
        Folders folders;
        Sites sites;
        std::string searchPath;  ///< `PATH`; the programs folder is added at its end
        MessageCatalogue texts;  ///< in the user's language
        /// What the user is to be told first of all, line by line.
        std::vector<std::string> notes;
        /// Stands in for `isHostReachable` where set.
        std::function<bool(const std::string& host)> reachability;
        /// Where set, folders of the user's that are never removed, beside those of `Folders`; asked for anew by
        /// each removal, on its thread.
        std::function<std::vector<std::string>()> appsFolders;
    };

    Host(Options options, UserInterface& userInterface);
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    const Folders folders;
    Sites sites;
    const std::string searchPath;
    const std::vector<std::string> notes;  ///< of the options; a front end tells them when it can
    const MessageCatalogue texts;
    UserInterface& userInterface;
    MainQueue mainQueue;
    WorkQueues workQueues;
    Cancellation creation;
    DefaultsStore defaults;
    Log log;

    [[nodiscard]] bool isReachable(const std::string& hostName) const;
    /// The apps folders of the user's settings; none where nobody knows them.
    [[nodiscard]] std::vector<std::string> appsFolders() const;

    std::atomic<const PictureFormats*> pictureFormats = nullptr;  ///< once loaded
    Cache<std::map<std::string, std::string>> programPaths;
    Cache<std::vector<std::string>> engineCatalogue;
    Cache<std::optional<std::string>> newestMasterWrapper;
    Cache<HardwareValues> hardware;
    Cache<std::shared_ptr<BuildLog>> buildLog;  ///< of the last creation
    /// The catalogue's entries by ID, until its list is refreshed.
    Cache<std::map<std::int64_t, std::shared_ptr<NSGameData>>> serverAppsBuffer;
    /// By description file: the state in which it was read, and the ID in it.
    Cache<std::map<std::string, std::pair<std::string, std::int64_t>>> gameIdentifiers;
    /// The indexes of catalogues that are plain files, by base address.
    Cache<std::map<std::string, std::string>> staticCatalogues;

  private:
    std::function<bool(const std::string&)> reachability_;
    std::function<std::vector<std::string>()> appsFolders_;
    Host* previous_;
};

/// Whether there is one: the programs of a wrapper work without.
[[nodiscard]] bool hasHost();
/// The machine of this process.
[[nodiscard]] Host& host();

}  // namespace morvane
