// views/rankings_page.h: draws the three ranking lists of the catalogue (`NSRankingList`). Main thread.
#pragma once

#include <QWidget>
#include <array>

#include "app/app_delegate.h"

class QBoxLayout;
class QListWidget;
class QPushButton;
class QStackedWidget;

namespace morvane::views {

class HintLabel;

/// Side by side, one below the other where there is no room.
class RankingsPage : public QWidget {
    Q_OBJECT
  public:
    RankingsPage(AppDelegate& app, QWidget* parent);

    /// The list shows something else now.
    void refresh(NSRankingList::TableType type);

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    struct Table {
        NSRankingList::TableType type;
        QListWidget* rows = nullptr;
        QWidget* instead = nullptr;
        HintLabel* notice = nullptr;
        QPushButton* tryAgain = nullptr;
        QStackedWidget* stack = nullptr;
    };
    [[nodiscard]] QWidget* makeTable(Table& table);

    AppDelegate& app_;
    QBoxLayout* columns_;
    std::array<Table, 3> tables_;
};

}  // namespace morvane::views
