// platform/picture_formats.h: the readers and writers of picture files: a library of its own, loaded when the first
// picture comes. The toolkit behind it takes longer to load than most commands take to run.
#pragma once

#include "platform/pictures.h"

namespace morvane {

/// `kind` is what `pictures::kindOf` says, never empty; pictures are whole. Otherwise as in `platform/pictures.h`.
struct PictureFormats {
    std::optional<pictures::Size> (*sizeOf)(std::string_view kind, std::string_view bytes);
    std::optional<Picture> (*decode)(std::string_view kind, std::string_view bytes);
    std::string (*encodePng)(const Picture& picture);
    std::string (*encodeJpeg)(const Picture& picture, int quality);
    std::string (*encodeTiff)(const Picture& picture);
};

/// Any thread; on a worker the first call waits for the main thread, which loads it: the toolkit takes the thread that
/// uses it first for the main one, and touches what belongs to that thread when the process ends. Nothing when it is
/// not installed, which is logged, and at the end of the application.
[[nodiscard]] const PictureFormats* pictureFormats();

}  // namespace morvane

/// What the library exports.
extern "C" const morvane::PictureFormats* morvanePictureFormats();
