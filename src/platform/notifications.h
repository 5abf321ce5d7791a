// platform/notifications.h: notifications of the desktop (org.freedesktop.Notifications on the session's
// bus). Any thread; failures are silent: without a bus, or without `notify-send`, nothing is shown.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/user_interface.h"

namespace morvane {

class NotificationService {
  public:
    /// Gets what the notification carries, on the main thread.
    using Activated = std::function<void(const std::string& info)>;

    /// Somebody has to wait for the click: without a handler the notification has no action, and `show`
    /// leaves nothing behind that waits. A command that ends at once has none.
    explicit NotificationService(Activated activated = {});
    /// Ends the waiting; the handler is not called any more.
    ~NotificationService();
    NotificationService(const NotificationService&) = delete;
    NotificationService& operator=(const NotificationService&) = delete;

    /// Returns at once. A click on the notification, or on its action, is the activation.
    void show(const Notification& notification);

  private:
    struct Waiting;
    std::shared_ptr<Waiting> waiting_;
};

}  // namespace morvane
