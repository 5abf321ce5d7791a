#include "views/desktop_interface.h"

#include <QApplication>
#include <QWidget>
#include <utility>

#include "foundation/threads.h"
#include "platform/host.h"
#include "platform/workspace.h"
#include "views/dialogs.h"
#include "views/file_panels.h"
#include "views/progress_panel.h"

namespace morvane::views {

namespace {

/// Has the event loop of a question take over: the one around it waits in a piece of work until the question is
/// answered, and has not yet seen when the next timer of the queue is due.
void wakeQueue() {
    host().mainQueue.wake();
}

/// What looks at every process, or starts one, is nothing for the main thread.
void elsewhere(const char* label, std::function<void()> work) {
    MVThread::dispatchQueueWithName(label, Priority::normal, std::move(work));
}

}  // namespace

void DesktopInterface::setMainWindow(QWidget* window, ProgressPanel* panel) {
    mainWindow_ = window;
    progressPanel_ = panel;
    if (panel != nullptr) panel->showState(progress_);
}

void DesktopInterface::setNotificationHandler(NotificationService::Activated activated) {
    notifications_ = std::make_shared<NotificationService>(std::move(activated));
}

QWidget* DesktopInterface::asker() const {
    if (QWidget* question = QApplication::activeModalWidget()) return question;
    if (QWidget* active = QApplication::activeWindow()) return active;
    return mainWindow_;
}

DialogAnswer DesktopInterface::showDialog(const Dialog& dialog) {
    wakeQueue();
    return askUser(dialog, asker());
}

std::vector<std::string> DesktopInterface::chooseFiles(const OpenPanel& panel) {
    wakeQueue();
    return views::chooseFiles(panel, asker());
}

std::optional<std::string> DesktopInterface::chooseSavePath(const SavePanel& panel) {
    wakeQueue();
    return views::chooseSavePath(panel, asker());
}

void DesktopInterface::showProgress(const ProgressState& state) {
    progress_ = state;
    if (progressPanel_) progressPanel_->showState(state);
}

void DesktopInterface::notify(const Notification& notification) {
    // Its picture is decoded for it.
    elsewhere("app.morvane.notify",
              [service = notifications_, notification] { service->show(notification); });
}

void DesktopInterface::openLink(const std::string& url) {
    elsewhere("app.morvane.openLink", [url] { workspace::openLink(url); });
}

void DesktopInterface::openPath(const std::string& path) {
    elsewhere("app.morvane.openPath", [path] { workspace::openPath(path); });
}

void DesktopInterface::revealPath(const std::string& path) {
    elsewhere("app.morvane.revealPath", [path] { workspace::revealPath(path); });
}

void DesktopInterface::launchBundle(const std::string& path) {
    elsewhere("app.morvane.launchBundle", [path] { static_cast<void>(workspace::launchBundle(path)); });
}

void DesktopInterface::bringToFront(const std::string& pathPrefix) {
    elsewhere("app.morvane.bringToFront", [pathPrefix] { workspace::bringToFront(pathPrefix); });
}

}  // namespace morvane::views
