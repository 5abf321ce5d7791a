// views/game_page.h: draws the page of a game (`NSDescriptionView`). Main thread.
#pragma once

#include <QScrollArea>

#include "app/app_delegate.h"

class QHBoxLayout;
class QLabel;
class QPushButton;
class QToolButton;

namespace morvane::views {

class ElidedLabel;
class StyledView;

class GamePage : public QScrollArea {
    Q_OBJECT
  public:
    /// The application must outlive it.
    explicit GamePage(AppDelegate& app, QWidget* parent = nullptr);

    /// The page shows something else.
    void refresh();
    void refreshActionTitle();

  private:
    void showCover(const std::optional<ImageData>& icon);
    void showSources();
    void showFacts();
    void showMenu();

    AppDelegate& app_;
    QLabel* cover_;
    QLabel *name_, *id_, *stars_, *facts_;
    QPushButton* action_;
    QPushButton* rate_;
    QToolButton* more_;
    QWidget* sources_;
    StyledView* description_;
    QWidget* content_;
    std::shared_ptr<GamePage*> self_;
    ~GamePage() override;
    unsigned covers_ = 0;  ///< asked for so far
};

}  // namespace morvane::views
