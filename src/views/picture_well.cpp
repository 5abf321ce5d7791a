#include "views/picture_well.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

#include "foundation/alerts.h"
#include "foundation/localization.h"
#include "platform/files.h"
#include "views/background.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int padding = theme::gap;

}  // namespace

PictureWell::PictureWell(const QString& name, QSize size, QWidget* parent)
    : QAbstractButton(parent), name_(name), size_(size) {
    setAccessibleName(name);
    setToolTip(shown("%@: drop a picture here, or click to choose one", {fromQt(name)}));
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(this, &QAbstractButton::clicked, this, &PictureWell::choose);
}

QSize PictureWell::sizeHint() const {
    return size_ + QSize(2 * padding, 2 * padding);
}

void PictureWell::setPicture(const std::optional<ImageData>& picture) {
    if (picture == picture_) return;
    picture_ = picture;
    if (!picture) {
        image_ = {};
        return update();
    }
    // Of two pictures the later one is shown, whichever is decoded first.
    const QSize bound = (QSizeF(size_) * devicePixelRatioF()).toSize();
    inBackground(
        "app.morvane.pictureWell", this,
        [bytes = picture->bytes, bound] { return decodedImage(bytes, bound).value_or(QImage()); },
        [this, picture](QImage image) {
            if (picture_ != picture) return;
            image_ = std::move(image);
            update();
        });
}

void PictureWell::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const bool stands = hasFocus() || isDraggedOver_;
    painter.setPen(QPen(stands ? theme::accent() : palette().color(QPalette::PlaceholderText), stands ? 2 : 1,
                        image_.isNull() ? Qt::DashLine : Qt::SolidLine));
    painter.setBrush(palette().color(isEnabled() ? QPalette::Base : QPalette::Window));
    painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), theme::radius, theme::radius);
    if (image_.isNull()) {
        painter.setPen(theme::faintText());
        return painter.drawText(rect().adjusted(padding, padding, -padding, -padding),
                                Qt::AlignCenter | Qt::TextWordWrap, shown("Drop a picture"));
    }
    const QPixmap pixmap = fittingPixmap(image_, size_, devicePixelRatioF());
    const QSizeF size = pixmap.deviceIndependentSize();
    if (!isEnabled()) painter.setOpacity(0.5);
    painter.drawPixmap(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), pixmap);
}

void PictureWell::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Paste)) return take(*QApplication::clipboard()->mimeData());
    const bool isDelete = event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace;
    if (isDelete && canBeEmptied_) return Q_EMIT pictureRemoved();
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return click();
    QAbstractButton::keyPressEvent(event);
}

void PictureWell::dragEnterEvent(QDragEnterEvent* event) {
    if (!event->mimeData()->hasImage() && !event->mimeData()->hasUrls()) return;
    isDraggedOver_ = true;
    update();
    event->acceptProposedAction();
}

void PictureWell::dragLeaveEvent(QDragLeaveEvent*) {
    isDraggedOver_ = false;
    update();
}

void PictureWell::dropEvent(QDropEvent* event) {
    isDraggedOver_ = false;
    update();
    event->acceptProposedAction();
    take(*event->mimeData());
}

void PictureWell::take(const QMimeData& dropped) {
    for (const QUrl& url : dropped.urls()) {
        if (url.isLocalFile()) return readFile(fromQt(url.toLocalFile()));
    }
    const auto image = qvariant_cast<QImage>(dropped.imageData());
    if (image.isNull()) return;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    Q_EMIT pictureDropped({.bytes = bytes.toStdString()});
}

void PictureWell::readFile(const std::string& path) {
    inBackground(
        "app.morvane.readPicture", this, [path] { return files::read(path); },
        [this](Result<std::string> bytes) {
            if (bytes) return Q_EMIT pictureDropped({.bytes = *std::move(bytes)});
            MVAlert::showAlertErrorMessage(bytes.error().message());
        });
}

void PictureWell::choose() {
    OpenPanel panel;
    panel.title = localized("Select a picture");
    panel.types = {"png", "jpg", "jpeg", "gif", "bmp", "tif", "tiff", "webp", "ico", "icns"};
    const auto chosen = MVAlert::chooseFiles(panel);
    if (!chosen.empty()) readFile(chosen.front());
}

}  // namespace morvane::views
