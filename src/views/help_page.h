// views/help_page.h: draws the help: common questions, the contact form, this computer, the logs (`NSHelpTab`). Main
// thread.
#pragma once

#include <QWidget>
#include <vector>

#include "app/app_delegate.h"

class QCheckBox;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

namespace morvane::views {

class BodyLabel;
class StyledView;

class HelpPage : public QWidget {
    Q_OBJECT
  public:
    /// The application must outlive it.
    explicit HelpPage(AppDelegate& app, QWidget* parent = nullptr);

  protected:
    /// The computer is described when the page is seen first.
    void showEvent(QShowEvent* event) override;

  private:
    QWidget* makeQuestions();
    QWidget* makeForm();
    QWidget* makeComputer();
    void send();
    void showComputer(const std::vector<NSHelpTab::Line>& lines);

    AppDelegate& app_;
    const std::vector<NSHelpTab::Question> questions_;
    QListWidget* list_ = nullptr;
    StyledView* answer_ = nullptr;
    QLineEdit *name_ = nullptr, *mail_ = nullptr, *subject_ = nullptr;
    QPlainTextEdit* description_ = nullptr;
    QCheckBox* addsComputer_ = nullptr;
    QPushButton *send_ = nullptr, *copy_ = nullptr;
    BodyLabel* computer_ = nullptr;
    bool isDescribed_ = false;
};

}  // namespace morvane::views
