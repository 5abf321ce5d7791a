#include "views/web_page.h"

#include <QHBoxLayout>
#include <QStackedWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>
#include <optional>

#include "platform/host.h"
#include "platform/pictures.h"
#include "platform/styled_text.h"
#include "views/background.h"
#include "views/labels.h"
#include "views/notice_panel.h"
#include "views/page_view.h"
#include "views/picture_fetcher.h"
#include "views/qt_text.h"
#include "views/styled_view.h"
#include "views/theme.h"

namespace morvane::views {

namespace {

constexpr std::uint64_t longestPage = std::uint64_t{2} << 20U;
constexpr std::chrono::seconds longestSilence{20}, usualPatience{45};

/// What may be read as a page: no picture, archive or program that has come in its place.
bool isText(std::string_view bytes) {
    return bytes.find('\0') == std::string_view::npos && pictures::kindOf(bytes).empty();
}

QToolButton* barButton(std::string_view icon, const QString& name) {
    auto* button = new QToolButton;
    button->setIcon(theme::icon(icon));
    button->setAutoRaise(true);
    button->setToolTip(name);
    button->setAccessibleName(name);
    button->setFocusPolicy(Qt::StrongFocus);
    return button;
}

}  // namespace

/// A page on its way. The bytes are the transfer's thread's until it has ended.
struct WebPage::Loading {
    std::string bytes;
    std::unique_ptr<http::Transfer> transfer;
};

WebPage::WebPage(AppDelegate& app, WebView web, QWidget* parent)
    : QWidget(parent),
      app_(app),
      web_(web),
      bar_(new QWidget),
      site_(new ElidedLabel(Qt::ElideMiddle)),
      stack_(new QStackedWidget),
      view_(new PageView),
      notice_(new NoticePanel),
      deadline_(new QTimer(this)),
      patience_(usualPatience) {
    addBar();
    view_->setAccessibleName(web_ == WebView::news ? shown("News") : shown("Community"));
    view_->setLinkHandler([this](const std::string& link) { follow(link); });
    stack_->addWidget(notice_);
    stack_->addWidget(view_);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addWidget(bar_);
    all->addWidget(stack_, 1);
    connect(notice_, &NoticePanel::pressed, this, &WebPage::noticePressed);
    deadline_->setSingleShot(true);
    connect(deadline_, &QTimer::timeout, this, [this] {
        showFailure({}, shown("The server did not answer in time."));
        finish();
    });
    reloadTextZoom();
    showLoading();
}

WebPage::~WebPage() = default;

void WebPage::addBar() {
    auto* again = barButton("refresh", shown("Load again"));
    connect(again, &QToolButton::clicked, this, [this] {
        showLoading();
        app_.loadWebsiteAgain(web_);
    });
    auto* browser = barButton("website", shown("Open in the browser"));
    connect(browser, &QToolButton::clicked, this, [this] { follow(address_); });
    auto* row = new QHBoxLayout(bar_);
    row->setContentsMargins(theme::margin, theme::gap, theme::margin, 0);
    row->addWidget(site_, 1);
    row->addWidget(again);
    row->addWidget(browser);
}

// ---- Loading

void WebPage::load(const std::string& address) {
    ++loads_;
    address_ = address;
    const auto parts = parseUrl(address);
    site_->setWholeText(literalLine(parts ? parts->host : address));
    if (web_ == WebView::forum) {
        showForum();
        return finish();
    }
    showLoading();
    fetchPage();
}

void WebPage::fetchPage() {
    loading_.reset();
    if (!isWebLink(address_)) {
        showFailure({}, shown("The address is not one of a page."));
        return finish();
    }
    deadline_->start(patience_);
    loading_ = std::make_unique<Loading>();
    http::TransferHandlers handlers;
    handlers.body = [bytes = &loading_->bytes](std::string_view piece,
                                               std::optional<std::uint64_t>) -> Result<> {
        if (bytes->size() + piece.size() > longestPage)
            return Failure{.why = localized("The page is too long")};
        bytes->append(piece);
        return {};
    };
    handlers.ended = [this] {
        const auto loaded = std::move(loading_);
        read(loaded->bytes);
    };
    handlers.failed = [this](const std::string& why) {
        loading_.reset();
        showFailure({}, literal(why) + ".");
        finish();
    };
    loading_->transfer = std::make_unique<http::Transfer>(
        host().mainQueue, HttpRequest{.url = address_, .idleTimeout = longestSilence}, std::move(handlers));
}

void WebPage::read(const std::string& bytes) {
    inBackground(
        "app.morvane.readWebPage", this,
        [bytes] { return isText(bytes) ? std::optional(htmlPage(bytes)) : std::nullopt; },
        [this, load = loads_](std::optional<HtmlPage> page) {
            if (load != loads_) return;
            if (!page || page->text.text.find_first_not_of(" \n") == std::string::npos) {
                showFailure({}, shown("There is nothing to read on that page."));
            } else {
                view_->showPage(*std::move(page), address_);
                stack_->setCurrentWidget(view_);
                bar_->show();
            }
            finish();
        });
}

void WebPage::finish() {
    deadline_->stop();
    loading_.reset();
    host().mainQueue.post([page = QPointer(this), load = loads_] {
        if (page && load == page->loads_) page->app_.webPageLoaded();
    });
}

void WebPage::reloadTextZoom() {
    reloadWebViewTextZoom(*view_);
}

// ---- What stands in place of a page

void WebPage::showHtml(const std::string& html) {
    ++loads_;
    deadline_->stop();
    loading_.reset();
    // It holds one sentence.
    const QString heading = literal(styledTextFromHtml(html).text).trimmed();
    showFailure(heading, shown("What is installed can be played all the same."));
}

void WebPage::showFailure(const QString& heading, const QString& text) {
    ++loads_;
    const auto parts = parseUrl(address_);
    const QString usual = shown("Couldn't load %s website.", {parts ? parts->host : address_});
    button_ = Button::tryAgain;
    notice_->show({.symbol = "warning",
                   .heading = heading.isEmpty() ? literalLine(fromQt(usual)) : heading,
                   .text = text,
                   .button = shown("Try again"),
                   .ofButton = "refresh"});
    bar_->hide();
    stack_->setCurrentWidget(notice_);
}

void WebPage::showLoading() {
    const bool isNews = web_ == WebView::news;
    notice_->show({.symbol = isNews ? "website" : "community", .text = shown("Loading webpage...")});
    bar_->hide();
    stack_->setCurrentWidget(notice_);
}

void WebPage::showForum() {
    button_ = Button::openForum;
    notice_->show(
        {.symbol = "community",
         .heading = shown("The forum of the catalogue"),
         .text = shown("Ask for help, tell others how a game runs, wish for a port or offer one of your "
                       "own. The forum opens in your browser."),
         .button = shown("Open the forum"),
         .ofButton = "website"});
    stack_->setCurrentWidget(notice_);
}

void WebPage::noticePressed() {
    if (button_ == Button::openForum) return follow(address_);
    showLoading();
    app_.loadWebsiteAgain(web_);
}

void WebPage::follow(const std::string& link) {
    if (app_.actions().shouldWebViewFollow(link)) openWebLink(link);
}

}  // namespace morvane::views
