// views/web_page.h: draws the pages of the catalogue's site: the news, and the way to the forum (`WebView`). Main
// thread.
#pragma once

#include <QWidget>
#include <string>

#include "app/app_delegate.h"
#include "platform/styled_text.h"

class QPushButton;
class QStackedWidget;

namespace morvane::views {

class BodyLabel;
class HeadingLabel;
class PageView;

/// The news are read here. A forum wants a real browser: its page leads there.
class WebPage : public QWidget {
    Q_OBJECT
  public:
    /// The application must outlive it.
    WebPage(AppDelegate& app, WebView web, QWidget* parent = nullptr);

    /// `ShellView::loadWebPage`: fetched in the background; `AppDelegate::webPageLoaded` in the end.
    void load(const std::string& address);
    /// `ShellView::showHtml`: why there is no page.
    void showHtml(const std::string& html);
    /// The size of the text as the setting says.
    void updateZoom();

  private:
    void showMessage(const QString& title, const QString& text, bool canTryAgain);
    void showPage(const HtmlPage& page, const std::string& address);

    AppDelegate& app_;
    const WebView web_;
    QStackedWidget* stack_;
    PageView* view_;
    HeadingLabel* title_;
    BodyLabel* text_;
    QPushButton *again_, *open_;
    std::string address_;
    int zoom_ = 0;
    unsigned loads_ = 0;  ///< so far
};

}  // namespace morvane::views
