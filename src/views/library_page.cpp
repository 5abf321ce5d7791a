#include "views/library_page.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include "views/cover_delegate.h"
#include "views/labels.h"
#include "views/library_model.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

QToolButton* toggle(const QString& title, std::string_view symbol, QWidget* parent) {
    auto* button = new QToolButton(parent);
    button->setText(title);
    button->setAccessibleName(title);
    button->setToolTip(title);
    button->setCheckable(true);
    button->setAutoRaise(true);
    if (symbol.empty()) {
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    } else {
        button->setIcon(theme::icon(symbol));
    }
    return button;
}

}  // namespace

LibraryPage::LibraryPage(AppDelegate& app, QWidget* parent)
    : QWidget(parent),
      app_(app),
      model_(new LibraryModel(app.library(), this)),
      delegate_(new CoverDelegate(this)),
      list_(new QListView(this)),
      stack_(new QStackedWidget(this)) {
    list_->setModel(model_);
    list_->setItemDelegate(delegate_);
    list_->setUniformItemSizes(true);
    list_->setMouseTracking(true);
    list_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->setAccessibleName(shown("Games"));
    list_->installEventFilter(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeBar());
    layout->addWidget(stack_);
    stack_->addWidget(list_);
    stack_->addWidget(makeEmptyPage());
    connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& now) {
                if (now.isValid()) Q_EMIT gameWanted(static_cast<std::size_t>(now.row()));
            });
    connect(list_, &QListView::doubleClicked, this, &LibraryPage::gameActivated);
    connect(list_, &QListView::customContextMenuRequested, this, &LibraryPage::showMenuOfRow);
    showAs(true);
}

QWidget* LibraryPage::makeBar() {
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    mine_ = toggle(shown("My Games"), "", bar);
    catalogue_ = toggle(shown("Catalogue"), "", bar);
    auto* tabs = new QButtonGroup(bar);
    tabs->addButton(mine_);
    tabs->addButton(catalogue_);
    mine_->setChecked(true);
    search_ = new QLineEdit(bar);
    search_->setPlaceholderText(shown("Search"));
    search_->setAccessibleName(shown("Search"));
    search_->setClearButtonEnabled(true);
    search_->addAction(theme::icon("search"), QLineEdit::LeadingPosition);
    search_->installEventFilter(this);
    asGrid_ = toggle(shown("Grid"), "grid", bar);
    asList_ = toggle(shown("List"), "list", bar);
    auto* looks = new QButtonGroup(bar);
    looks->addButton(asGrid_);
    looks->addButton(asList_);
    auto* sort = new QToolButton(bar);
    sort->setIcon(theme::icon("sort"));
    sort->setToolTip(shown("Order"));
    sort->setAccessibleName(shown("Order"));
    sort->setAutoRaise(true);
    auto* add = new QToolButton(bar);
    add->setIcon(theme::icon("add"));
    add->setToolTip(shown("Add a game"));
    add->setAccessibleName(shown("Add a game"));
    add->setAutoRaise(true);
    layout->addWidget(mine_);
    layout->addWidget(catalogue_);
    layout->addWidget(search_, 1);
    for (QToolButton* button : {asGrid_, asList_, sort, add}) layout->addWidget(button);
    connect(mine_, &QToolButton::clicked, this, [this] { showTab(NSAppsArray::localTab); });
    connect(catalogue_, &QToolButton::clicked, this, [this] { showTab(NSAppsArray::catalogueTab); });
    connect(search_, &QLineEdit::textChanged, this,
            [this](const QString& text) { app_.library().search(fromQt(text)); });
    connect(asGrid_, &QToolButton::clicked, this, [this] { showAs(true); });
    connect(asList_, &QToolButton::clicked, this, [this] { showAs(false); });
    connect(add, &QToolButton::clicked, this, [this] { app_.library().add(); });
    connect(sort, &QToolButton::clicked, this, [this, sort] {
        QMenu menu(this);
        addMenuItems(menu, app_.library().contextMenu());
        menu.exec(sort->mapToGlobal(QPoint(0, sort->height())));
    });
    return bar;
}

