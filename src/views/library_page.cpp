#include "views/library_page.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSlider>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "foundation/settings.h"
#include "library/grid_size.h"
#include "views/background.h"
#include "views/labels.h"
#include "views/library_list.h"
#include "views/library_model.h"
#include "views/menus.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

/// What the slider goes over, in hundredths of a cover's own size.
constexpr int smallest = 50, own = 100, largest = 200, sliderWidth = 110;
constexpr std::chrono::milliseconds restOfSlider{300};
constexpr QSize largestBackground{3840, 2160}, largestButtonPicture{256, 256};

}  // namespace

LibraryPage::LibraryPage(AppDelegate& app, QWidget* parent)
    : QWidget(parent),
      app_(app),
      model_(new LibraryModel(app.library(), this)),
      list_(new LibraryList(this)),
      storeScale_(new QTimer(this)),
      stack_(new QStackedWidget(this)) {
    list_->setModel(model_);
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
    connect(list_, &LibraryList::gameActivated, this, &LibraryPage::activate);
    connect(list_, &LibraryList::actionClicked, this, &LibraryPage::clickAction);
    connect(list_, &LibraryList::removalWanted, this, &LibraryPage::remove);
    connect(list_, &QListView::customContextMenuRequested, this, &LibraryPage::showMenuOfRow);
    storeScale_->setSingleShot(true);
    storeScale_->setInterval(restOfSlider);
    connect(storeScale_, &QTimer::timeout, this, [this] { reduceGridItems(double{own} / scale_->value()); });
    updateShelf();
    showAs(true);
}

// ---- The bar

QWidget* LibraryPage::makeBar() {
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(theme::gap, theme::gap, theme::gap, theme::gap);
    makeTabs(bar);
    layout->addSpacing(theme::gap);
    makeSearch(bar);
    makeLooks(bar);
    return bar;
}

QToolButton* LibraryPage::makeButton(QWidget* bar, const QString& title, std::string_view symbol) {
    auto* button = new QToolButton(bar);
    button->setText(title);
    button->setAccessibleName(title);
    button->setToolTip(title);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::StrongFocus);
    if (symbol.empty()) {
        button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    } else {
        button->setIcon(theme::icon(symbol));
    }
    bar->layout()->addWidget(button);
    return button;
}

void LibraryPage::makeTabs(QWidget* bar) {
    mine_ = makeButton(bar, shown("My Games"), "");
    catalogue_ = makeButton(bar, shown("Catalogue"), "");
    auto* tabs = new QButtonGroup(bar);
    for (QToolButton* button : {mine_, catalogue_}) {
        button->setCheckable(true);
        tabs->addButton(button);
    }
    mine_->setChecked(true);
    connect(mine_, &QToolButton::clicked, this, [this] { showTab(localTab); });
    connect(catalogue_, &QToolButton::clicked, this, [this] { showTab(catalogueTab); });
}

void LibraryPage::makeSearch(QWidget* bar) {
    search_ = new QLineEdit(bar);
    search_->setPlaceholderText(shown("Search"));
    search_->setAccessibleName(shown("Search"));
    search_->setClearButtonEnabled(true);
    search_->addAction(theme::icon("search"), QLineEdit::LeadingPosition);
    search_->installEventFilter(this);
    static_cast<QHBoxLayout*>(bar->layout())->addWidget(search_, 1);
    connect(search_, &QLineEdit::textChanged, this,
            [this](const QString& text) { app_.library().search(fromQt(text)); });
}

