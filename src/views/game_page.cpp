#include "views/game_page.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "foundation/computer_information.h"
#include "foundation/formats.h"
#include "library/item_facts.h"
#include "platform/host.h"
#include "views/action_button.h"
#include "views/background.h"
#include "views/labels.h"
#include "views/menus.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/rating_stars.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr int coverEdge = 180, sourceEdge = 28, buttonHeight = 40, buttonSymbol = 20;
constexpr QSize largestButtonPicture{1024, 256};

QLabel* centred(QLabel* label) {
    label->setAlignment(Qt::AlignHCenter);
    return label;
}

/// As people write paths in their home.
QString placeOf(const std::string& path) {
    const std::string& home = host().folders.home;
    const bool isBelow = path.starts_with(home + "/");
    return literalLine(isBelow ? "~" + path.substr(home.size()) : path);
}

QString textOf(const ItemFacts& facts, const std::string& path) {
    QStringList lines;
    const auto add = [&](const QString& label, const QString& value) {
        if (!value.isEmpty()) lines << label + ' ' + value;
    };
    if (facts.used) {
        add(shown("Last run:"),
            QLocale().toString(QDateTime::fromSecsSinceEpoch(*facts.used), QLocale::ShortFormat));
    }
    add(shown("Size on disk:"), literalLine(NSUtilities::humanReadableSizeForBytes(
                                    static_cast<std::int64_t>(facts.size), DecimalMeasureSystem::yes)));
    add(shown("Engine:"), literalLine(facts.engine));
    add(shown("Folder:"), placeOf(path));
    return lines.join('\n');
}

}  // namespace

GamePage::GamePage(AppDelegate& app, QWidget* parent)
    : QScrollArea(parent),
      app_(app),
      nothing_(new QWidget),
      content_(new QWidget),
      cover_(new QLabel),
      name_(centred(new HeadingLabel(QString(), nullptr, 1.5))),
      id_(centred(new HintLabel(QString()))),
      genres_(centred(new HintLabel(QString()))),
      facts_(new HintLabel(QString())),
      sources_(new QWidget),
      stars_(new RatingStars),
      description_(new StyledView) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    cover_->setFixedHeight(coverEdge);
    cover_->setAlignment(Qt::AlignCenter);
    auto* row = new QHBoxLayout(sources_);
    row->setContentsMargins(0, 0, 0, 0);
    description_->setAccessibleName(shown("Description"));
    description_->setFrameShape(QFrame::NoFrame);
    description_->setMinimumHeight(160);
    theme::makeFlush(*description_);
    theme::makeFlush(*description_->viewport());
    description_->setLinkHandler([this](const std::string& link) {
        if (app_.actions().shouldWebViewFollow(link)) openWebLink(link);
    });

    auto* column = new QVBoxLayout(content_);
    column->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    column->setSpacing(theme::gap);
    for (QWidget* part : {static_cast<QWidget*>(cover_), static_cast<QWidget*>(name_),
                          static_cast<QWidget*>(id_), makeActions(), sources_, static_cast<QWidget*>(genres_),
                          static_cast<QWidget*>(stars_), makeExtras()}) {
        column->addWidget(part);
    }
    column->addWidget(description_, 1);
    column->addWidget(facts_);
    auto* hint = new HintLabel(shown("Choose a game to see its page."));
    hint->setAlignment(Qt::AlignCenter);
    (new QVBoxLayout(nothing_))->addWidget(hint);
    auto* both = new QWidget;
    auto* stack = new QVBoxLayout(both);
    stack->setContentsMargins(0, 0, 0, 0);
    stack->addWidget(nothing_);
    stack->addWidget(content_);
    setWidget(both);
    refresh();
}

QWidget* GamePage::makeActions() {
    auto* holder = new QWidget;
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    action_ = new ActionButton(holder);
    action_->setMinimumHeight(buttonHeight);
    action_->setIconSize({buttonSymbol, buttonSymbol});
    theme::makePrimary(*action_);
    stop_ = new QPushButton(theme::icon("stop"), shown("Stop"), holder);
    stop_->setMinimumHeight(buttonHeight);
    more_ = new QToolButton(holder);
    more_->setIcon(theme::icon("more"));
    more_->setToolTip(shown("More"));
    more_->setAccessibleName(shown("More"));
    more_->setMinimumSize(buttonHeight, buttonHeight);
    more_->setFocusPolicy(Qt::StrongFocus);
    row->addWidget(action_, 1);
    row->addWidget(stop_, 1);
    row->addWidget(more_);
    connect(action_, &QPushButton::clicked, this, &GamePage::clickAction);
    connect(stop_, &QPushButton::clicked, this,
            [this] { app_.gamePage().actions().forceCloseGame(app_.gamePage().gameData()); });
    connect(more_, &QToolButton::clicked, this, &GamePage::showMenu);
    return holder;
}

QWidget* GamePage::makeExtras() {
    auto* holder = new QWidget;
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    rate_ = new QPushButton(theme::icon("star"), shown("Rate"), holder);
    trailer_ = new ActionButton(theme::icon("trailer"), shown("Watch Trailer"), holder);
    row->addWidget(rate_);
    row->addWidget(trailer_);
    row->addStretch();
    const auto game = [this] { return app_.gamePage().gameData(); };
    connect(rate_, &QPushButton::clicked, this, [this, game] { app_.gamePage().pages().rateGame(game()); });
    connect(trailer_, &QPushButton::clicked, this,
            [this, game] { app_.gamePage().pages().playTrailer(game()); });
    return holder;
}

// ---- What it shows

