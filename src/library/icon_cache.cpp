#include "library/icon_cache.h"

#include <chrono>
#include <filesystem>
#include <utility>

#include "foundation/file_manager.h"
#include "foundation/network.h"
#include "foundation/safe_paths.h"
#include "platform/files.h"
#include "platform/host.h"
#include "platform/pictures.h"
#include "wrapper/layout.h"
#include "wrapper/port_manager.h"

namespace morvane::icon_cache {

namespace {

constexpr std::chrono::days longestAge{30};

/// Each icon is a new file, so that its last change is its creation. One from the future is not young.
bool isYoung(const std::string& path) {
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path, error);
    return !error && std::chrono::abs(std::filesystem::file_time_type::clock::now() - time) < longestAge;
}

std::optional<ImageData> keptIcon(const std::string& path) {
    if (!isYoung(path)) return std::nullopt;
    auto image = imageFromFile(path);
    if (!image) static_cast<void>(files::remove(path));
    return image;
}

/// An icon that cannot be kept is shown all the same.
void keep(const std::string& path, const std::string& bytes) {
    if (!files::createFolder(files::parent(path), true)) return;
    static_cast<void>(files::write(path, bytes, files::Atomically::yes));
}

}  // namespace

std::optional<ImageData> imageFromBytes(std::string bytes) {
    const auto picture = pictures::decode(bytes);
    if (!picture) return std::nullopt;
    return ImageData{.bytes = std::move(bytes),
                     .width = static_cast<double>(picture->width),
                     .height = static_cast<double>(picture->height)};
}

std::optional<ImageData> imageFromFile(const std::string& path) {
    if (files::kindBehind(path) != files::Kind::file) return std::nullopt;
    auto bytes = files::read(path);
    if (!bytes) return std::nullopt;
    return imageFromBytes(*std::move(bytes));
}

std::string pathForID(std::int64_t id) {
    return layout::applicationSupportFolder() + "/IconCache/" + std::to_string(id) + ".png";
}

std::optional<ImageData> icon(std::int64_t id, const std::string& folder) {
    const std::string path = pathForID(id);
    if (auto kept = keptIcon(path)) return kept;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        auto bytes = NSUtilities::safeDataWithContentsOfURL(folder + "Icon.png");
        auto image = bytes ? imageFromBytes(std::move(*bytes)) : std::nullopt;
        if (!image) continue;
        keep(path, image->bytes);
        return image;
    }
    return std::nullopt;
}

std::optional<std::string> localIconPath(const std::string& item) {
    const LibraryItem known(item);
    if (known.isBoxerGame()) {
        const std::string own = item + layout::folderIcon;
        return MVFileManager::regularFileExistsAtPath(own)
                   ? own
                   : files::join(host().folders.resources, "boxer.png");
    }
    const auto name = NSUtilities::iconFileName(findSetting(known, wrapper_keys::bundleIconFile));
    if (!name) return std::nullopt;
    const auto file = pathInside(item + layout::resources, *name, Levels::many, "the icon's name");
    return file ? std::optional(*file) : std::nullopt;
}

std::optional<ImageData> localIcon(const std::string& item) {
    const auto path = localIconPath(item);
    return path ? imageFromFile(*path) : std::nullopt;
}

}  // namespace morvane::icon_cache
