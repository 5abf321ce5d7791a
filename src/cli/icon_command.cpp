#include "cli/commands.h"
#include "foundation/file_manager.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "platform/pictures.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"

namespace morvane::cli {

namespace {

constexpr std::uint64_t largestFile = std::uint64_t{256} << 20;

Result<ImageData> pictureAt(const std::string& path) {
    if (files::kindBehind(path) != files::Kind::file)
        return Failure{localized("There is no file at %@.", {path})};
    if (files::size(path).value_or(0) > largestFile)
        return Failure{localized("%@ is too large for a picture.", {path})};
    auto bytes = files::read(path);
    if (!bytes) return bytes.error();
    ImageData image{*std::move(bytes), 0, 0};
    if (pictures::kindOf(image.bytes).empty())
        return Failure{
            localized("%@ is not a picture (PNG, JPEG, TIFF, GIF, BMP, ICNS, ICO or WebP).", {path})};
    if (!pictures::decode(image.bytes)) {
        return Failure{localized(
            "%@ cannot be read as a picture: it is damaged, empty, or has more than %@ pixels on a side.",
            {path, std::to_string(pictures::longestEdge)})};
    }
    return image;
}

/// Nothing when there is neither a wrapper nor a Custom EXE application of one.
std::optional<NSPortManager> settingsOf(const std::string& app) {
    const LibraryItem item(app);
    if (!item.isCustomEXE() && !item.isWrapper()) return std::nullopt;
    return NSPortManager::managerOfItem(item);
}

}  // namespace

int setIcon(Session& session, const std::string& app, const std::string& picture) {
    const std::string path = expandedPath(app);
    const auto settings = settingsOf(path);
    if (!settings)
        return session.fail(localized("%@ is not a wrapper, and not an application of one.", {path}));
    const auto image = pictureAt(expandedPath(picture));
    if (!image) return session.fail(image.error());
    if (!NSUtilities::iconFileName(settings->find(wrapper_keys::bundleIconFile)))
        return session.fail(localized("The settings of %@ name no icon file.", {path}));
    return session.onWorker([&] {
        if (settings->setIconWithImage(*image)) return static_cast<int>(done);
        return session.fail(localized("No icon could be made; the old one stays."));
    });
}

}  // namespace morvane::cli
