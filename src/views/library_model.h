// views/library_model.h: the rows of a `LibraryView` as a model of the toolkit. Main thread.
#pragma once

#include <QAbstractListModel>
#include <QCache>
#include <QImage>
#include <QSet>
#include <memory>
#include <vector>

#include "library/library_view.h"

namespace morvane::views {

class LibraryModel : public QAbstractListModel {
    Q_OBJECT
  public:
    enum Role { isNewRole = Qt::UserRole, isMissingRole };

    /// The view must outlive it.
    explicit LibraryModel(LibraryView& library, QObject* parent = nullptr);
    ~LibraryModel() override;

    /// The rows have changed.
    void reload();
    /// The icon of a row is another one.
    void iconChanged(std::size_t row);
    /// Where the item of that key (a path, or a line's name and ID) is now; -1 when it is not shown.
    [[nodiscard]] int rowOf(const QString& key) const;
    [[nodiscard]] QString keyOf(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

  private:
    /// The decoded icon; null while it is being decoded, and for none.
    [[nodiscard]] QImage iconOf(int row) const;

    LibraryView& library_;
    std::vector<LibraryView::Row> rows_;
    mutable QCache<QString, QImage> icons_;  ///< by key; costs are kilobytes
    mutable QSet<QString> decoding_;
    std::shared_ptr<LibraryModel*> self_;
};

}  // namespace morvane::views
