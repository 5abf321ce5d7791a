// views/primary_button.h: the one button of a page that is its purpose, with its symbol in the colour of its text. Main thread.
#pragma once

#include <QPushButton>
#include <string_view>

namespace morvane::views {

class PrimaryButton : public QPushButton {
    Q_OBJECT
  public:
    explicit PrimaryButton(QWidget* parent = nullptr);
    /// The symbol is one of `theme::icon`; an empty name: none.
    void setTitle(const QString& title, std::string_view symbol);
};

}  // namespace morvane::views
