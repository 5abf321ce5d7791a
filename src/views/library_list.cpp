#include "views/library_list.h"

#include <QKeyEvent>
#include <QPainter>

#include "views/cover_delegate.h"
#include "views/qt_text.h"

namespace morvane::views {
namespace {

/// More rows than these are laid out in pieces, between which the window goes on.
constexpr int rowsAtOnce = 2000;

}  // namespace

LibraryList::LibraryList(QWidget* parent) : QListView(parent), delegate_(new CoverDelegate(this)) {
    setItemDelegate(delegate_);
    setUniformItemSizes(true);
    setLayoutMode(QListView::Batched);
    setBatchSize(rowsAtOnce);
    setMouseTracking(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setResizeMode(QListView::Adjust);
    setMovement(QListView::Static);
    setDragEnabled(true);
    setAcceptDrops(true);
    setDropIndicatorShown(true);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setAccessibleName(shown("Games"));
    connect(delegate_, &CoverDelegate::actionClicked, this, &LibraryList::actionClicked);
    connect(this, &QListView::doubleClicked, this, &LibraryList::gameActivated);
}

void LibraryList::setCover(QSize cover) {
    const bool isGrid = !cover.isEmpty();
    delegate_->setCover(cover);
    setFlow(isGrid ? QListView::LeftToRight : QListView::TopToBottom);
    setWrapping(isGrid);
    setGridSize(cover);
    scheduleDelayedItemsLayout();
}

void LibraryList::setBackground(const QPixmap& picture) {
    background_ = picture;
    scaled_ = QPixmap();
    delegate_->setOverPicture(!picture.isNull());
    viewport()->update();
}

void LibraryList::setButtonPicture(const QPixmap& picture) {
    delegate_->setButtonPicture(picture);
    viewport()->update();
}

void LibraryList::setShelf(bool shows) {
    delegate_->setShelf(shows);
    viewport()->update();
}

void LibraryList::paintEvent(QPaintEvent* event) {
    if (!background_.isNull()) {
        const double scale = devicePixelRatioF();
        const QSize wanted = viewport()->size() * scale;
        if (scaled_.size() != wanted) {
            const QPixmap large =
                background_.scaled(wanted, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
            const QPoint corner((large.width() - wanted.width()) / 2, (large.height() - wanted.height()) / 2);
            scaled_ = large.copy(QRect(corner, wanted));
            scaled_.setDevicePixelRatio(scale);
        }
        QPainter(viewport()).drawPixmap(0, 0, scaled_);
    }
    QListView::paintEvent(event);
}

void LibraryList::keyPressEvent(QKeyEvent* event) {
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (currentIndex().isValid() && isEnter) {
        Q_EMIT gameActivated(currentIndex());
    } else if (currentIndex().isValid() && event->key() == Qt::Key_Delete) {
        Q_EMIT removalWanted(currentIndex());
    } else {
        QListView::keyPressEvent(event);
    }
}

}  // namespace morvane::views
