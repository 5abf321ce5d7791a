// views/desktop_interface.h: the user interface of the desktop: dialogs, file panels, progress, notifications.
// Main thread.
//
// A question runs an event loop of its own until it is answered. Work of the main queue goes on meanwhile, and
// may ask more: its questions lie over this one, and are answered first.
#pragma once

#include <QPointer>
#include <functional>
#include <memory>
#include <string>

#include "platform/notifications.h"
#include "platform/user_interface.h"

class QWidget;

namespace morvane::views {

class ProgressPanel;

class DesktopInterface : public UserInterface {
  public:
    DesktopInterface() = default;

    /// Over which window questions are asked that no other window asks, and where progress is shown. Before
    /// that, and once they are gone, questions have windows of their own and progress is not shown. The last
    /// state is shown at once.
    void setMainWindow(QWidget* window, ProgressPanel* panel);
    /// Gets clicks on notifications from now on, with what they carry; with an empty handler nobody does.
    void setNotificationHandler(NotificationService::Activated activated);

    DialogAnswer showDialog(const Dialog& dialog) override;
    std::vector<std::string> chooseFiles(const OpenPanel& panel) override;
    std::optional<std::string> chooseSavePath(const SavePanel& panel) override;
    void showProgress(const ProgressState& state) override;
    void notify(const Notification& notification) override;
    void openLink(const std::string& url) override;
    void openPath(const std::string& path) override;
    void revealPath(const std::string& path) override;
    void launchBundle(const std::string& path) override;
    void bringToFront(const std::string& pathPrefix) override;

  private:
    /// The window over which to ask now.
    [[nodiscard]] QWidget* asker() const;

    QPointer<QWidget> mainWindow_;
    QPointer<ProgressPanel> progressPanel_;
    ProgressState progress_;
    std::shared_ptr<NotificationService> notifications_ = std::make_shared<NotificationService>();
};

}  // namespace morvane::views
