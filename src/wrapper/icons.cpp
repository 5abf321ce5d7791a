// The icon operations of the settings store.

#include <cstdint>
#include <future>
#include <string_view>

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

std::string pngFile(const std::string& folder, int size, std::string_view suffix) {
    const std::string edge = std::to_string(size);
    return filled("%@/icon_%dx%d", {folder, edge, edge}) + std::string(suffix);
}

/// The picture at that width; nothing when it would be too high, or could not be encoded.
std::string pngAt(const Picture& picture, int width) {
    if (picture.width <= 0 || width <= 0) return {};
    // The height follows the width: a strip of one pixel's width would need gigabytes.
    const std::int64_t height = std::int64_t{picture.height} * width / picture.width;
    if (height > pictures::longestEdge) return {};
    return pictures::encodePng(pictures::scaledToWidth(picture, width));
}

// A failed write is not reported: the icon set simply lacks that size.
void save(const std::string& png, const std::string& path, files::Atomically atomically) {
    if (!png.empty()) static_cast<void>(files::write(path, png, atomically));
}

/// Each width is made once, though most stand in the set twice: as a size, and as the double of half of it.
/// The set is thrown away after use.
void saveWidth(const Picture& picture, int width, const std::string& folder) {
    const std::string png = pngAt(picture, width);
    save(png, pngFile(folder, width, ".png"), files::Atomically::no);
    if (width > smallestIcon) save(png, pngFile(folder, width / 2, "@2x.png"), files::Atomically::no);
}

/// The largest width costs more than all others together: it is made beside them. The double of it would cost
/// four times as much, and an icon file has no place for it.
void saveIconSet(const Picture& picture, const std::string& folder) {
    const auto largest = std::async(std::launch::async, [&] { saveWidth(picture, largestIcon, folder); });
    for (int width = largestIcon / 2; width >= smallestIcon; width /= 2) saveWidth(picture, width, folder);
    largest.wait();
}

}  // namespace

void NSPortManager::savePngImage(const Picture& picture, int size, const std::string& imagePath) const {
    save(pngAt(picture, size), imagePath, files::Atomically::yes);
}

void NSPortManager::saveIconsetImage(const Picture& picture, int size, const std::string& folder) const {
    savePngImage(picture, size, pngFile(folder, size, ".png"));
    savePngImage(picture, size * 2, pngFile(folder, size, "@2x.png"));
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
    saveIconSet(*picture, iconSet);
    const bool replaced = replaceIconFile({icon, iconSet});
    MVFileManager::removeItemAtPath(iconSet);
    // A wrapper that comes from a Mac may carry the Finder's own icon for the folder, which would hide the
    // new one.
    MVFileManager::removeItemAtPath(path + "/Icon\r");
    return replaced;
}

}  // namespace morvane
