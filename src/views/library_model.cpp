#include "views/library_model.h"

#include <QMimeData>
#include <algorithm>

#include "foundation/threads.h"
#include "views/labels.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"

namespace morvane::views {
namespace {

constexpr int mostKilobytes = 64 * 1024, largestIcon = 512;
constexpr auto rowType = "application/x-morvane-row";

}  // namespace

LibraryModel::LibraryModel(LibraryView& library, QObject* parent)
    : QAbstractListModel(parent),
      library_(library),
      icons_(mostKilobytes),
      self_(std::make_shared<LibraryModel*>(this)) {}

LibraryModel::~LibraryModel() {
    *self_ = nullptr;
}

void LibraryModel::reload() {
    beginResetModel();
    rows_ = library_.rows();
    places_.clear();
    endResetModel();
}

void LibraryModel::rowChanged(std::size_t row) {
    if (row >= rows_.size() || row >= library_.numberOfRows()) return;
    LibraryView::Row now = library_.row(row);
    // The view may show other rows already, which are taken over as a whole.
    if (now.key != rows_[row].key) return;
    if (now == rows_[row]) stale_.insert(toQt(now.key));
    rows_[row] = std::move(now);
    Q_EMIT dataChanged(index(static_cast<int>(row)), index(static_cast<int>(row)));
}

QString LibraryModel::keyOf(int row) const {
    const auto number = static_cast<std::size_t>(row);
    return row >= 0 && number < rows_.size() ? toQt(rows_[number].key) : QString();
}

int LibraryModel::rowOf(const QString& key) const {
    if (places_.isEmpty()) {
        for (int row = 0; row < rowCount(); ++row) places_.insert(keyOf(row), row);
    }
    return places_.value(key, -1);
}

int LibraryModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QImage LibraryModel::iconOf(int row) const {
    const QString key = keyOf(row);
    const QImage* known = icons_.object(key);
    if (known != nullptr && !stale_.contains(key)) return *known;
    // The old one is shown until the new one is there.
    const QImage now = known != nullptr ? *known : QImage();
    const auto bytes = library_.icon(static_cast<std::size_t>(row));
    if (!bytes || decoding_.contains(key)) return now;
    decoding_.insert(key);
    stale_.remove(key);
    MVThread::dispatchQueueWithName("app.morvane.decodeIcon", Priority::low, [self = self_, bytes, key] {
        QImage image = decodedImage(bytes->bytes, {largestIcon, largestIcon}).value_or(QImage());
        MVThread::dispatchBlockInMainQueue([self, key, image = std::move(image)] {
            if (*self != nullptr) (*self)->take(key, image);
        });
    });
    return now;
}

void LibraryModel::take(const QString& key, const QImage& image) {
    decoding_.remove(key);
    // Also what is no picture, so that it is not decoded again.
    icons_.insert(key, new QImage(image), static_cast<qsizetype>(1 + image.sizeInBytes() / 1024));
    const int place = rowOf(key);
    if (place >= 0) Q_EMIT dataChanged(index(place), index(place), {Qt::DecorationRole});
}

QVariant LibraryModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const LibraryView::Row& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return literalLine(row.title);
        case Qt::ToolTipRole:
            return plainToolTip(fromQt(data(index, Qt::AccessibleDescriptionRole).toString()));
        case Qt::AccessibleDescriptionRole:
            return row.state.isMissing      ? shown("%@ is not in its place any more.", {row.title})
                   : row.state.isRunning    ? shown("%@ is running.", {row.title})
                   : row.state.isUnfinished ? shown("The installation of %@ was cut short.", {row.title})
                                            : literalLine(row.title);
        case Qt::DecorationRole:
            return iconOf(index.row());
        case isNewRole:
            return row.isNew;
        case stateRole:
            return QVariant::fromValue(row.state);
        case isLocalRole:
            return library_.localItem(static_cast<std::size_t>(index.row())) != nullptr;
        default:
            return {};
    }
}

Qt::ItemFlags LibraryModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
}

QStringList LibraryModel::mimeTypes() const {
    return {rowType};
}

QMimeData* LibraryModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(rowType, keyOf(indexes.front().row()).toUtf8());
    return data;
}

bool LibraryModel::canDropMimeData(const QMimeData* data, Qt::DropAction, int, int,
                                   const QModelIndex&) const {
    return data->hasFormat(rowType) && library_.canDrag();
}

bool LibraryModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    const int from = rowOf(QString::fromUtf8(data->data(rowType)));
    int to = parent.isValid() ? parent.row() : row < 0 ? rowCount() : row;
    // Where it is once it has left its old place.
    if (row >= 0 && from < to) --to;
    to = std::min(to, rowCount() - 1);
    if (from < 0 || from == to) return false;
    library_.drag(static_cast<std::size_t>(from), static_cast<std::size_t>(to));
    // The rows are made anew already: nothing is to be taken away from its old place.
    return false;
}

}  // namespace morvane::views
