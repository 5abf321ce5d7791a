#include "views/cover_delegate.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include "views/library_model.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr int lineHeight = 44, lineIcon = 32;

/// The first letter in a coloured field, for a game without a picture.
void paintLetter(QPainter& painter, const QRect& place, const QString& name) {
    const int hue = static_cast<int>(qHash(name) % 360);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsl(hue, 90, theme::isDark() ? 90 : 150));
    painter.drawRoundedRect(place, theme::radius, theme::radius);
    QFont font = painter.font();
    font.setPixelSize(std::max(8, place.height() / 2));
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(place, Qt::AlignCenter, name.left(1).toUpper());
}

void paintPicture(QPainter& painter, const QRect& place, const QModelIndex& index) {
    const auto image = index.data(Qt::DecorationRole).value<QImage>();
    painter.save();
    if (index.data(LibraryModel::isMissingRole).toBool()) painter.setOpacity(0.4);
    if (image.isNull()) {
        paintLetter(painter, place, index.data(Qt::DisplayRole).toString());
    } else {
        const QPixmap pixmap = fittingPixmap(image, place.size(), painter.device()->devicePixelRatioF());
        const QSizeF size = pixmap.deviceIndependentSize();
        painter.drawPixmap(QPointF(place.center().x() - size.width() / 2 + 0.5,
                                   place.center().y() - size.height() / 2 + 0.5),
                           pixmap);
    }
    painter.restore();
}

void paintSticker(QPainter& painter, const QRect& place) {
    const QString text = shown("NEW");
    painter.save();
    QFont font = painter.font();
    font.setPixelSize(10);
    font.setBold(true);
    painter.setFont(font);
    const QRect field(place.right() - 42, place.top() + 6, 36, 16);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme::accent());
    painter.drawRoundedRect(field, 8, 8);
    painter.setPen(Qt::white);
    painter.drawText(field, Qt::AlignCenter, text);
    painter.restore();
}

}  // namespace

void CoverDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRect field = option.rect.adjusted(3, 3, -3, -3);
    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    if (isSelected || (option.state & QStyle::State_MouseOver) != 0) {
        QColor colour = theme::accent();
        colour.setAlpha(isSelected ? 60 : 24);
        painter->setPen(Qt::NoPen);
        painter->setBrush(colour);
        painter->drawRoundedRect(field, theme::radius, theme::radius);
    }
    if ((option.state & QStyle::State_HasFocus) != 0) {
        painter->setPen(QPen(theme::accent(), 2));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(field, theme::radius, theme::radius);
    }
    const QString name = index.data(Qt::DisplayRole).toString();
    const bool isMissing = index.data(LibraryModel::isMissingRole).toBool();
    const QColor ink = isMissing ? theme::faintText() : option.palette.color(QPalette::Text);
    QRect picture, text;
    int alignment = 0;
    if (cover_.isEmpty()) {
        picture = {field.left() + 6, field.center().y() - lineIcon / 2, lineIcon, lineIcon};
        text = field.adjusted(lineIcon + 16, 0, -8, 0);
        alignment = Qt::AlignVCenter | Qt::AlignLeft;
    } else {
        const int line = option.fontMetrics.height() + 4;
        text = QRect(field.left() + 6, field.bottom() - line - 4, field.width() - 12, line);
        picture =
            QRect(field.left() + 10, field.top() + 10, field.width() - 20, text.top() - field.top() - 16);
        alignment = Qt::AlignCenter;
    }
    paintPicture(*painter, picture, index);
    if (index.data(LibraryModel::isNewRole).toBool()) paintSticker(*painter, field);
    painter->setPen(ink);
    painter->drawText(text, alignment, option.fontMetrics.elidedText(name, Qt::ElideRight, text.width()));
    painter->restore();
}

QSize CoverDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
    return cover_.isEmpty() ? QSize(120, lineHeight) : cover_;
}

}  // namespace morvane::views
