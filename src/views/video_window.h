// views/video_window.h: draws the windows "Trailer" and "Instructions" of a game (`NSDescriptionView::HtmlWindow`).
// Main thread.
//
// Videos play in the user's browser: the window shows the still picture of one where its service gives one.
#pragma once

#include <QDialog>
#include <QPointer>
#include <map>
#include <string>

#include "app/app_delegate.h"
#include "platform/styled_text.h"

class QPushButton;
class QStackedWidget;

namespace morvane::views {

class ElidedLabel;
class PageView;
class NoticePanel;
class PictureFetcher;
class PrimaryButton;
class StillPicture;

class VideoWindow : public QDialog {
    Q_OBJECT
  public:
    /// The application must outlive it.
    VideoWindow(AppDelegate& app, QWidget* parent);

    /// Shows the link's picture to be played, or the page where there is no link.
    void fill(const NSDescriptionView::HtmlWindow& content);
    [[nodiscard]] PageView& page() { return *page_; }

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void showRead(HtmlPage page);
    void play();
    void follow(const std::string& link);

    AppDelegate& app_;
    std::string link_;
    QStackedWidget* stack_;
    StillPicture* still_;
    PageView* page_;
    ElidedLabel* address_;
    NoticePanel* notice_;
    PrimaryButton* play_;
    QPushButton* close_;
    PictureFetcher* fetcher_;
    unsigned fills_ = 0;
};

/// One window a name.
class VideoWindows {
  public:
    /// Both must outlive it.
    VideoWindows(AppDelegate& app, QWidget* parent) : app_(app), parent_(parent) {}

    /// `ShellView::showWindow`: opens the window, or fills it anew, and brings it to the front.
    VideoWindow* show(const NSDescriptionView::HtmlWindow& content);

  private:
    AppDelegate& app_;
    QWidget* const parent_;
    std::map<std::string, QPointer<VideoWindow>> windows_;
};

}  // namespace morvane::views
