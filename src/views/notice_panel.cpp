#include "views/notice_panel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "views/labels.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int symbolSize = 56, widestText = 460;
constexpr double headingFactor = 1.4;

}  // namespace

NoticePanel::NoticePanel(QWidget* parent)
    : QWidget(parent),
      symbol_(new QLabel),
      heading_(new HeadingLabel(QString(), nullptr, headingFactor)),
      text_(new HintLabel(QString())),
      button_(new QPushButton) {
    symbol_->setAlignment(Qt::AlignCenter);
    for (QLabel* label : {static_cast<QLabel*>(heading_), static_cast<QLabel*>(text_)}) {
        label->setAlignment(Qt::AlignHCenter);
        label->setMaximumWidth(widestText);
    }
    connect(button_, &QPushButton::clicked, this, &NoticePanel::pressed);
    auto* column = new QVBoxLayout;
    column->setSpacing(theme::gap);
    column->addStretch(2);
    column->addWidget(symbol_);
    column->addSpacing(theme::gap);
    column->addWidget(heading_);
    column->addWidget(text_);
    column->addSpacing(theme::gap);
    column->addWidget(button_, 0, Qt::AlignHCenter);
    column->addStretch(3);
    // The texts take the width that there is, up to theirs.
    auto* all = new QHBoxLayout(this);
    all->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    all->addStretch(1);
    all->addLayout(column, widestText);
    all->addStretch(1);
}

void NoticePanel::show(const Notice& notice) {
    symbolName_ = notice.symbol;
    buttonSymbol_ = notice.ofButton;
    heading_->setText(notice.heading);
    heading_->setVisible(!notice.heading.isEmpty());
    text_->setText(notice.text);
    text_->setVisible(!notice.text.isEmpty());
    button_->setText(notice.button);
    button_->setVisible(!notice.button.isEmpty());
    draw();
}

QString NoticePanel::heading() const {
    return heading_->text();
}

void NoticePanel::draw() {
    symbol_->setPixmap(theme::symbol(symbolName_, symbolSize, theme::faintText(), devicePixelRatioF()));
    button_->setIcon(theme::icon(buttonSymbol_));
}

void NoticePanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ApplicationPaletteChange) draw();
}

}  // namespace morvane::views
