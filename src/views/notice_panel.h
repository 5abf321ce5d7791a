// views/notice_panel.h: what stands in place of a page: a symbol, a heading, a text and one button. Main thread.
#pragma once

#include <QWidget>
#include <string_view>

class QLabel;

namespace morvane::views {

class BodyLabel;
class HeadingLabel;
class HintLabel;
class PrimaryButton;

class NoticePanel : public QWidget {
    Q_OBJECT
  public:
    explicit NoticePanel(QWidget* parent = nullptr);

    struct Notice {
        std::string_view symbol;  ///< one of `theme::icon`
        QString heading, text;
        QString button;             ///< empty: none
        std::string_view ofButton;  ///< its symbol
    };
    void show(const Notice& notice);

  Q_SIGNALS:
    void pressed();

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void draw();

    std::string_view symbolName_;
    QLabel* symbol_;
    HeadingLabel* heading_;
    HintLabel* text_;
    PrimaryButton* button_;
};

}  // namespace morvane::views
