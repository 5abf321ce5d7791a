#include "views/pixmaps.h"

#include "platform/files.h"
#include "platform/pictures.h"

namespace morvane::views {

std::optional<QImage> decodedImage(std::string_view bytes, QSize bound) {
    const auto picture = pictures::decode(bytes);
    if (!picture) return std::nullopt;
    const QImage seen(picture->rgba.data(), picture->width, picture->height, qsizetype{4} * picture->width,
                      QImage::Format_RGBA8888);
    const bool fits = seen.width() <= bound.width() && seen.height() <= bound.height();
    return fits ? seen.copy() : seen.scaled(bound, Qt::KeepAspectRatio, Qt::SmoothTransformation);
}

std::optional<QImage> imageOfFile(const std::string& path, QSize bound) {
    const auto bytes = files::read(path);
    return bytes ? decodedImage(*bytes, bound) : std::nullopt;
}

QPixmap fittingPixmap(const QImage& image, QSize bound, double scale) {
    const QSize pixels = (QSizeF(bound) * scale).toSize();
    const bool fits = image.width() <= pixels.width() && image.height() <= pixels.height();
    QPixmap pixmap = QPixmap::fromImage(
        fits ? image : image.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation));
    // A small one is shown point by point rather than blurred or tiny.
    const bool isSmall = image.width() <= bound.width() && image.height() <= bound.height();
    pixmap.setDevicePixelRatio(isSmall ? 1 : scale);
    return pixmap;
}

}  // namespace morvane::views
