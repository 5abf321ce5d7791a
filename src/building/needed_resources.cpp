#include "building/needed_resources.h"

#include "building/build.h"
#include "building/master_wrapper.h"
#include "building/tools.h"
#include "foundation/localization.h"
#include "foundation/threads.h"
#include "platform/files.h"
#include "platform/host.h"

namespace morvane {

namespace {

enum : std::size_t { masterWrapperRow, homeFolderRow };

NSNeededResourcesWindow::Row rowOf(const char* title, NSNeededResourcesWindow::Status status) {
    return {.title = localized(title),
            .status = status,
            .symbol = NSNeededResourcesWindow::symbolForNumber(status),
            .action = status == NSNeededResourcesWindow::Status::missing ? localized("Double-click to Fix")
                                                                         : localized("Nothing to do")};
}

}  // namespace

NSNeededResourcesWindow::NSNeededResourcesWindow(std::shared_ptr<NSProgressView> progressWindow)
    : progressWindow_(std::move(progressWindow)) {}

void NSNeededResourcesWindow::reloadContents() {
    std::vector<Row> rows{
        rowOf("Caskery Master Wrapper is Updated", caskeryWrapperIsUpdated()),
        rowOf("Home Folder is Writable", isHomeFolderWritable() ? Status::fine : Status::missing)};
    // The front end draws the rows on the main thread.
    static_cast<void>(host().mainQueue.callAndWait([&] { rows_ = std::move(rows); }));
}

NSNeededResourcesWindow::Status NSNeededResourcesWindow::caskeryWrapperIsUpdated() {
    const auto newest = getNewestCaskeryVersion();
    if (!newest) return Status::unknown;
    return getCurrentCaskeryVersion() == newest ? Status::fine : Status::missing;
}

bool NSNeededResourcesWindow::isHomeFolderWritable() {
    return files::isWritable(host().folders.home + "/");
}

std::string NSNeededResourcesWindow::symbolForNumber(Status status) {
    switch (status) {
        case Status::missing:
            return "✕";
        case Status::fine:
            return "✓";
        case Status::unknown:
            break;
    }
    return "?";
}

void NSNeededResourcesWindow::fixRow(std::size_t row) {
    bool isMissing = false;
    static_cast<void>(host().mainQueue.callAndWait(
        [&] { isMissing = row < rows_.size() && rows_[row].status == Status::missing; }));
    if (!isMissing) return;
    if (row == homeFolderRow) {
        MVThread::dispatchBlockInMainQueue([] {
            host().userInterface.openLink(
                "file://" + files::join(host().folders.resources, "home_folder_permissions.html"));
        });
        return;
    }
    // A creation updates the same master wrapper.
    const auto lock = building::lockSupportFolder();
    if (!lock) {
        building::tellOfNoLock();
        return;
    }
    progressWindow_->setMessage(localized("Updating Caskery..."), CreatingPort::no);
    progressWindow_->showCreatingPort(CreatingPort::no);
    Build build(progressWindow_);
    updateCaskery(build);
    progressWindow_->closeCreatingPort(CreatingPort::no);
    reloadContents();
}

}  // namespace morvane
