// views/pixmaps.h: the core's pictures as the toolkit's. Decoding: any thread; pixmaps: main thread.
#pragma once

#include <QImage>
#include <QPixmap>
#include <QSize>
#include <optional>
#include <string>

#include "platform/value.h"

namespace morvane::views {

/// The picture, no larger than the bound in pixels. Nothing for what is no picture that the core reads.
[[nodiscard]] std::optional<QImage> decodedImage(std::string_view bytes, QSize bound);
/// The same of a file; nothing also for one that cannot be read.
[[nodiscard]] std::optional<QImage> imageOfFile(const std::string& path, QSize bound);

/// The picture within the bound in points, sharp at the scale of the screen; never larger than it is.
[[nodiscard]] QPixmap fittingPixmap(const QImage& image, QSize bound, double scale);

}  // namespace morvane::views
