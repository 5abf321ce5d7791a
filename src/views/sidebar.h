// views/sidebar.h: draws the list of the main window's pages (`MorvaneTab`). Main thread.
#pragma once

#include <QWidget>
#include <map>

#include "app/app_delegate_view.h"

class QToolButton;
class QVBoxLayout;

namespace morvane::views {

/// A button a page, one of which is pressed. The arrow keys go from one to the next.
class Sidebar : public QWidget {
    Q_OBJECT
  public:
    explicit Sidebar(QWidget* parent = nullptr);

    void add(MorvaneTab tab, const QString& title, std::string_view symbol);
    /// Presses the button, without a signal.
    void select(MorvaneTab tab);

  Q_SIGNALS:
    /// The user's own choice.
    void chosen(morvane::MorvaneTab tab);

  private:
    QVBoxLayout* column_;
    std::map<MorvaneTab, QToolButton*> buttons_;
};

}  // namespace morvane::views