void GamePage::refresh() {
    const NSDescriptionView::Page& page = app_.gamePage().page();
    const auto game = app_.gamePage().gameData();
    content_->setVisible(page.hasGame);
    nothing_->setVisible(!page.hasGame);
    if (!page.hasGame || !game) return;
    name_->setText(literalLine(page.name));
    id_->setText(literalLine(page.appID));
    id_->setVisible(!page.appID.empty());
    refreshState();
    showCover(page.icon);
    showSources();
    QStringList genres;
    for (const std::string& genre : game->gameGenresList) genres << literalLine(genre);
    genres_->setText(genres.join(QStringLiteral(" · ")));
    genres_->setVisible(!genres.isEmpty());
    stars_->setVisible(page.canBeRated);
    stars_->setRatings(page.stars);
    rate_->setVisible(page.canBeRated);
    trailer_->setVisible(game->trailer && !game->trailer->empty());
    description_->showText(page.description);
    showFacts();
    if (page.canBeRated) askForOwnFamily();
}

void GamePage::refreshActionTitle() {
    const NSDescriptionView::Page& page = app_.gamePage().page();
    action_->setText(literalTitle(page.actionTitle));
    action_->setAccessibleName(literalLine(page.actionTitle));
    const auto game = app_.gamePage().gameData();
    const char* symbol = game && game->isGameInTheServer ? "install" : "play";
    // As in `PrimaryButton`: from right to left the text would stand at the far end.
    action_->setIcon(isRightToLeft()
                         ? QIcon()
                         : QIcon(theme::symbol(symbol, buttonSymbol, Qt::white, devicePixelRatioF())));
}

void GamePage::refreshState() {
    refreshActionTitle();
    const auto game = app_.gamePage().gameData();
    const bool isRunning = game && !game->isGameInTheServer && app_.library().isRunning(game->gamePath);
    // A game that runs is not started a second time.
    action_->setVisible(!isRunning);
    stop_->setVisible(isRunning);
    if (game && !isRunning && runningPath_ == game->gamePath) {
        factsOf_ = nullptr;
        showFacts();
    }
    runningPath_ = isRunning ? game->gamePath : "";
}

void GamePage::showCover(const std::optional<ImageData>& icon) {
    if (icon && shownIcon_ && icon->bytes == shownIcon_->bytes) return;
    shownIcon_ = icon;
    const unsigned number = ++covers_;
    if (!icon) return cover_->clear();
    inBackground(
        "app.morvane.decodeCover", this,
        [bytes = icon->bytes] {
            return decodedImage(bytes, {4 * coverEdge, 4 * coverEdge});
        },
        [this, number](const std::optional<QImage>& image) {
            if (covers_ != number) return;
            if (!image) return cover_->clear();
            cover_->setPixmap(fittingPixmap(*image, {coverEdge, coverEdge}, devicePixelRatioF()));
        });
}

void GamePage::showSources() {
    qDeleteAll(sources_->findChildren<QToolButton*>());
    auto* layout = static_cast<QHBoxLayout*>(sources_->layout());
    while (QLayoutItem* item = layout->takeAt(0)) delete item;
    const auto& sources = app_.gamePage().page().sources;
    layout->addStretch();
    for (const SourceIcon& source : sources) {
        auto* button = new QToolButton(sources_);
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::StrongFocus);
        button->setToolTip(plainToolTip(source.source));
        button->setAccessibleName(literalLine(source.source));
        button->setIconSize({sourceEdge, sourceEdge});
        if (const auto image = imageOfFile(source.image, {96, 96})) {
            button->setIcon(QIcon(QPixmap::fromImage(*image)));
        } else {
            button->setIcon(theme::icon("drive"));
        }
        connect(button, &QToolButton::clicked, this, [this, name = source.source] {
            GameInstallation::openLinkForSourceButton(app_.gamePage().gameData(), name);
        });
        layout->addWidget(button);
    }
    layout->addStretch();
    sources_->setVisible(!sources.empty());
}

void GamePage::showFacts() {
    const auto game = app_.gamePage().gameData();
    const bool isLocal = game && !game->isGameInTheServer;
    facts_->setVisible(isLocal);
    // The page changes several times while it is filled; a large game takes its time.
    if (!isLocal || factsOf_ == game) return;
    factsOf_ = game;
    facts_->setText(placeOf(game->gamePath));
    inBackground(
        "app.morvane.itemFacts", this, [path = game->gamePath] { return factsOfItem(path); },
        [this, game](const ItemFacts& facts) {
            if (factsOf_ == game) facts_->setText(textOf(facts, game->gamePath));
        });
}

void GamePage::askForOwnFamily() {
    if (std::exchange(knowsFamily_, true)) return;
    inBackground(
        "app.morvane.graphicCard", this, [] { return NSComputerInformation::graphicCardType(); },
        [this](const std::optional<std::string>& family) { stars_->setOwnFamily(family); });
}

void GamePage::setButtonPicture(const std::string& picture) {
    const auto set = [this](const QPixmap& pixmap) {
        action_->setPicture(pixmap);
        trailer_->setPicture(pixmap);
    };
    if (picture.empty()) return set({});
    inBackground(
        "app.morvane.buttonPicture", this, [picture] { return imageOfFile(picture, largestButtonPicture); },
        [set](const std::optional<QImage>& image) { set(image ? QPixmap::fromImage(*image) : QPixmap()); });
}

// ---- What the user does

void GamePage::clickAction() {
    // A double click is one.
    constexpr std::chrono::milliseconds restOfDoubleClick{600};
    action_->setEnabled(false);
    QTimer::singleShot(restOfDoubleClick, action_, [this] { action_->setEnabled(true); });
    app_.gamePage().clickAction();
}

void GamePage::showMenu() {
    QMenu menu(this);
    fillMenu(menu, app_.gamePage().moreMenu());
    menu.exec(more_->mapToGlobal(QPoint(0, more_->height())));
}

}  // namespace morvane::views
