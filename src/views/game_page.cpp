#include "views/game_page.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <array>
#include <cmath>

#include "foundation/threads.h"
#include "library/game_actions.h"
#include "views/labels.h"
#include "views/pixmaps.h"
#include "views/qt_text.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr int coverEdge = 180, sourceEdge = 28;
constexpr std::array families{"ATi/AMD", "NVIDIA", "Intel Iris", "Intel HD"};

QString starsText(double value) {
    const int full = static_cast<int>(std::lround(std::clamp(value, 0.0, 5.0)));
    return QString(full, QChar(0x2605)) + QString(5 - full, QChar(0x2606));
}

void clear(QWidget& holder) {
    const auto children = holder.findChildren<QToolButton*>();
    for (QToolButton* child : children) child->deleteLater();
}

}  // namespace

GamePage::GamePage(AppDelegate& app, QWidget* parent)
    : QScrollArea(parent), app_(app), self_(std::make_shared<GamePage*>(this)) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus);
    content_ = new QWidget(this);
    auto* layout = new QVBoxLayout(content_);
    layout->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    layout->setSpacing(theme::gap);
    cover_ = new QLabel(content_);
    cover_->setFixedHeight(coverEdge);
    cover_->setAlignment(Qt::AlignCenter);
    name_ = new HeadingLabel(QString(), content_, 1.5);
    id_ = new HintLabel(QString(), content_);
    action_ = new QPushButton(content_);
    action_->setMinimumHeight(40);
    action_->setIconSize({20, 20});
    theme::makePrimary(*action_);
    more_ = new QToolButton(content_);
    more_->setIcon(theme::icon("more"));
    more_->setToolTip(shown("More"));
    more_->setAccessibleName(shown("More"));
    more_->setMinimumSize(40, 40);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(action_, 1);
    buttons->addWidget(more_);
    sources_ = new QWidget(content_);
    auto* row = new QHBoxLayout(sources_);
    row->setContentsMargins(0, 0, 0, 0);
    stars_ = new BodyLabel(QString(), content_);
    rate_ = new QPushButton(shown("Rate"), content_);
    facts_ = new HintLabel(QString(), content_);
    description_ = new StyledView(content_);
    description_->setAccessibleName(shown("Description"));
    description_->setFrameShape(QFrame::NoFrame);
    description_->setMinimumHeight(160);
    theme::makeFlush(*description_);
    theme::makeFlush(*description_->viewport());
    description_->setLinkHandler([this](const std::string& link) {
        if (app_.shouldWebViewFollow(link)) openWebLink(link);
    });
    layout->addWidget(cover_);
    layout->addWidget(name_);
    layout->addWidget(id_);
    layout->addLayout(buttons);
    layout->addWidget(sources_);
    layout->addWidget(stars_);
    layout->addWidget(rate_, 0, Qt::AlignLeft);
    layout->addWidget(facts_);
    layout->addWidget(description_, 1);
    setWidget(content_);
    connect(action_, &QPushButton::clicked, this, [this] { app_.gamePage().clickAction(); });
    connect(more_, &QToolButton::clicked, this, &GamePage::showMenu);
    connect(rate_, &QPushButton::clicked, this,
            [this] { app_.gamePage().pages().rateGame(app_.gamePage().gameData()); });
    refresh();
}

GamePage::~GamePage() {
    *self_ = nullptr;
}

void GamePage::refresh() {
    const NSDescriptionView::Page& page = app_.gamePage().page();
    content_->setVisible(page.hasGame);
    if (!page.hasGame) return;
    name_->setText(literalLine(page.name));
    id_->setText(literalLine(page.appID));
    id_->setVisible(!page.appID.empty());
    refreshActionTitle();
    showCover(page.icon);
    showSources();
    stars_->setVisible(page.canBeRated);
    rate_->setVisible(page.canBeRated);
    QStringList lines;
    for (std::size_t family = 0; family < families.size(); ++family) {
        lines << QString("%1  %2").arg(starsText(page.stars.at(family)), families.at(family));
    }
    stars_->setText(lines.join('\n'));
    description_->showText(page.description);
    showFacts();
}

void GamePage::refreshActionTitle() {
    const NSDescriptionView::Page& page = app_.gamePage().page();
    action_->setText(literalTitle(page.actionTitle));
    action_->setAccessibleName(literalLine(page.actionTitle));
    const auto game = app_.gamePage().gameData();
    const char* symbol = game && game->isGameInTheServer ? "install" : "play";
    constexpr int symbolEdge = 20;
    action_->setIcon(QIcon(theme::symbol(symbol, symbolEdge, Qt::white, devicePixelRatioF())));
}

void GamePage::showCover(const std::optional<ImageData>& icon) {
    const unsigned number = ++covers_;
    if (!icon) return cover_->clear();
    MVThread::dispatchQueueWithName(
        "app.morvane.decodeCover", Priority::normal, [self = self_, number, icon = *icon] {
            auto image = decodedImage(icon.bytes, {4 * coverEdge, 4 * coverEdge});
            MVThread::dispatchBlockInMainQueue([self, number, image = std::move(image)] {
                if (*self == nullptr || (*self)->covers_ != number) return;
                QLabel& cover = *(*self)->cover_;
                if (!image) return cover.clear();
                cover.setPixmap(fittingPixmap(*image, {coverEdge, coverEdge}, cover.devicePixelRatioF()));
            });
        });
}

void GamePage::showSources() {
    clear(*sources_);
    auto* layout = static_cast<QHBoxLayout*>(sources_->layout());
    while (QLayoutItem* item = layout->takeAt(0)) delete item;
    const auto& sources = app_.gamePage().page().sources;
    for (const NSDescriptionView::SourceIcon& source : sources) {
        auto* button = new QToolButton(sources_);
        button->setAutoRaise(true);
        button->setToolTip(literalLine(source.source));
        button->setAccessibleName(literalLine(source.source));
        button->setIconSize({sourceEdge, sourceEdge});
        if (const auto image = imageOfFile(source.image, {96, 96})) {
            button->setIcon(QIcon(QPixmap::fromImage(*image)));
        } else {
            button->setText(literalTitle(source.source));
        }
        connect(button, &QToolButton::clicked, this,
                [this, name = source.source] { app_.gamePage().openLinkForSourceButton(name); });
        layout->addWidget(button);
    }
    layout->addStretch();
    sources_->setVisible(!sources.empty());
}

void GamePage::showFacts() {
    const auto game = app_.gamePage().gameData();
    const bool isLocal = game && !game->isGameInTheServer;
    facts_->setVisible(isLocal);
    if (isLocal) facts_->setText(literalLine(game->gamePath));
}

void GamePage::showMenu() {
    QMenu menu(this);
    for (const NSDescriptionView::MenuItem& item : app_.gamePage().moreMenu()) {
        QAction* action = menu.addAction(literalTitle(item.title));
        action->setEnabled(item.enabled);
        if (item.action) connect(action, &QAction::triggered, this, item.action);
    }
    menu.exec(more_->mapToGlobal(QPoint(0, more_->height())));
}

}  // namespace morvane::views
