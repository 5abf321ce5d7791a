// library/apps_questions.h: what is asked about items of the library: which to add, from where to remove, what has
// become of a missing one. Main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "library/apps_array.h"

namespace morvane {

/// From the disk means into the trash, where there is one.
enum class RemovedFrom { list, disk, diskPermanently };
/// What has become of a removed item on the disk.
struct Removal {
    bool inTrash = false;
    std::uint64_t bytes = 0;  ///< that it took, where it has gone to the trash
};

/// Installs a port description that the user chose.
using InstallCki = std::function<void(const std::string& cki)>;

namespace apps_questions {

/// Asks; the action runs on the main thread: for the list only at once, else when the background has deleted what is
/// to go. From the disk goes what lies at the path, a link itself, and the links in the apps folders that led into it.
/// Only what ends in ".app" or ".boxer" is ever removed, and never the home folder, a folder above it or a path that
/// is not plain: that is told, and the action runs all the same.
void shouldRemoveLocalPort(const std::string& path, std::function<void()> action);
/// The same once it is known from where; from the disk still asks whether that is meant, and says what goes
/// into the trash and how large it is; saved games in it are offered a backup, and it stays when that fails. Where the trash can't take it, nothing goes without another question.
void removeFrom(RemovedFrom from, const std::string& path, std::function<void(const Removal&)> action);
/// The library's add action: the chooser, then each chosen application is added (the completion follows
/// each) and each port description goes to `installCki`.
void addByHand(NSAppsArray& apps, const InstallCki& installCki, const NSAppsArray::Completion& completion);
/// The question for an item whose path is gone: removes it from the list, and adds what the user locates
/// as `addByHand` does. Links into it that are dead now go, or follow it. The completion comes after the
/// removal, and after each addition. Gives what was located.
std::vector<std::string> askAboutMissingApp(NSAppsArray& apps, const std::string& path,
                                            const InstallCki& installCki,
                                            const NSAppsArray::Completion& completion);
/// Whether everything that runs in the library's items is to be stopped, and stops it.
void askToKillAllCaskeryProcessesFromLocalApps(NSAppsArray& apps);

}  // namespace apps_questions
}  // namespace morvane
