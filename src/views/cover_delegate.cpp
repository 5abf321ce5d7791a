#include "views/cover_delegate.h"

#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include "views/library_model.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr int lineHeight = 44, lineIcon = 32, buttonEdge = 44, lineButton = 28, shelfHeight = 5;

ItemState stateOf(const QModelIndex& index) {
    return index.data(LibraryModel::stateRole).value<ItemState>();
}

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
    const ItemState state = stateOf(index);
    if (state.isMissing || state.isUnfinished) painter.setOpacity(0.4);
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

/// What a click does, in a round button: stop what runs, play what is under the pointer.
void paintButton(QPainter& painter, const QRect& place, bool isRunning, const QPixmap& picture) {
    painter.setPen(QPen(Qt::white, 2));
    painter.setBrush(theme::accent());
    painter.drawEllipse(place);
    if (!picture.isNull()) {
        painter.save();
        QPainterPath shape;
        shape.addEllipse(place);
        painter.setClipPath(shape);
        painter.drawPixmap(place, picture);
        painter.restore();
    }
    const int edge = place.height() / 2;
    const QPixmap symbol =
        theme::symbol(isRunning ? "stop" : "play", edge, Qt::white, painter.device()->devicePixelRatioF());
    painter.drawPixmap(place.center().x() - edge / 2 + 1, place.center().y() - edge / 2 + 1, symbol);
}

bool hasButton(const QStyleOptionViewItem& option, const QModelIndex& index) {
    const ItemState state = stateOf(index);
    const bool isUnderPointer = (option.state & QStyle::State_MouseOver) != 0;
    return state.isRunning ||
           (isUnderPointer && index.data(LibraryModel::isLocalRole).toBool() && !state.isMissing);
}

void paintShelf(QPainter& painter, const QRect& place) {
    QColor colour = theme::faintText();
    colour.setAlpha(70);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRect(place);
}

}  // namespace

CoverDelegate::Places CoverDelegate::placesOf(const QStyleOptionViewItem& option) const {
    Places places;
    const QRect& field = places.field = option.rect.adjusted(3, 3, -3, -3);
    if (cover_.isEmpty()) {
        places.picture = {field.left() + 6, field.center().y() - lineIcon / 2, lineIcon, lineIcon};
        places.text = field.adjusted(lineIcon + 16, 0, -lineButton - 12, 0);
        places.button = {field.right() - lineButton - 4, field.center().y() - lineButton / 2, lineButton,
                         lineButton};
    } else {
        const int line = option.fontMetrics.height() + 4;
        places.text = {field.left() + 6, field.bottom() - line - 4, field.width() - 12, line};
        places.picture = {field.left() + 10, field.top() + 10, field.width() - 20,
                          places.text.top() - field.top() - 16 - (showsShelf_ ? shelfHeight : 0)};
        places.button = {places.picture.right() - buttonEdge, places.picture.bottom() - buttonEdge,
                         buttonEdge, buttonEdge};
    }
    places.picture = QStyle::visualRect(option.direction, option.rect, places.picture);
    places.text = QStyle::visualRect(option.direction, option.rect, places.text);
    places.button = QStyle::visualRect(option.direction, option.rect, places.button);
    return places;
}

void CoverDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const Places places = placesOf(option);
    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    if (isSelected || (option.state & QStyle::State_MouseOver) != 0) {
        QColor colour = theme::accent();
        colour.setAlpha(isSelected ? 60 : 24);
        painter->setPen(Qt::NoPen);
        painter->setBrush(colour);
        painter->drawRoundedRect(places.field, theme::radius, theme::radius);
    }
    if ((option.state & QStyle::State_HasFocus) != 0) {
        painter->setPen(QPen(theme::accent(), 2));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(places.field, theme::radius, theme::radius);
    }
    if (showsShelf_ && !cover_.isEmpty()) {
        paintShelf(*painter,
                   {option.rect.left(), places.picture.bottom() + 2, option.rect.width(), shelfHeight});
    }
    paintPicture(*painter, places.picture, index);
    if (index.data(LibraryModel::isNewRole).toBool()) paintSticker(*painter, places.field);
    const ItemState state = stateOf(index);
    if (hasButton(option, index)) {
        paintButton(*painter, places.button, state.isRunning, cover_.isEmpty() ? QPixmap() : buttonPicture_);
    }
    const QString name = option.fontMetrics.elidedText(index.data(Qt::DisplayRole).toString(), Qt::ElideRight,
                                                       places.text.width());
    const int alignment = cover_.isEmpty() ? Qt::AlignVCenter | Qt::AlignLeading : Qt::AlignCenter;
    const int visual = static_cast<int>(QStyle::visualAlignment(option.direction, Qt::Alignment(alignment)));
    if (isOverPicture_) {
        painter->setPen(Qt::black);
        painter->drawText(places.text.translated(1, 1), visual, name);
        painter->setPen(Qt::white);
    } else {
        const bool isFaint = state.isMissing || state.isUnfinished;
        painter->setPen(isFaint ? theme::faintText() : option.palette.color(QPalette::Text));
    }
    painter->drawText(places.text, visual, name);
    painter->restore();
}

QSize CoverDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
    return cover_.isEmpty() ? QSize(120, lineHeight) : cover_;
}

bool CoverDelegate::editorEvent(QEvent* event, QAbstractItemModel*, const QStyleOptionViewItem& option,
                                const QModelIndex& index) {
    const bool isPress =
        event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    if (!isPress && event->type() != QEvent::MouseButtonRelease) return false;
    const auto* mouse = static_cast<QMouseEvent*>(event);
    const bool isIn = index.data(LibraryModel::isLocalRole).toBool() && mouse->button() == Qt::LeftButton &&
                      placesOf(option).button.contains(mouse->position().toPoint());
    if (!isIn) return false;
    if (!isPress) Q_EMIT actionClicked(index);
    return true;
}

}  // namespace morvane::views