void LibraryPage::makeLooks(QWidget* bar) {
    scale_ = new QSlider(Qt::Horizontal, bar);
    scale_->setRange(smallest, largest);
    scale_->setFixedWidth(sliderWidth);
    scale_->setAccessibleName(shown("Size of covers"));
    scale_->setToolTip(shown("Size of covers"));
    scale_->setValue(qRound(own / settings::get(settings::collectionViewIconsScale)));
    bar->layout()->addWidget(scale_);
    connect(scale_, &QSlider::valueChanged, this, [this] {
        takeScale();
        storeScale_->start();
    });
    asGrid_ = makeButton(bar, shown("Grid"), "grid");
    asList_ = makeButton(bar, shown("List"), "list");
    auto* looks = new QButtonGroup(bar);
    for (QToolButton* button : {asGrid_, asList_}) {
        button->setCheckable(true);
        looks->addButton(button);
    }
    connect(asGrid_, &QToolButton::clicked, this, [this] { showAs(true); });
    connect(asList_, &QToolButton::clicked, this, [this] { showAs(false); });
    order_ = makeButton(bar, shown("Order"), "sort");
    connect(order_, &QToolButton::clicked, this, [this] {
        QMenu menu(this);
        addMenuItems(menu, app_.library().contextMenu());
        menu.exec(order_->mapToGlobal(QPoint(0, order_->height())));
    });
    const QToolButton* add = makeButton(bar, shown("Add a game"), "add");
    connect(add, &QToolButton::clicked, this, [this] { app_.library().add(); });
}

// ---- What it shows

QWidget* LibraryPage::makeEmptyPage() {
    auto* page = new QWidget(this);
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    emptyText_ = new HeadingLabel(QString(), page);
    emptyHint_ = new HintLabel(QString(), page);
    for (QLabel* label : {emptyText_, emptyHint_}) label->setAlignment(Qt::AlignCenter);
    browse_ = new QPushButton(theme::icon("library"), shown("Browse the catalogue"), page);
    again_ = new QPushButton(theme::icon("refresh"), shown("Try again"), page);
    openPort_ = new QPushButton(theme::icon("open"), shown("Open a port…"), page);
    layout->addStretch();
    layout->addWidget(emptyText_);
    layout->addWidget(emptyHint_);
    layout->addSpacing(theme::margin);
    for (QPushButton* button : {browse_, again_, openPort_}) {
        button->setMinimumWidth(14 * theme::margin);
        layout->addWidget(button, 0, Qt::AlignCenter);
    }
    layout->addStretch();
    connect(browse_, &QPushButton::clicked, this, [this] { showTab(catalogueTab); });
    connect(again_, &QPushButton::clicked, this, [this] { app_.library().refreshList(); });
    connect(openPort_, &QPushButton::clicked, this, [this] { app_.actions().createWrapper(); });
    return page;
}

void LibraryPage::refresh() {
    const QString current = model_->keyOf(list_->currentIndex().row());
    {
        // The same game stays chosen: nobody has chosen another one.
        const QSignalBlocker quiet(list_->selectionModel());
        model_->reload();
        const int row = current.isEmpty() ? -1 : model_->rowOf(current);
        if (row >= 0) list_->setCurrentIndex(model_->index(row));
    }
    list_->viewport()->update();
    order_->setToolTip(tab_ == localTab ? shown("Order") : shown("Refresh"));
    tellWhyEmpty();
}

void LibraryPage::refreshRow(std::size_t row) {
    model_->rowChanged(row);
}

void LibraryPage::tellWhyEmpty() {
    const bool isEmpty = model_->rowCount() == 0;
    const bool hadFocus = list_->hasFocus();
    stack_->setCurrentIndex(isEmpty ? 1 : 0);
    if (!isEmpty) return;
    const bool isLocal = tab_ == localTab;
    const bool isSearch = !app_.library().keywords().empty();
    const auto state = app_.apps().catalogueState();
    using State = NSAppsArray::CatalogueState;
    const bool isUnreachable = !isLocal && state == State::unreachable;
    QString text, hint;
    if (isUnreachable) {
        text = shown("The catalogue can't be reached.");
        hint =
            shown("Look at your internet connection, or try again later. Your own games are not concerned.");
    } else if (!isLocal && state != State::loaded) {
        text = shown("Loading the catalogue…");
    } else if (isSearch) {
        text = shown("No game has such a name.");
    } else if (!isLocal) {
        text = shown("The catalogue is empty.");
    } else if (app_.apps().isLoaded()) {
        text = shown("There is no game here yet.");
        hint = shown("Choose one from the catalogue, or open a port that you have.");
    } else {
        text = shown("Looking for your games…");
    }
    emptyText_->setText(text);
    emptyHint_->setText(hint);
    emptyHint_->setVisible(!hint.isEmpty());
    browse_->setVisible(isLocal && !isSearch && app_.apps().isLoaded());
    openPort_->setVisible(browse_->isVisibleTo(this));
    again_->setVisible(isUnreachable || (!isLocal && state == State::loaded && !isSearch));
    // The keyboard goes on where it was.
    if (hadFocus) search_->setFocus();
}

