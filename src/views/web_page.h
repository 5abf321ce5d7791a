// views/web_page.h: draws the web views of the main window (`WebView` of `ShellView`): news and community. Main thread.
//
// News is fetched in the background, bounded in size and time, and read without scripts, styles and frames. A forum
// needs a browser: its page says so, and opens it.
#pragma once

#include <QWidget>
#include <chrono>
#include <memory>
#include <string>

#include "app/app_delegate.h"
#include "platform/http.h"

class QStackedWidget;
class QTimer;

namespace morvane::views {

class ElidedLabel;
class NoticePanel;
class PageView;

class WebPage : public QWidget {
    Q_OBJECT
  public:
    /// The application must outlive it.
    WebPage(AppDelegate& app, WebView web, QWidget* parent);
    ~WebPage() override;

    /// `ShellView::loadWebPage`. `AppDelegate::webPageLoaded` follows, from the main queue, whatever comes of it; not
    /// for a page that another one takes the place of before it has come.
    void load(const std::string& address);
    /// `ShellView::showHtml`: why there is no page, with a way to try it again.
    void showHtml(const std::string& html);
    /// `ShownPart::webViewZoom`.
    void reloadTextZoom();

    /// For the whole page, without its pictures.
    void setPatience(std::chrono::milliseconds patience) { patience_ = patience; }
    [[nodiscard]] PageView& view() { return *view_; }

  private:
    struct Loading;
    void addBar();
    void fetchPage();
    void read(const std::string& bytes);
    void showFailure(const QString& heading, const QString& text);
    void showLoading();
    void showForum();
    void noticePressed();
    void follow(const std::string& link);
    void finish();

    AppDelegate& app_;
    const WebView web_;
    QWidget* const bar_;
    ElidedLabel* const site_;
    QStackedWidget* const stack_;
    PageView* const view_;
    NoticePanel* const notice_;
    QTimer* const deadline_;
    std::chrono::milliseconds patience_;
    std::string address_;
    enum class Button { tryAgain, openForum } button_ = Button::tryAgain;
    std::unique_ptr<Loading> loading_;
    unsigned loads_ = 0;  ///< so far: what comes of an earlier one is nobody's
};

}  // namespace morvane::views
