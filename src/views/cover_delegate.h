// views/cover_delegate.h: draws one game of the library, as a cover of the grid or a line of the list
// (`LibraryModel`). Main thread.
#pragma once

#include <QStyledItemDelegate>

namespace morvane::views {

class CoverDelegate : public QStyledItemDelegate {
    Q_OBJECT
  public:
    explicit CoverDelegate(QObject* parent = nullptr) : QStyledItemDelegate(parent) {}

    /// The size of a cover of the grid with its name; empty for lines of the list.
    void setCover(QSize size) { cover_ = size; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  private:
    QSize cover_;
};

}  // namespace morvane::views
