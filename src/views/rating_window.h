// views/rating_window.h: draws the panel in which the user gives a game its stars (`NSVotingPanel`). Main thread.
#pragma once

#include <QDialog>
#include <array>
#include <memory>

#include "library/voting_panel.h"

class QToolButton;

namespace morvane::views {

/// Modal over its parent. It shows what the panel says; who has made it closes it once the panel is closed
/// (`ShellView::votingPanelClosed`).
class RatingWindow : public QDialog {
    Q_OBJECT
  public:
    RatingWindow(std::shared_ptr<NSVotingPanel> panel, QWidget* parent);

    /// Escape, too: the panel is asked to go.
    void reject() override;

  protected:
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void choose(int star);
    void showStars();

    const std::shared_ptr<NSVotingPanel> panel_;
    std::array<QToolButton*, 5> stars_{};
};

}  // namespace morvane::views