QWidget* LibraryPage::makeEmptyPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    emptyText_ = new HeadingLabel(QString(), page);
    emptyText_->setAlignment(Qt::AlignCenter);
    browse_ = new QPushButton(shown("Browse the catalogue"), page);
    again_ = new QPushButton(shown("Try again"), page);
    auto* openPort = new QPushButton(shown("Open a port…"), page);
    layout->addStretch();
    layout->addWidget(emptyText_);
    layout->addSpacing(theme::margin);
    for (QPushButton* button : {browse_, again_, openPort}) layout->addWidget(button, 0, Qt::AlignCenter);
    layout->addStretch();
    connect(browse_, &QPushButton::clicked, this, [this] { showTab(NSAppsArray::catalogueTab); });
    connect(again_, &QPushButton::clicked, this, [this] {
        app_.library().refreshList();
        tellWhyEmpty();
    });
    connect(openPort, &QPushButton::clicked, this, [this] { app_.createWrapper(); });
    return page;
}

void LibraryPage::refresh() {
    const QString current = model_->keyOf(list_->currentIndex().row());
    const QSignalBlocker quiet(list_->selectionModel());
    model_->reload();
    const int row = current.isEmpty() ? -1 : model_->rowOf(current);
    if (row >= 0) list_->setCurrentIndex(model_->index(row));
    if (grid_) {
        const auto size = LibraryView::gridItemSize();
        delegate_->setCover({size.width, size.height});
    }
    tellWhyEmpty();
}

void LibraryPage::tellWhyEmpty() {
    const bool isEmpty = model_->rowCount() == 0;
    stack_->setCurrentIndex(isEmpty ? 1 : 0);
    if (!isEmpty) return;
    const bool isLocal = tab_ == NSAppsArray::localTab;
    QString text;
    if (!app_.library().keywords().empty()) {
        text = shown("No game has such a name.");
    } else if (isLocal) {
        text =
            app_.apps().isLoaded() ? shown("There is no game here yet.") : shown("Looking for your games…");
    } else {
        text = app_.apps().hasCatalogueAnswered() ? shown("The catalogue is empty.")
                                                  : shown("The catalogue can't be reached.");
    }
    emptyText_->setText(text);
    browse_->setVisible(isLocal);
    again_->setVisible(!isLocal);
}

void LibraryPage::showTab(std::int64_t tab) {
    tab_ = tab;
    (tab == NSAppsArray::localTab ? mine_ : catalogue_)->setChecked(true);
    app_.library().showTab(tab);
}

void LibraryPage::showAs(bool grid) {
    grid_ = grid;
    (grid ? asGrid_ : asList_)->setChecked(true);
    list_->setViewMode(grid ? QListView::IconMode : QListView::ListMode);
    list_->setFlow(grid ? QListView::LeftToRight : QListView::TopToBottom);
    list_->setWrapping(grid);
    list_->setResizeMode(QListView::Adjust);
    list_->setMovement(QListView::Static);
    const auto size = LibraryView::gridItemSize();
    delegate_->setCover(grid ? QSize(size.width, size.height) : QSize());
    list_->doItemsLayout();
}

void LibraryPage::focusSearch() {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
}

void LibraryPage::addMenuItems(QMenu& menu, const std::vector<LibraryMenuItem>& items) {
    for (const LibraryMenuItem& item : items) {
        if (!item.items.empty()) {
            addMenuItems(*menu.addMenu(literalTitle(item.title)), item.items);
            continue;
        }
        QAction* action = menu.addAction(literalTitle(item.title));
        action->setCheckable(item.marked);
        action->setChecked(item.marked);
        if (item.action) connect(action, &QAction::triggered, this, item.action);
    }
}

void LibraryPage::showMenuOfRow(const QPoint& place) {
    const QModelIndex index = list_->indexAt(place);
    QMenu menu(this);
    if (index.isValid() && app_.gamePage().gameData()) {
        for (const auto& item : app_.gamePage().moreMenu()) {
            QAction* action = menu.addAction(literalTitle(item.title));
            action->setEnabled(item.enabled);
            if (item.action) connect(action, &QAction::triggered, this, item.action);
        }
    } else {
        addMenuItems(menu, app_.library().contextMenu());
    }
    menu.exec(list_->viewport()->mapToGlobal(place));
}

void LibraryPage::removeCurrent() {
    const QModelIndex index = list_->currentIndex();
    if (!index.isValid()) return;
    const LocalItem* item = app_.library().localItem(static_cast<std::size_t>(index.row()));
    if (item != nullptr) app_.library().remove(std::string(item->path));
}

bool LibraryPage::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (watched == search_ && key == Qt::Key_Escape) {
            search_->clear();
            return true;
        }
        if (watched == list_ && (key == Qt::Key_Return || key == Qt::Key_Enter)) {
            Q_EMIT gameActivated();
            return true;
        }
        if (watched == list_ && key == Qt::Key_Delete) {
            removeCurrent();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace morvane::views
