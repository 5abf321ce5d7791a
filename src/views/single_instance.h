// views/single_instance.h: one process a library: a second start hands what it was given to the first. Main thread.
//
// The library's home decides what "the same application" is: two processes with different `MORVANE_HOME` know
// nothing of each other. A lock in this user's runtime folder (`$XDG_RUNTIME_DIR/morvane`, else `instance` in the
// application's cache), named after the home, settles who is first, also of two that start at once; it ends with its
// process. The first listens on a socket beside the lock and, with the user's ordinary home only (no
// `MORVANE_HOME`), owns `app.morvane.Morvane` on the session's bus: what the desktop opens by that name is for
// the user's own library. A second start speaks over the bus where the name has an owner, else over the socket.
#pragma once

#include <QObject>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/folders.h"
#include "views/application_bus.h"
#include "views/instance_socket.h"
#include "views/start_request.h"

namespace morvane::views {

class SingleInstance : public QObject {
    Q_OBJECT
  public:
    struct Options {
        std::string home;        ///< of the library
        std::string folder;      ///< for lock and socket; made when it is missing, and only for this user
        std::string busAddress;  ///< empty: no bus, or not for this home
        std::chrono::milliseconds patience{10'000};  ///< with a first process that does not answer

        [[nodiscard]] static Options ofProcess(const Folders& folders);
    };
    enum class Role { first, second };
    using Handler = std::function<void(const StartRequest&)>;

    explicit SingleInstance(Options options);
    /// The next start is the first: to be destroyed when nothing of this process touches the library any more.
    ~SingleInstance() override;

    /// Once. `second`: the first process has taken the request, and this one has nothing more to do. A failure:
    /// there is a first process, and it has not answered in time or does not understand. Without a request
    /// (started by the bus, which brings one itself) a second has nothing to say.
    [[nodiscard]] Result<Role> begin(const std::optional<StartRequest>& request);
    /// What keeps others from reaching this first process; nothing when all is well.
    [[nodiscard]] const std::optional<Failure>& trouble() const { return trouble_; }

    /// Gets the request of `begin`, those that have come meanwhile, and all later ones, each from the event
    /// loop: the other start does not wait for what it does. Nobody with an empty handler.
    void setHandler(Handler handler);
    /// This process ends: a start from now on waits for that, and is first then.
    void stop();

  private:
    /// False when another process has the name on the bus.
    bool becomeFirst();
    [[nodiscard]] Delivery deliver(const StartRequest& request, const std::string& message,
                                   std::chrono::milliseconds limit) const;
    void receive(const StartRequest& request);
    void handOn();

    const Options options_;
    const std::string name_;  ///< of lock and socket, without an ending
    std::optional<Failure> trouble_;
    std::optional<files::Lock> lock_;  // outlives what it guards
    std::unique_ptr<InstanceSocket> socket_;
    std::unique_ptr<ApplicationBus> bus_;
    std::vector<StartRequest> waiting_;
    Handler handler_;
};

}  // namespace morvane::views
