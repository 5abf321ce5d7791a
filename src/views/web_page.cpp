#include "views/web_page.h"

#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "platform/http.h"
#include "views/background.h"
#include "views/labels.h"
#include "views/page_view.h"
#include "views/qt_text.h"
#include "views/theme.h"

namespace morvane::views {
namespace {

constexpr std::uint64_t longestPage = std::uint64_t{4} << 20;
constexpr int answered = 200, firstFailure = 400;

std::optional<HtmlPage> fetchedPage(const std::string& address) {
    const HttpResponse answer = http::fetch({.url = address, .longestBody = longestPage});
    if (!answer.error.empty() || answer.status < answered || answer.status >= firstFailure)
        return std::nullopt;
    return htmlPage(answer.body);
}

/// The view as the setting's reader changes it.
class ViewZoom : public WebTextSize {
  public:
    ViewZoom(PageView& view, int& steps) : view_(view), steps_(steps) {}
    void makeTextStandardSize() override {
        view_.zoomOut(steps_);
        steps_ = 0;
    }
    void makeTextLarger() override {
        view_.zoomIn(1);
        ++steps_;
    }

  private:
    PageView& view_;
    int& steps_;
};

}  // namespace

WebPage::WebPage(AppDelegate& app, WebView web, QWidget* parent)
    : QWidget(parent),
      app_(app),
      web_(web),
      stack_(new QStackedWidget(this)),
      view_(new PageView),
      title_(new HeadingLabel(QString())),
      text_(new BodyLabel(QString())),
      again_(new QPushButton(theme::icon("refresh"), shown("Try again"))),
      open_(new QPushButton(theme::icon("website"), shown("Open the forum"))) {
    view_->setAccessibleName(web == WebView::news ? shown("News") : shown("Community"));
    view_->setPageLinkHandler([this](const std::string& link) {
        if (app_.shouldWebViewFollow(link)) openWebLink(link);
    });
    auto* message = new QWidget;
    auto* column = new QVBoxLayout(message);
    column->setContentsMargins(theme::margin, theme::margin, theme::margin, theme::margin);
    column->addStretch();
    for (QLabel* label : {static_cast<QLabel*>(title_), static_cast<QLabel*>(text_)}) {
        label->setAlignment(Qt::AlignCenter);
        column->addWidget(label);
    }
    column->addSpacing(theme::margin);
    for (QPushButton* button : {again_, open_}) column->addWidget(button, 0, Qt::AlignCenter);
    column->addStretch();
    stack_->addWidget(message);
    stack_->addWidget(view_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(stack_);
    theme::makePrimary(*open_);
    connect(again_, &QPushButton::clicked, this, [this] {
        showMessage(shown("Loading…"), {}, false);
        app_.loadWebsiteAgain(web_);
    });
    connect(open_, &QPushButton::clicked, this, [this] {
        if (app_.shouldWebViewFollow(address_)) openWebLink(address_);
    });
    updateZoom();
    showMessage(shown("Loading…"), {}, false);
}

void WebPage::load(const std::string& address) {
    address_ = address;
    if (web_ == WebView::forum) {
        showMessage(
            shown("The community"),
            shown("Players and authors of ports help each other in the forum. It opens in your browser."),
            false);
        open_->show();
        return app_.webPageLoaded();
    }
    const unsigned number = ++loads_;
    inBackground(
        "app.morvane.webPage", this, [address] { return fetchedPage(address); },
        [this, number, address](const std::optional<HtmlPage>& page) {
            if (loads_ != number) return;
            if (page) {
                showPage(*page, address);
            } else {
                showMessage(shown("The page can't be loaded."),
                            shown("Look at your internet connection, or try again later."), true);
            }
            app_.webPageLoaded();
        });
}

void WebPage::showPage(const HtmlPage& page, const std::string& address) {
    if (page.text.text.find_first_not_of(" \n\t") == std::string::npos)
        return showMessage(shown("There are no news yet."), {}, true);
    stack_->setCurrentWidget(view_);
    view_->showPage(page, address);
}

void WebPage::showHtml(const std::string& html) {
    showMessage(literal(htmlPage(html).text.text).trimmed(),
                shown("Look at your internet connection, or try again later."), true);
}

void WebPage::showMessage(const QString& title, const QString& text, bool canTryAgain) {
    title_->setText(title);
    text_->setText(text);
    text_->setVisible(!text.isEmpty());
    again_->setVisible(canTryAgain);
    open_->hide();
    stack_->setCurrentIndex(0);
}

void WebPage::updateZoom() {
    ViewZoom zoom(*view_, zoom_);
    reloadWebViewTextZoom(zoom);
}

}  // namespace morvane::views
