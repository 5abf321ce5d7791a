#include "views/resources_window.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include "views/background.h"
#include "views/labels.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

enum Column { titleColumn, symbolColumn, actionColumn, columnCount };
constexpr QSize firstSize{560, 220};

}  // namespace

ResourcesWindow::ResourcesWindow(std::shared_ptr<NSProgressView> progress, QWidget* parent)
    : QDialog(parent),
      state_(std::make_shared<NSNeededResourcesWindow>(std::move(progress))),
      table_(new QTableWidget(0, columnCount)) {
    setWindowTitle(shown("Needed Resources"));
    resize(firstSize);
    table_->setAccessibleName(windowTitle());
    table_->setHorizontalHeaderLabels({shown("What is needed"), QString(), shown("Action")});
    table_->horizontalHeader()->setSectionResizeMode(titleColumn, QHeaderView::Stretch);
    table_->horizontalHeader()->setSectionResizeMode(symbolColumn, QHeaderView::ResizeToContents);
    table_->horizontalHeader()->setSectionResizeMode(actionColumn, QHeaderView::ResizeToContents);
    table_->verticalHeader()->hide();
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setTabKeyNavigation(false);
    connect(table_, &QTableWidget::cellActivated, this,
            [this](int row) { fix(static_cast<std::size_t>(row)); });
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    buttons->button(QDialogButtonBox::Close)->setText(shown("Close"));
    fix_ = buttons->addButton(shown("Fix"), QDialogButtonBox::ActionRole);
    connect(fix_, &QPushButton::clicked, this, [this] {
        if (table_->currentRow() >= 0) fix(static_cast<std::size_t>(table_->currentRow()));
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(table_, &QTableWidget::itemSelectionChanged, this, [this] { showRows(state_->rows()); });
    auto* column = new QVBoxLayout(this);
    column->addWidget(table_);
    column->addWidget(buttons);
    fix_->setEnabled(false);
    look();
}

void ResourcesWindow::look() {
    // The newest version is asked of the site.
    work([](NSNeededResourcesWindow& state) { state.reloadContents(); });
}

void ResourcesWindow::fix(std::size_t row) {
    work([row](NSNeededResourcesWindow& state) { state.fixRow(row); });
}

void ResourcesWindow::work(const std::function<void(NSNeededResourcesWindow&)>& task) {
    if (std::exchange(isWorking_, true)) return;
    setCursor(Qt::BusyCursor);
    fix_->setEnabled(false);
    inBackground(
        "app.morvane.neededResources", this,
        [state = state_, task] {
            task(*state);
            return true;
        },
        [this](bool) {
            isWorking_ = false;
            unsetCursor();
            showRows(state_->rows());
        });
}

void ResourcesWindow::showRows(const Rows& rows) {
    if (isWorking_) return;
    table_->setRowCount(static_cast<int>(rows.size()));
    for (std::size_t number = 0; number < rows.size(); ++number) {
        const QString texts[]{literalLine(rows[number].title), literalLine(rows[number].symbol),
                              literalLine(rows[number].action)};
        for (int place = 0; place < columnCount; ++place) {
            const int row = static_cast<int>(number);
            if (table_->item(row, place) == nullptr) table_->setItem(row, place, new QTableWidgetItem);
            table_->item(row, place)->setText(texts[place]);
        }
    }
    const auto chosen = static_cast<std::size_t>(table_->currentRow());
    fix_->setEnabled(table_->currentRow() >= 0 && chosen < rows.size() &&
                     rows[chosen].status == NSNeededResourcesWindow::Status::missing);
}

}  // namespace morvane::views