void LibraryPage::showTab(std::int64_t tab) {
    tab_ = tab;
    (tab == localTab ? mine_ : catalogue_)->setChecked(true);
    app_.library().showTab(tab);
}

void LibraryPage::showAs(bool grid) {
    grid_ = grid;
    (grid ? asGrid_ : asList_)->setChecked(true);
    scale_->setEnabled(grid);
    takeScale();
}

void LibraryPage::takeScale() {
    const auto size = gridItemSize(double{own} / scale_->value());
    list_->setCover(grid_ ? QSize(size.width, size.height) : QSize());
}

void LibraryPage::setBackground(const std::string& picture) {
    setPicture(picture, largestBackground, &LibraryList::setBackground);
}

void LibraryPage::setButtonPicture(const std::string& picture) {
    setPicture(picture, largestButtonPicture, &LibraryList::setButtonPicture);
}

void LibraryPage::setPicture(const std::string& picture, QSize largestSize,
                             void (LibraryList::*set)(const QPixmap&)) {
    if (picture.empty()) return (list_->*set)({});
    inBackground(
        "app.morvane.themePicture", this,
        [picture, largestSize] { return imageOfFile(picture, largestSize); },
        [this, set](const std::optional<QImage>& image) {
            (list_->*set)(image ? QPixmap::fromImage(*image) : QPixmap());
        });
}

void LibraryPage::updateShelf() {
    list_->setShelf(!settings::get(settings::hideDockInGridView));
}

// ---- What the user does

void LibraryPage::focusSearch() {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
}

std::string LibraryPage::pathOf(const QModelIndex& index) const {
    const LocalItem* item = app_.library().localItem(static_cast<std::size_t>(index.row()));
    return item != nullptr ? item->path : "";
}

void LibraryPage::activate(const QModelIndex& index) {
    app_.activateRow(static_cast<std::size_t>(index.row()));
}

void LibraryPage::clickAction(const QModelIndex& index) {
    const std::string path = pathOf(index);
    if (path.empty()) return;
    if (app_.library().isRunning(path)) return app_.actions().stopItem(path);
    activate(index);
}

void LibraryPage::remove(const QModelIndex& index) {
    if (const std::string path = pathOf(index); !path.empty()) app_.library().remove(path);
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
    // The key for menus gives the middle of the row.
    const QModelIndex index = list_->indexAt(place);
    QMenu menu(this);
    if (index.isValid()) fillMenu(menu, app_.menuOfRow(static_cast<std::size_t>(index.row())));
    if (menu.isEmpty()) addMenuItems(menu, app_.library().contextMenu());
    menu.exec(list_->viewport()->mapToGlobal(place));
}

bool LibraryPage::eventFilter(QObject* watched, QEvent* event) {
    if (watched != search_ || event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Escape) {
        search_->clear();
        return true;
    }
    // From what was typed to what was found.
    if ((key == Qt::Key_Down || key == Qt::Key_Return) && model_->rowCount() > 0) {
        list_->setFocus();
        if (!list_->currentIndex().isValid()) list_->setCurrentIndex(model_->index(0));
        return true;
    }
    return false;
}

}  // namespace morvane::views
