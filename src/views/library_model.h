// views/library_model.h: the rows of a `LibraryView` as a model of the toolkit. Main thread.
#pragma once

#include <QAbstractListModel>
#include <QCache>
#include <QHash>
#include <QImage>
#include <QSet>
#include <memory>
#include <vector>

#include "library/library_view.h"

namespace morvane::views {

class LibraryModel : public QAbstractListModel {
    Q_OBJECT
  public:
    enum Role { isNewRole = Qt::UserRole, stateRole, isLocalRole };

    /// The view must outlive it.
    explicit LibraryModel(LibraryView& library, QObject* parent = nullptr);
    ~LibraryModel() override;

    /// The rows have changed.
    void reload();
    /// One row has: its icon, or its state.
    void rowChanged(std::size_t row);
    /// Where the item of that key is now; -1 when it is not shown.
    [[nodiscard]] int rowOf(const QString& key) const;
    [[nodiscard]] QString keyOf(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    /// `Qt::DecorationRole` is a QImage, null while it is being decoded and for none; `stateRole` an `ItemState`.
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

    // A row that is dragged goes before the one that it is dropped on, or to the end.
    [[nodiscard]] QStringList mimeTypes() const override;
    [[nodiscard]] QMimeData* mimeData(const QModelIndexList& indexes) const override;
    [[nodiscard]] bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                       const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;
    [[nodiscard]] Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }

  private:
    /// The decoded icon; null while it is being decoded, and for none.
    [[nodiscard]] QImage iconOf(int row) const;
    void take(const QString& key, const QImage& image);

    LibraryView& library_;
    std::vector<LibraryView::Row> rows_;
    mutable QHash<QString, int> places_;     ///< of the keys; made when somebody asks
    mutable QCache<QString, QImage> icons_;  ///< by key; costs are kilobytes
    mutable QSet<QString> decoding_, stale_;
    std::shared_ptr<LibraryModel*> self_;
};

}  // namespace morvane::views

Q_DECLARE_METATYPE(morvane::ItemState)
