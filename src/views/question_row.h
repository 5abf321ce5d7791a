// views/question_row.h: a common question (`NSHelpTab::Question`), with its answer below when it is open. Main thread.
#pragma once

#include <QWidget>

#include "app/help_tab.h"

class QToolButton;

namespace morvane::views {

class StyledView;

class QuestionRow : public QWidget {
    Q_OBJECT
  public:
    explicit QuestionRow(const NSHelpTab::Question& question, QWidget* parent = nullptr);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void open(bool isOpen);
    void fitAnswer();

    QToolButton* title_;
    StyledView* answer_;
};

}  // namespace morvane::views
