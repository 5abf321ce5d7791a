// views/instance_socket.h: the socket through which a second start speaks to the first. The server: main thread; `sendTo`: any.
//
// It lies in a folder that only this user can enter; a program of another user that got hold of it all the same
// is turned away. A message that does not end, or is none, has no effect.
#pragma once

#include <QLocalServer>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "platform/descriptor.h"
#include "platform/result.h"
#include "views/start_request.h"

class QLocalSocket;

namespace morvane::views {

/// `nobody`: none listens there, or it has ended meanwhile. `refused`: the other does not understand it.
/// `silent`: the other has not taken it in time.
enum class Delivery { taken, nobody, refused, silent };

class InstanceSocket {
  public:
    using Received = std::function<void(const StartRequest&)>;

    /// Listens in the folder under the name, in place of a socket that a process has left behind there: the
    /// caller has made sure that nobody else listens. Each request is given once, from the event loop.
    [[nodiscard]] static Result<std::unique_ptr<InstanceSocket>> listen(const std::string& folder,
                                                                        const std::string& name,
                                                                        Received received);
    /// Nobody can connect any more.
    ~InstanceSocket();
    InstanceSocket(const InstanceSocket&) = delete;
    InstanceSocket& operator=(const InstanceSocket&) = delete;

    /// Blocks until the other has answered, no longer than the limit.
    [[nodiscard]] static Delivery sendTo(const std::string& folder, const std::string& name,
                                         const std::string& message, std::chrono::milliseconds limit);

  private:
    InstanceSocket(Descriptor folder, std::string name, Received received);
    void take(QLocalSocket* socket);
    void read(QLocalSocket* socket);

    const Descriptor folder_;
    const std::string name_;
    const Received received_;
    QLocalServer server_;
};

}  // namespace morvane::views
