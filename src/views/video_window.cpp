#include "views/video_window.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "library/game_data.h"
#include "library/trailer_pages.h"
#include "platform/http.h"
#include "platform/styled_text.h"
#include "views/background.h"
#include "views/labels.h"
#include "views/notice_panel.h"
#include "views/page_view.h"
#include "views/picture_fetcher.h"
#include "views/primary_button.h"
#include "views/qt_text.h"
#include "views/still_picture.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr QSize largestStill{1600, 900};      // pixels
constexpr std::size_t longestSentence = 200;  // bytes

}  // namespace

VideoWindow::VideoWindow(AppDelegate& app, QWidget* parent)
    : QDialog(parent),
      app_(app),
      stack_(new QStackedWidget),
      still_(new StillPicture),
      page_(new PageView),
      address_(new ElidedLabel(Qt::ElideMiddle)),
      notice_(new NoticePanel),
      play_(new PrimaryButton),
      close_(new QPushButton(shown("Close"))),
      fetcher_(new PictureFetcher(this)) {
    page_->setLinkHandler([this](const std::string& link) { follow(link); });
    stack_->addWidget(still_);
    stack_->addWidget(page_);
    stack_->addWidget(notice_);
    play_->setTitle(shown("Open in the browser"), "website");
    connect(still_, &StillPicture::clicked, this, &VideoWindow::play);
    connect(play_, &PrimaryButton::clicked, this, &VideoWindow::play);
    connect(close_, &QPushButton::clicked, this, &QDialog::reject);
    connect(fetcher_, &PictureFetcher::came, this,
            [this](std::size_t, const QImage& picture) { still_->setPicture(picture); });
    auto* foot = new QWidget;
    auto* row = new QHBoxLayout(foot);
    row->setContentsMargins(theme::margin, theme::gap, theme::margin, theme::gap);
    row->setSpacing(theme::gap);
    row->addWidget(address_, 1);
    row->addWidget(close_);
    row->addWidget(play_);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(stack_, 1);
    all->addWidget(foot);
}

void VideoWindow::fill(const NSDescriptionView::HtmlWindow& content) {
    ++fills_;
    link_ = isWebLink(content.link) ? content.link : std::string();
    const QString name = literalLine(localized(content.name));
    setWindowTitle(name);
    still_->setAccessibleName(shown("%@: open in the browser", {fromQt(name)}));
    page_->setAccessibleName(name);
    address_->setWholeText(literalLine(link_));
    still_->setPicture({});
    play_->setVisible(!link_.empty());
    (link_.empty() ? close_ : static_cast<QPushButton*>(play_))->setDefault(true);
    fetcher_->stop();
    if (!link_.empty()) {
        const auto picture = stillPictureOfLink(link_);
        still_->setHasMark(picture != link_);
        stack_->setCurrentWidget(still_);
        still_->setFocus();
        if (picture) fetcher_->fetch({*picture}, largestStill);
        return;
    }
    page_->clearPage();
    stack_->setCurrentWidget(page_);
    inBackground(
        "app.morvane.readPage", this, [html = content.html] { return htmlPage(html); },
        [this, fill = fills_](HtmlPage page) {
            if (fill == fills_) showRead(std::move(page));
        });
}

void VideoWindow::showRead(HtmlPage page) {
    // One sentence says why there is nothing to play.
    const bool isSentence = page.pictures.empty() && page.text.text.size() <= longestSentence &&
                            page.text.text.find('\n') == std::string::npos;
    if (isSentence) {
        notice_->show({.symbol = "trailer", .heading = literal(page.text.text)});
        stack_->setCurrentWidget(notice_);
    } else {
        page_->showPage(std::move(page), {});
    }
}

void VideoWindow::play() {
    follow(link_);
}

void VideoWindow::follow(const std::string& link) {
    if (app_.actions().shouldWebViewFollow(link)) openWebLink(link);
}

void VideoWindow::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    app_.gamePage().pages().setTrailerViewSize(stack_->width(), stack_->height());
}

VideoWindow* VideoWindows::show(const NSDescriptionView::HtmlWindow& content) {
    QPointer<VideoWindow>& window = windows_[content.name];
    if (!window) window = new VideoWindow(app_, parent_);
    window->fill(content);
    window->show();
    window->raise();
    window->activateWindow();
    return window;
}

}  // namespace morvane::views
