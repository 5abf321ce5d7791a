// The icon operations of the settings store.

#include <cstdint>

#include "foundation/alerts.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "foundation/safe_paths.h"
#include "foundation/tasks.h"
#include "platform/files.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"

namespace morvane {
namespace {

constexpr int smallestIcon = 16, largestIcon = 1024;

struct IconPaths {
    std::string icon, iconSet;
};

/// The paths in the wrapper's resources. The name comes from a settings file that others wrote.
Result<IconPaths> iconPaths(const std::string& iconName, const std::string& wrapper) {
    const std::string resources = wrapper + layout::resources;
    const auto icon = pathInside(resources, iconName, Levels::one, "the icon's name");
    if (!icon) return icon.error();
    const std::string setName = files::withoutExtension(iconName) + ".iconset";
    const auto iconSet = pathInside(resources, setName, Levels::one, "the icon's name");
    if (!iconSet) return iconSet.error();
    return IconPaths{*icon, *iconSet};
}

bool holdsFile(const std::string& path) {
    return files::size(path).value_or(0) > 0;
}

/// Runs the icon writer with the old icon out of its way, and puts the old one back when no new one came out:
/// a wrapper is not left without an icon. Whether there is a new one.
bool replaceIconFile(const IconPaths& paths) {
    const std::string previous = paths.icon + ".previous";
    if (files::kindOf(paths.icon) != files::Kind::none) {
        MVFileManager::removeItemAtPath(previous);
        if (!MVFileManager::moveItemAtPath(paths.icon, previous)) return false;
    }
    MVTask::ignoreEnding(MVTask::runProgram("iconutil", std::nullopt,
                                            MVTask::Arguments({"-c", "icns", paths.iconSet}), Wait::yes));
    if (holdsFile(paths.icon)) {
        MVFileManager::removeItemAtPath(previous);
        return true;
    }
    MVFileManager::removeItemAtPath(paths.icon);
    // Also when a run that was killed left it there.
    if (files::kindOf(previous) != files::Kind::none) MVFileManager::moveItemAtPath(previous, paths.icon);
    return false;
}

}  // namespace

void NSPortManager::savePngImage(const Picture& picture, int size, const std::string& imagePath) const {
    if (picture.width <= 0 || size <= 0) return;
    // The height follows the width: a strip of one pixel's width would need gigabytes.
    const std::int64_t height = std::int64_t{picture.height} * size / picture.width;
    if (height > pictures::longestEdge) return;
    // A failed write is not reported: the icon set simply lacks that size.
    static_cast<void>(files::write(imagePath, pictures::encodePng(pictures::scaledToWidth(picture, size)),
                                   files::Atomically::yes));
}

void NSPortManager::saveIconsetImage(const Picture& picture, int size, const std::string& folder) const {
    const std::string edge = std::to_string(size);
    savePngImage(picture, size, filled("%@/icon_%dx%d.png", {folder, edge, edge}));
    savePngImage(picture, size * 2, filled("%@/icon_%dx%d@2x.png", {folder, edge, edge}));
}

bool NSPortManager::setIconWithImage(const std::optional<ImageData>& image) const {
    const std::optional<Picture> picture = image ? pictures::decode(image->bytes) : std::nullopt;
    const auto iconName = NSUtilities::iconFileName(find(wrapper_keys::bundleIconFile));
    if (!picture || !iconName) return false;
    const auto paths = iconPaths(*iconName, path);
    if (!paths) {
        MVAlert::showAlertErrorMessage(paths.error().message());
        return false;
    }

    const auto& [icon, iconSet] = *paths;
    MVFileManager::removeItemAtPath(iconSet);  // left by a run that was killed
    MVFileManager::createDirectoryAtPath(iconSet, IntermediateFolders::no);
    for (int size = smallestIcon; size <= largestIcon; size *= 2) saveIconsetImage(*picture, size, iconSet);
    const bool replaced = replaceIconFile({icon, iconSet});
    MVFileManager::removeItemAtPath(iconSet);
    // A wrapper that comes from a Mac may carry the Finder's own icon for the folder, which would hide the
    // new one.
    MVFileManager::removeItemAtPath(path + "/Icon\r");
    return replaced;
}

}  // namespace morvane
