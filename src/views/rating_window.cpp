#include "views/rating_window.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

#include "views/labels.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int starSize = 40;

}  // namespace

RatingWindow::RatingWindow(std::shared_ptr<NSVotingPanel> panel, QWidget* parent)
    : QDialog(parent), panel_(std::move(panel)) {
    setWindowTitle(literalLine(panel_->title()));
    setModal(true);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(theme::margin + theme::gap, theme::margin + theme::gap,
                            theme::margin + theme::gap, theme::margin);
    all->setSpacing(theme::margin);
    auto* title = new HeadingLabel(literalLine(panel_->title()));
    title->setAlignment(Qt::AlignCenter);
    title->setMinimumWidth(8 * starSize);
    all->addWidget(title);

    auto* row = new QHBoxLayout;
    row->setSpacing(theme::gap / 2);
    row->addStretch();
    for (int star = 1; star <= 5; ++star) {
        auto* button = new QToolButton;
        button->setAutoRaise(true);
        button->setIconSize({starSize, starSize});
        button->setAccessibleName(star == 1 ? shown("1 star") : shown("%d stars", {std::to_string(star)}));
        button->setToolTip(button->accessibleName());
        button->setCheckable(true);
        button->setFocusPolicy(Qt::StrongFocus);
        connect(button, &QToolButton::clicked, this, [this, star] { choose(star); });
        row->addWidget(button);
        stars_[static_cast<std::size_t>(star - 1)] = button;
    }
    row->addStretch();
    all->addLayout(row);

    auto* buttons = new QHBoxLayout;
    auto* cancel = new QPushButton(shown("Cancel"));
    auto* vote = new QPushButton(shown("Vote"));
    vote->setDefault(true);
    connect(cancel, &QPushButton::clicked, this, &RatingWindow::reject);
    // A copy: the panel may go while it asks.
    connect(vote, &QPushButton::clicked, this, [kept = panel_] { kept->applyVote(); });
    buttons->addStretch();
    buttons->addWidget(cancel);
    buttons->addWidget(vote);
    all->addLayout(buttons);
    all->setSizeConstraint(QLayout::SetFixedSize);
    showStars();
    vote->setFocus();
}

void RatingWindow::reject() {
    const auto kept = panel_;
    kept->cancelVote();
}

void RatingWindow::choose(int star) {
    panel_->clickStar(star);
    showStars();
}

void RatingWindow::showStars() {
    for (int star = 1; star <= 5; ++star) {
        auto* button = stars_[static_cast<std::size_t>(star - 1)];
        const bool isGiven = star <= panel_->vote();
        const QColor colour = isGiven ? theme::accent() : theme::faintText();
        button->setIcon(
            QIcon(theme::symbol(isGiven ? "star" : "star-empty", starSize, colour, devicePixelRatioF())));
        button->setChecked(star == panel_->vote());
    }
}

void RatingWindow::keyPressEvent(QKeyEvent* event) {
    const int digit = event->key() - Qt::Key_0;
    if (digit >= 1 && digit <= 5) return choose(digit);
    const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
    const auto more = isRightToLeft ? Qt::Key_Left : Qt::Key_Right;
    const auto less = isRightToLeft ? Qt::Key_Right : Qt::Key_Left;
    if (event->key() == more) return choose(panel_->vote() + 1);
    if (event->key() == less) return choose(panel_->vote() - 1);
    QDialog::keyPressEvent(event);
}

}  // namespace morvane::views
