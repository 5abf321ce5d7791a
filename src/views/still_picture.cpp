#include "views/still_picture.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>

#include "views/pixmaps.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr QSize usualSize{640, 360};
constexpr int markSize = 72, symbolSize = 36;

}  // namespace

StillPicture::StillPicture(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(usualSize / 2);
}

void StillPicture::setPicture(const QImage& picture) {
    picture_ = picture;
    update();
}

void StillPicture::setHasMark(bool has) {
    hasMark_ = has;
    update();
}

QSize StillPicture::sizeHint() const {
    return usualSize;
}

void StillPicture::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.fillRect(rect(), palette().color(QPalette::AlternateBase));
    if (!picture_.isNull()) {
        QRect place(QPoint(), picture_.size().scaled(size(), Qt::KeepAspectRatio));
        place.moveCenter(rect().center());
        painter.drawImage(place, picture_);
    }
    if (hasMark_) {
        QRect mark(0, 0, markSize, markSize);
        mark.moveCenter(rect().center());
        painter.setPen(Qt::NoPen);
        painter.setBrush(underMouse() ? theme::accent().lighter(115) : theme::accent());
        painter.drawEllipse(mark);
        const QPixmap symbol = theme::symbol("play", symbolSize, palette().color(QPalette::HighlightedText),
                                             devicePixelRatioF());
        // The triangle's weight is at its left.
        constexpr int toTheRight = 2;
        painter.drawPixmap(mark.center() - QPoint(symbolSize / 2 - toTheRight, symbolSize / 2), symbol);
    }
    if (hasFocus()) {
        painter.setPen(QPen(theme::accent(), 2));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
}

void StillPicture::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) return click();
    QAbstractButton::keyPressEvent(event);
}

void StillPicture::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    update();
}

void StillPicture::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    update();
}

}  // namespace morvane::views
