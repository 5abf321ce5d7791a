#include "views/progress_panel.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QProgressBar>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QVBoxLayout>

#include "views/labels.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int mostOfBar = 1000;
constexpr int slideMilliseconds = 160;
constexpr std::chrono::milliseconds beforeItAppears{200};

}  // namespace

ProgressPanel::ProgressPanel(QWidget* parent)
    : QWidget(parent),
      status_(new ElidedLabel(Qt::ElideRight)),
      subtitle_(new ElidedLabel(Qt::ElideMiddle)),
      bar_(new QProgressBar),
      cancel_(new QPushButton(shown("Cancel"))),
      slide_(new QPropertyAnimation(this, "maximumHeight", this)) {
    QFont bold = status_->font();
    bold.setBold(true);
    status_->setFont(bold);
    subtitle_->setForegroundRole(QPalette::PlaceholderText);
    bar_->setRange(0, mostOfBar);
    bar_->setTextVisible(false);
    bar_->setFixedHeight(theme::gap);
    bar_->setAccessibleName(shown("Progress"));
    cancel_->setIcon(theme::icon("cancel"));
    connect(cancel_, &QPushButton::clicked, this, &ProgressPanel::cancelPressed);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(theme::gap / 2);
    texts->addWidget(status_);
    texts->addWidget(bar_);
    texts->addWidget(subtitle_);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(theme::margin, theme::gap + theme::gap / 2, theme::margin,
                            theme::gap + theme::gap / 2);
    row->setSpacing(theme::margin);
    row->addLayout(texts, 1);
    row->addWidget(cancel_, 0, Qt::AlignVCenter);
    QSizePolicy keepsItsPlace = cancel_->sizePolicy();
    keepsItsPlace.setRetainSizeWhenHidden(true);
    cancel_->setSizePolicy(keepsItsPlace);

    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    setMaximumHeight(0);
    hide();
    appearing_.setSingleShot(true);
    connect(&appearing_, &QTimer::timeout, this, [this] { slideTo(sizeHint().height()); });
    slide_->setDuration(slideMilliseconds);
    connect(slide_, &QPropertyAnimation::finished, this, [this] {
        if (maximumHeight() == 0) hide();
    });
}

void ProgressPanel::showState(const ProgressState& state) {
    state_ = state;
    status_->setWholeText(literalLine(state.status));
    subtitle_->setWholeText(literalLine(state.subtitle));
    // A bar that is busy moves by itself: one that is not seen stands still.
    const bool isShown = state.height > 0;
    const bool isBusy = isShown && state.indeterminate;
    if (isBusy != (bar_->maximum() == 0)) bar_->setRange(0, isBusy ? 0 : mostOfBar);
    if (!isBusy) bar_->setValue(state.value);
    cancel_->setVisible(state.cancellable);
    // What is over at once is not worth a look.
    if (isShown && isHidden()) {
        if (!appearing_.isActive()) appearing_.start(beforeItAppears);
    } else {
        appearing_.stop();
        slideTo(isShown ? sizeHint().height() : 0);
    }
}

void ProgressPanel::slideTo(int height) {
    const bool isOnItsWay = slide_->state() == QAbstractAnimation::Running;
    const int goal = isOnItsWay ? slide_->endValue().toInt() : maximumHeight();
    if (goal == height) return;
    slide_->stop();
    if (height > 0) show();
    // Nobody watches a window that is not there.
    if (!window()->isVisible()) {
        setMaximumHeight(height);
        setVisible(height > 0);
        return;
    }
    slide_->setStartValue(maximumHeight());
    slide_->setEndValue(height);
    slide_->start();
}

void ProgressPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Button));
    painter.drawLine(0, 0, width(), 0);
}

}  // namespace morvane::views
