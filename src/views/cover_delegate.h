// views/cover_delegate.h: draws one game of the library, as a cover of the grid or a line of the list
// (`LibraryModel`). Main thread.
#pragma once

#include <QPixmap>
#include <QStyledItemDelegate>

namespace morvane::views {

class CoverDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit CoverDelegate(QObject* parent = nullptr) : QStyledItemDelegate(parent) {}

    /// The size of a cover of the grid with its name; empty for lines of the list.
    void setCover(QSize size) { cover_ = size; }
    /// A shelf below each row of covers.
    void setShelf(bool shows) { showsShelf_ = shows; }
    /// Names are read over a picture.
    void setOverPicture(bool isOver) { isOverPicture_ = isOver; }
    /// The user's picture of the button over a cover of the grid; a null one for none.
    void setButtonPicture(const QPixmap& picture) { buttonPicture_ = picture; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  Q_SIGNALS:
    /// A click on the button over the cover.
    void actionClicked(const QModelIndex& index);

  protected:
    bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                     const QModelIndex& index) override;

  private:
    struct Places {
        QRect field, picture, text, button;
    };
    [[nodiscard]] Places placesOf(const QStyleOptionViewItem& option) const;

    QSize cover_;
    QPixmap buttonPicture_;
    bool showsShelf_ = false, isOverPicture_ = false;
};

}  // namespace morvane::views
