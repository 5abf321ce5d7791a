#include "views/rankings_page.h"

#include <QBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedWidget>

#include "views/labels.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr int narrowestColumn = 260, leastRowsHeight = 300;

}  // namespace

RankingsPage::RankingsPage(AppDelegate& app, QWidget* parent)
    : QWidget(parent),
      app_(app),
      columns_(nullptr),
      tables_{{{.type = NSRankingList::TableType::latest},
               {.type = NSRankingList::TableType::popular},
               {.type = NSRankingList::TableType::highrated}}} {
    auto* content = new QWidget;
    columns_ = new QBoxLayout(QBoxLayout::LeftToRight, content);
    columns_->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    columns_->setSpacing(theme::margin);
    for (Table& table : tables_) columns_->addWidget(makeTable(table), 1);
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(content);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->addWidget(area);
    for (const Table& table : tables_) refresh(table.type);
}

QWidget* RankingsPage::makeTable(Table& table) {
    auto* column = new QWidget;
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    const QString title = literalLine(app_.rankingList(table.type).title());
    layout->addWidget(new HeadingLabel(title));

    table.rows = new QListWidget;
    table.rows->setAccessibleName(title);
    theme::makeRoomy(*table.rows);
    table.rows->setTextElideMode(Qt::ElideRight);
    table.rows->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table.rows->setAlternatingRowColors(true);
    table.rows->setUniformItemSizes(true);
    table.rows->setMinimumHeight(leastRowsHeight);
    const auto type = table.type;
    connect(table.rows, &QListWidget::itemActivated, this, [this, type](const QListWidgetItem* item) {
        const auto* list = item->listWidget();
        app_.rankingList(type).doubleClick(static_cast<std::size_t>(list->row(item)));
    });

    table.instead = new QWidget;
    auto* instead = new QVBoxLayout(table.instead);
    table.notice = new HintLabel(QString());
    table.notice->setAlignment(Qt::AlignCenter);
    table.tryAgain = new QPushButton(theme::icon("refresh"), shown("Try again"));
    connect(table.tryAgain, &QPushButton::clicked, this,
            [this] { app_.showMorvaneTab(MorvaneTab::rankings); });
    instead->addStretch();
    instead->addWidget(table.notice);
    instead->addWidget(table.tryAgain, 0, Qt::AlignHCenter);
    instead->addStretch();

    table.stack = new QStackedWidget;
    table.stack->addWidget(table.rows);
    table.stack->addWidget(table.instead);
    table.stack->setMinimumHeight(leastRowsHeight);
    layout->addWidget(table.stack, 1);
    return column;
}

void RankingsPage::refresh(NSRankingList::TableType type) {
    for (Table& table : tables_) {
        if (table.type != type) continue;
        const NSRankingList& list = app_.rankingList(type);
        const QString notice = literal(list.notice());
        table.notice->setText(notice);
        table.tryAgain->setVisible(list.state() == NSRankingList::State::unreachable);
        table.stack->setCurrentWidget(list.numberOfRows() > 0 ? static_cast<QWidget*>(table.rows)
                                                              : table.instead);
        const int current = table.rows->currentRow();
        table.rows->clear();
        for (std::size_t row = 0; row < list.numberOfRows(); ++row) {
            auto* item = new QListWidgetItem(literalLine(list.valueAtRow(row)), table.rows);
            item->setToolTip(plainToolTip(list.valueAtRow(row)));
        }
        table.rows->setCurrentRow(current);
    }
}

void RankingsPage::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const bool isNarrow = width() < 3 * narrowestColumn + 4 * theme::margin;
    columns_->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

}  // namespace morvane::views
