// views/action_button.h: a button that may carry the user's picture of a theme (`ThemeImage`). Main thread.
#pragma once

#include <QPixmap>
#include <QPushButton>

namespace morvane::views {

class ActionButton : public QPushButton {
    Q_OBJECT
  public:
    using QPushButton::QPushButton;

    /// Fills the button, below its text; a null one for the scheme's own look.
    void setPicture(const QPixmap& picture);

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    QPixmap picture_;
};

}  // namespace morvane::views
