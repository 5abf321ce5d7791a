// views/progress_panel.h: draws the progress panel (`ProgressState`) at the foot of the main window. Main thread.
#pragma once

#include <QTimer>
#include <QWidget>

#include "platform/user_interface.h"

class QProgressBar;
class QPropertyAnimation;
class QPushButton;

namespace morvane::views {

class ElidedLabel;

class ProgressPanel : public QWidget {
    Q_OBJECT
  public:
    /// Not seen before something is shown.
    explicit ProgressPanel(QWidget* parent = nullptr);

    /// Slides in and out with the state's height.
    void showState(const ProgressState& state);
    [[nodiscard]] const ProgressState& state() const { return state_; }

  Q_SIGNALS:
    void cancelPressed();

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    void slideTo(int height);

    ProgressState state_;
    QTimer appearing_;
    ElidedLabel* status_;
    ElidedLabel* subtitle_;
    QProgressBar* bar_;
    QPushButton* cancel_;
    QPropertyAnimation* slide_;
};

}  // namespace morvane::views
