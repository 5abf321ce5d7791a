#include "library/apps_questions.h"

#include <algorithm>
#include <utility>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/formats.h"
#include "foundation/localization.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/moved_apps.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/trash.h"
#include "wrapper/saved_games.h"

namespace morvane {

namespace {

/// Whether the folder is the home folder or lies above it.
bool enclosesHome(const std::string& folder) {
    return (host().folders.home + "/").starts_with(folder + "/");
}

/// Whether the item may go from the disk: the stored list may hold anything.
bool mayBeDeleted(const std::string& path) {
    if (!path.starts_with('/')) return false;
    const std::string name = files::lastComponent(path);
    const bool isBundle = (name.ends_with(".app") || name.ends_with(".boxer")) && !name.starts_with('.');
    const auto levels = MVString::split(path.substr(1), "/");
    const bool isPlain = std::ranges::none_of(
        levels, [](const auto& level) { return level.empty() || level == "." || level == ".."; });
    // The item itself may be a link, of which only the link goes; the folders on the way are followed.
    const auto folder = files::resolved(files::parent(path));
    return isBundle && isPlain && folder && !enclosesHome(path) && !enclosesHome(files::join(*folder, name));
}

/// False, which is told, for what is no app's place.
bool deleteFromDisk(const std::string& path) {
    if (!mayBeDeleted(path)) {
        MVAlert::showAlertErrorMessage(
            localized("\"%@\" isn't removed from the disk: that is no place of an app.", {path}));
        return false;
    }
    // A failure is not told: the item leaves the list all the same.
    static_cast<void>(files::remove(path));
    return true;
}

bool isMeantForEver(const std::string& whyNoTrash) {
    const std::string question = localized(
        "Are you sure that you want to remove that app permanently from the disk? That action "
        "cannot be undone.");
    return MVAlert::showBooleanAlertMessageWithIconNamed(
        whyNoTrash.empty() ? question
                           : localized("The trash can't take that app: %@", {whyNoTrash}) + "\n\n" + question,
        "Warning", "Fatal", false);
}

bool isMeantForTrash(std::uint64_t bytes) {
    return MVAlert::showBooleanAlertMessageWithIconNamed(
        localized(
            "Are you sure that you want to move that app (%@) to the trash? It takes its space there until "
            "you empty it.",
            {NSUtilities::humanReadableSizeForBytes(static_cast<std::int64_t>(bytes),
                                                    DecimalMeasureSystem::yes)}),
        "Warning", "Fatal", false);
}

/// Of a link, only the link goes, and no saved game with it.
bool wantsBackup(const std::string& path) {
    if (!mayBeDeleted(path) || files::kindOf(path) != files::Kind::folder) return false;
    if (!LibraryItem(path).isWrapper() || !saved_games::hasAny(Wrapper(path))) return false;
    return MVAlert::isAnsweredYes(saved_games::offerDialog(Wrapper(path).name()));
}

bool isApplication(const std::string& path) {
    return path.ends_with(".app") || path.ends_with(".boxer");
}

std::vector<std::string> chosenApplications() {
    OpenPanel panel;
    panel.title = localized("Select the new application");
    panel.types = {"cki", "app", "boxer"};
    panel.multiple = true;
    return MVAlert::chooseFiles(panel, MVAlert::OtherTypes::passedOn);
}

void addChosen(NSAppsArray& apps, const std::vector<std::string>& chosen, const InstallCki& installCki,
               const NSAppsArray::Completion& completion) {
    for (const std::string& path : chosen) {
        if (isApplication(path)) {
            apps.addLocalPort(path, completion);
        } else if (MVString::lowercased(path).ends_with(".cki")) {
            if (installCki) installCki(path);
        } else {
            MVAlert::showAlertErrorMessage(
                localized("Couldn't add %@ to the library. Incompatible application type.",
                          {files::lastComponent(path)}));
        }
    }
}

}  // namespace

namespace apps_questions {

void shouldRemoveLocalPort(const std::string& path, std::function<void()> action) {
    enum Button : std::size_t { listOnly, fromDisk };
    Dialog dialog;
    dialog.title = localized("Remove App");
    dialog.text = localized("Do you want to remove that app only from the list or from the disk too?");
    dialog.buttons = {localized("List Only"), localized("Remove from Disk"), localized("Cancel")};
    dialog.style = Dialog::Style::critical;
    const std::size_t button = MVAlert::showDialog(dialog).button;
    if (button != listOnly && button != fromDisk) return;
    removeFrom(button == listOnly ? RemovedFrom::list : RemovedFrom::disk, path,
               [action = std::move(action)](const Removal&) { action(); });
}

void removeFrom(RemovedFrom from, const std::string& path, std::function<void(const Removal&)> action) {
    if (from == RemovedFrom::list) return action({});
    // Of a link, only the link goes.
    const bool toTrash =
        from == RemovedFrom::disk && mayBeDeleted(path) && files::kindOf(path) == files::Kind::folder;
    Removal removal;
    if (toTrash) removal.bytes = MVFileManager::sizeOfDirectoryAtPath(path);
    if (!(toTrash ? isMeantForTrash(removal.bytes) : isMeantForEver(""))) return;
    const bool keepsSaves = wantsBackup(path);
    MVThread::dispatchQueueWithName(
        "app.morvane.removeFromDisk", Priority::normal,
        [path, removal, toTrash, keepsSaves, action = std::move(action)]() mutable {
            const Wrapper wrapper(path);
            if (keepsSaves && !saved_games::backUpOrTell(wrapper, saved_games::Occasion::asked)) return;
            if (toTrash) {
                const auto taken = trash::take(path, host().folders);
                removal.inTrash = taken.has_value();
                if (!taken && !isMeantForEver(taken.error().message())) return;
            }
            const bool wasApp = removal.inTrash || deleteFromDisk(path);
            MVThread::dispatchBlockInMainQueue([path, action, wasApp, removal] {
                action(removal);
                // After the action: the library tells from where a link leads what it was.
                if (wasApp) moved_apps::removeDeadLinksInto(path, local_items::validAppsFolders());
            });
        });
}

void addByHand(NSAppsArray& apps, const InstallCki& installCki, const NSAppsArray::Completion& completion) {
    addChosen(apps, chosenApplications(), installCki, completion);
}

std::vector<std::string> askAboutMissingApp(NSAppsArray& apps, const std::string& path,
                                            const InstallCki& installCki,
                                            const NSAppsArray::Completion& completion) {
    enum Button : std::size_t { locate };
    Dialog dialog;
    dialog.title = localized("App Missing");
    dialog.text = localized(
        "Your app isn't in the specified place. Did you moved the app to another place and want it to be "
        "located again or it was deleted and you want to remove it from the list?");
    dialog.buttons = {localized("Locate the App"), localized("Remove it")};
    dialog.style = Dialog::Style::critical;
    const std::size_t button = MVAlert::showDialog(dialog).button;
    // Before the removal: a command that has no answer to it ends here, with nothing lost.
    auto located = button == locate ? chosenApplications() : std::vector<std::string>{};
    apps.removeLocalPort(path, completion);
    addChosen(apps, located, installCki, completion);
    std::erase_if(located, [](const std::string& chosen) { return !isApplication(chosen); });
    if (button != locate) moved_apps::removeDeadLinksInto(path, local_items::validAppsFolders());
    if (located.size() == 1)
        moved_apps::moveDeadLinks(path, located.front(), local_items::validAppsFolders());
    return located;
}

void askToKillAllCaskeryProcessesFromLocalApps(NSAppsArray& apps) {
    const bool agreed = MVAlert::showBooleanAlertMessage(
        localized("This will kill all Caskery related process from all the apps in your local tab. "
                  "Do you really want to do it?"),
        "Warning", false);
    if (agreed) apps.killAllCaskeryProcessesFromLocalApps();
}

}  // namespace apps_questions
}  // namespace morvane
