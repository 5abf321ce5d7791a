// views/video_window.h: draws a trailer or the instructions of a game (`NSDescriptionView::HtmlWindow`). Main thread.
#pragma once

#include <QDialog>

#include "library/description_view.h"

class QPushButton;

namespace morvane::views {

class BodyLabel;

/// Videos play in the user's browser: here is their still picture, which leads there.
class VideoWindow : public QDialog {
    Q_OBJECT
  public:
    explicit VideoWindow(QWidget* parent);

    void show(const NSDescriptionView::HtmlWindow& window);

  Q_SIGNALS:
    void linkWanted(const std::string& link);

  private:
    void showStill(const QImage& picture);

    QPushButton *still_, *open_;
    BodyLabel* text_;
    std::string link_;
};

}  // namespace morvane::views
