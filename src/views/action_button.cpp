#include "views/action_button.h"

#include <QPainter>
#include <QPainterPath>
#include <QStyleOptionButton>

#include "views/theme.h"

namespace morvane::views {

void ActionButton::setPicture(const QPixmap& picture) {
    picture_ = picture;
    update();
}

void ActionButton::paintEvent(QPaintEvent* event) {
    if (picture_.isNull()) return QPushButton::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    QPainterPath shape;
    shape.addRoundedRect(rect(), theme::radius, theme::radius);
    painter.setClipPath(shape);
    painter.setOpacity(isEnabled() ? 1 : 0.5);
    painter.drawPixmap(rect(), picture_);
    if (isDown() || underMouse()) painter.fillRect(rect(), QColor(0, 0, 0, isDown() ? 70 : 30));
    painter.setOpacity(1);
    painter.setClipping(false);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.palette.setColor(QPalette::ButtonText, Qt::white);
    style()->drawControl(QStyle::CE_PushButtonLabel, &option, &painter, this);
    if (hasFocus()) {
        painter.setPen(QPen(Qt::white, 2));
        painter.drawRoundedRect(rect().adjusted(2, 2, -2, -2), theme::radius, theme::radius);
    }
}

}  // namespace morvane::views
