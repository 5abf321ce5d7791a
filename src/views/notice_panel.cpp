#include "views/notice_panel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

#include "views/labels.h"
#include "views/primary_button.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int symbolSize = 56, widest = 460;
constexpr double headingFactor = 1.4;

}  // namespace

NoticePanel::NoticePanel(QWidget* parent)
    : QWidget(parent),
      symbol_(new QLabel),
      heading_(new HeadingLabel(QString(), nullptr, headingFactor)),
      text_(new HintLabel(QString())),
      button_(new PrimaryButton) {
    symbol_->setAlignment(Qt::AlignCenter);
    heading_->setAlignment(Qt::AlignHCenter);
    text_->setAlignment(Qt::AlignHCenter);
    connect(button_, &PrimaryButton::clicked, this, &NoticePanel::pressed);
    auto* middle = new QWidget;
    middle->setMaximumWidth(widest);
    auto* column = new QVBoxLayout(middle);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(theme::gap);
    column->addStretch(2);
    column->addWidget(symbol_);
    column->addSpacing(theme::gap);
    column->addWidget(heading_);
    column->addWidget(text_);
    column->addSpacing(theme::gap);
    column->addWidget(button_, 0, Qt::AlignHCenter);
    column->addStretch(3);
    auto* all = new QHBoxLayout(this);
    all->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    all->addStretch(1);
    all->addWidget(middle, widest);
    all->addStretch(1);
}

void NoticePanel::show(const Notice& notice) {
    symbolName_ = notice.symbol;
    heading_->setText(notice.heading);
    heading_->setVisible(!notice.heading.isEmpty());
    text_->setText(notice.text);
    text_->setVisible(!notice.text.isEmpty());
    button_->setTitle(notice.button, notice.ofButton);
    button_->setVisible(!notice.button.isEmpty());
    draw();
}

void NoticePanel::draw() {
    symbol_->setPixmap(theme::symbol(symbolName_, symbolSize, theme::faintText(), devicePixelRatioF()));
}

void NoticePanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ApplicationPaletteChange) draw();
}

}  // namespace morvane::views
