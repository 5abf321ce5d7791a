#include "library/apps_folders_list.h"

#include <algorithm>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/settings.h"
#include "platform/host.h"

namespace morvane {

namespace {

std::string applicationsFolder() {
    return host().folders.applications + "/";
}

void store(const std::vector<std::string>& folders) {
    if (settings::store(settings::mainFolder, Array(folders.begin(), folders.end()))) return;
    MVAlert::showAlertErrorMessage(localized("Error while writting file: %@", {host().defaults.path()}));
}

}  // namespace

NSAppsFoldersList::NSAppsFoldersList(NSAppsArray& apps, Callbacks callbacks)
    : apps_(apps), callbacks_(std::move(callbacks)) {
    const auto setting = settings::stored(settings::mainFolder);
    if (!setting || setting->as<Array>() == nullptr) store({applicationsFolder()});
    rows_ = local_items::validAppsFolders();
    const std::string games = applicationsFolder() + gamesFolderName;
    if (MVFileManager::directoryExistsAtPath(games) && std::ranges::find(rows_, games) == rows_.end()) {
        rows_.insert(rows_.begin(), games);
        store(rows_);
    }
    if (!settings::stored(settings::automaticFolderSave)) {
        settings::set(settings::automaticFolderSave, true);
    }
}

void NSAppsFoldersList::notify() const {
    if (callbacks_.changed) callbacks_.changed();
}

void NSAppsFoldersList::select(std::vector<std::size_t> rows) {
    std::erase_if(rows, [&](std::size_t row) { return row >= rows_.size(); });
    std::ranges::sort(rows);
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    selection_ = std::move(rows);
    notify();
}

bool NSAppsFoldersList::savesAutomatically() {
    return settings::get(settings::automaticFolderSave);
}

void NSAppsFoldersList::setSavesAutomatically(bool on) {
    settings::set(settings::automaticFolderSave, on);
    notify();
}

void NSAppsFoldersList::editRow(std::size_t row) {
    if (row >= rows_.size()) return;
    OpenPanel panel;
    panel.title = localized("Select the Apps Folder");
    panel.files = false;
    panel.folders = true;
    const auto chosen = MVAlert::chooseFiles(panel);
    if (chosen.empty()) return;
    rows_[row] = withFinalSlash(chosen.front());
    store(rows_);
    notify();
}

void NSAppsFoldersList::addRow() {
    const std::size_t place = selection_.empty() ? rows_.size() : selection_.front();
    rows_.insert(rows_.begin() + static_cast<std::ptrdiff_t>(place), applicationsFolder());
    store(rows_);
    notify();
}

void NSAppsFoldersList::removeSelectedRows() {
    if (selection_.empty()) return;
    const std::size_t first = selection_.front();
    // From the end, so that the others keep their places.
    for (auto row = selection_.rbegin(); row != selection_.rend(); ++row) {
        rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(*row));
    }
    selection_.clear();
    if (first > 0) selection_.push_back(first - 1);
    store(rows_);
    notify();
}

bool NSAppsFoldersList::keyDown(const KeyPress& key, bool textFieldHasFocus) {
    constexpr char32_t deleteCharacter = 127;
    constexpr int equalsKey = 24, minusKey = 27;
    if (key.character == deleteCharacter && !textFieldHasFocus) {
        if (selection_.empty()) {
            if (callbacks_.beep) callbacks_.beep();
        } else {
            removeSelectedRows();
        }
        return true;
    }
    if (!key.command) return false;
    if (key.keyCode == equalsKey) {
        addRow();
    } else if (key.keyCode == minusKey) {
        removeSelectedRows();
    } else {
        return false;
    }
    return true;
}

void NSAppsFoldersList::resetLocalApps() {
    if (!MVAlert::showBooleanAlertMessage(localized("Do you want to reset your Local apps list?"), "Warning",
                                          false)) {
        return;
    }
    settings::remove(settings::appList);
    apps_.loadLocalAppsBlock(callbacks_.libraryLoaded);
}

}  // namespace morvane
