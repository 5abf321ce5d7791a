#include "views/library_model.h"

#include "foundation/threads.h"
#include "views/labels.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"

namespace morvane::views {
namespace {

constexpr int mostKilobytes = 64 * 1024, largestIcon = 512;

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
    endResetModel();
}

void LibraryModel::iconChanged(std::size_t row) {
    if (row >= rows_.size()) return;
    const int number = static_cast<int>(row);
    icons_.remove(keyOf(number));
    Q_EMIT dataChanged(index(number), index(number), {Qt::DecorationRole});
}

QString LibraryModel::keyOf(int row) const {
    const auto number = static_cast<std::size_t>(row);
    if (const LocalItem* item = library_.localItem(number)) return toQt(RowIcons::keyOf(*item));
    if (const CatalogueLine* line = library_.catalogueLine(number)) return toQt(RowIcons::keyOf(*line));
    return {};
}

int LibraryModel::rowOf(const QString& key) const {
    for (int row = 0; row < rowCount(); ++row) {
        if (keyOf(row) == key) return row;
    }
    return -1;
}

int LibraryModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

QImage LibraryModel::iconOf(int row) const {
    const QString key = keyOf(row);
    if (const QImage* known = icons_.object(key)) return *known;
    const auto bytes = library_.icon(static_cast<std::size_t>(row));
    if (!bytes || decoding_.contains(key)) return {};
    decoding_.insert(key);
    MVThread::dispatchQueueWithName("app.morvane.decodeIcon", Priority::low, [self = self_, bytes, key] {
        QImage image = decodedImage(bytes->bytes, {largestIcon, largestIcon}).value_or(QImage());
        MVThread::dispatchBlockInMainQueue([self, key, image = std::move(image)] {
            if (*self == nullptr) return;
            LibraryModel& model = **self;
            model.decoding_.remove(key);
            // Also what is no picture, so that it is not decoded again.
            model.icons_.insert(key, new QImage(image),
                                static_cast<qsizetype>(1 + image.sizeInBytes() / 1024));
            const int place = model.rowOf(key);
            if (place >= 0)
                Q_EMIT model.dataChanged(model.index(place), model.index(place), {Qt::DecorationRole});
        });
    });
    return {};
}

QVariant LibraryModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const LibraryView::Row& row = rows_[static_cast<std::size_t>(index.row())];
    switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return literalLine(row.title);
        case Qt::ToolTipRole:
            return row.isMissing ? shown("%@ is not in its place any more.", {row.title})
                                 : literalLine(row.title);
        case Qt::DecorationRole:
            return iconOf(index.row());
        case isNewRole:
            return row.isNew;
        case isMissingRole:
            return row.isMissing;
        default:
            return {};
    }
}

Qt::ItemFlags LibraryModel::flags(const QModelIndex& index) const {
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
}

}  // namespace morvane::views
