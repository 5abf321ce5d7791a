// views/game_page.h: draws the page of a game (`NSDescriptionView`). Main thread.
#pragma once

#include <QPixmap>
#include <QScrollArea>
#include <memory>

#include "app/app_delegate.h"

class QLabel;
class QPushButton;
class QToolButton;

namespace morvane::views {

class ActionButton;
class RatingStars;
class StyledView;

class GamePage : public QScrollArea {
    Q_OBJECT
  public:
    /// The application must outlive it.
    explicit GamePage(AppDelegate& app, QWidget* parent = nullptr);

    /// The page shows something else.
    void refresh();
    void refreshActionTitle();
    /// The shown item may have started, or ended.
    void refreshState();
    /// The user's picture for the action and trailer buttons; none for an empty path.
    void setButtonPicture(const std::string& picture);

  private:
    QWidget* makeActions();
    QWidget* makeExtras();
    void showCover(const std::optional<ImageData>& icon);
    void showSources();
    void showFacts();
    void clickAction();
    void showMenu();
    void askForOwnFamily();

    AppDelegate& app_;
    QWidget *nothing_, *content_;
    QLabel *cover_, *name_, *id_, *genres_, *facts_;
    ActionButton *action_ = nullptr, *trailer_ = nullptr;
    QPushButton *stop_ = nullptr, *rate_ = nullptr;
    QToolButton* more_ = nullptr;
    QWidget* sources_;
    RatingStars* stars_;
    StyledView* description_;
    std::optional<ImageData> shownIcon_;
    std::shared_ptr<NSGameData> factsOf_;
    std::string runningPath_;  ///< the item whose size is known to be of another run
    unsigned covers_ = 0;      ///< asked for so far
    bool knowsFamily_ = false;
};

}  // namespace morvane::views
