// views/help_page.h: draws the help tab (`NSHelpTab`): questions, contact form, this computer, logs. Main thread.
#pragma once

#include <QWidget>

#include "app/app_delegate.h"

class QBoxLayout;
class QPushButton;
class QVBoxLayout;

namespace morvane::views {

class BodyLabel;

class HelpPage : public QWidget {
    Q_OBJECT
  public:
    /// The application must outlive it. What takes a while is read when the page is first shown.
    HelpPage(AppDelegate& app, QWidget* parent);

  protected:
    void showEvent(QShowEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    [[nodiscard]] QWidget* questions();
    [[nodiscard]] QWidget* computer();
    [[nodiscard]] QWidget* more();
    void describe();
    void take(const std::vector<NSHelpTab::Line>& lines);

    AppDelegate& app_;
    QBoxLayout* columns_;
    BodyLabel* description_;
    QPushButton* copy_;
    bool isDescribed_ = false;
};

}  // namespace morvane::views
