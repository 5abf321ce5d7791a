// News and community, with servers that answer well, badly, slowly and not at all.

#include "views/web_page.h"

#include <QPushButton>
#include <QTextBlock>

#include "foundation/progress_view.h"
#include "foundation/settings.h"
#include "platform/pictures.h"
#include "support/loopback_site.h"
#include "views/page_view.h"
#include "views/page_walk.h"
#include "views/page_writer.h"
#include "views/picture_fetcher.h"
#include "views/picture_window.h"

namespace morvane::views {
namespace {

using testing::clickWord;
using testing::LoopbackSite;
using testing::named;
using testing::shows;
using testing::SiteAnswer;

std::string picture(int width, int height) {
    Picture plain{.width = width, .height = height};
    plain.rgba.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4, 0x80);
    return pictures::encodePng(plain);
}

class Pages : public testing::ViewsMachine, public ShellView {
  public:
    Pages() {
        machine->sites.catalogue = site.baseAddress();
        app = std::make_unique<AppDelegate>(*this, std::make_shared<NSProgressView>());
        open(WebView::news);
    }
    ~Pages() override {
        page.reset();
        app.reset();
    }
    void open(WebView web) {
        page = std::make_unique<WebPage>(*app, web, nullptr);
        page->resize(900, 600);
        page->show();
    }
    void loadWebPage(WebView, const std::string& address) override {
        ++loads;
        page->load(address);
    }
    void showHtml(WebView, const std::string& html) override { page->showHtml(html); }

    PageView& view() { return page->view(); }
    std::string text() { return view().toPlainText().toStdString(); }
    bool isProgressOpen() { return !ui.progress.empty() && ui.progress.back().height > 0; }
    /// The news, as they come with that body.
    void showNews(const std::string& html) {
        site.answer("/blog/", {.body = html, .contentType = "text/html"});
        const int before = loads;
        app->loadWebsiteAgain(WebView::news);
        runUntil([&] { return loads > before && view().isVisible() && !isProgressOpen(); });
    }

    int loads = 0;
    LoopbackSite site;
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<WebPage> page;
};

TEST_F(Pages, AreReadWithHeadingsLinksAndPictures) {
    site.answer("/blog/sky.png", {.body = picture(300, 100)});
    showNews(
        "<title>News</title><h1>Version 2</h1><p>It is <b>out</b>: <a href='../files/new.html'>read on</a>.</p>"
        "<img src='sky.png' alt='The sky'><h2>Older</h2><ul><li>first<li>second</ul>");
    const auto block = [&](const char* word) { return view().document()->find(word).block(); };
    EXPECT_EQ(block("Version").text(), "Version 2");
    EXPECT_EQ(block("Version").blockFormat().headingLevel(), 1);
    EXPECT_EQ(block("Older").blockFormat().headingLevel(), 2);
    EXPECT_EQ(block("It is").blockFormat().headingLevel(), 0);
    EXPECT_GT(block("Version").layout()->boundingRect().height(),
              block("Older").layout()->boundingRect().height());
    EXPECT_EQ(block("second").text(), "\u2022\u00a0second");
    EXPECT_EQ(view().document()->find("out").charFormat().fontWeight(), QFont::Bold);

    // The picture has room of its own size once it is there.
    const auto width = [&] { return view().document()->find("\uFFFC").charFormat().toImageFormat().width(); };
    runUntil([&] { return width() == 300; });
    EXPECT_EQ(view().document()->find("\uFFFC").charFormat().toImageFormat().height(), 100);

    // With keys, and with the pointer.
    view().setFocus();
    QTest::keyClick(&view(), Qt::Key_Tab);
    QTest::keyClick(&view(), Qt::Key_Return);
    const std::string whole = site.baseAddress() + "files/new.html";
    EXPECT_EQ(ui.opened, std::vector<std::string>{whole});
    clickWord(view(), "read on");
    EXPECT_EQ(ui.opened, (std::vector<std::string>{whole, whole}));
    testing::expectAccessible(*page);
}

TEST_F(Pages, LeadWhereTheWebIsAndNowhereElse) {
    struct Row {
        std::string link, page, whole;
    };
    const std::string base = "https://site.org/blog/index.html";
    for (const Row& row : std::vector<Row>{
             {"more.html", base, "https://site.org/blog/more.html"},
             {"/top", base, "https://site.org/top"},
             {"//other.org/x", base, "https://other.org/x"},
             {"?page=2", base, "https://site.org/blog/index.html?page=2"},
             {" HTTP://Other.org/a b ", base, "http://other.org/a%20b"},
             {"morvane://tetris", base, "morvane://tetris"},
             {"mvid://7", "", "mvid://7"},
             {"https://site.org/", "", "https://site.org/"},
             {"more.html", "", ""},
             {"file:///etc/passwd", base, ""},
             {"javascript:alert(1)", base, ""},
             {" JavaScript:alert(1)", base, ""},
             {"data:text/html,x", base, ""},
             {"picture:0", base, ""},
             {"ftp://site.org/x", base, ""},
             {"http://", base, ""},
             {"/etc/passwd", "file:///home/", ""},
             {"", base, ""},
         })
        EXPECT_EQ(resolvedLink(row.link, row.page), row.whole) << row.link;

    showNews(
        "<p><a href='file:///etc/passwd'>stored</a></p><p><a href='javascript:alert(1)'>scripted</a></p>"
        "<p><a href='picture:0'>inner</a></p><p><a href='https://example.com/x'>good</a></p>");
    for (const char* word : {"stored", "scripted", "inner", "good"}) clickWord(view(), word);
    EXPECT_EQ(ui.opened, std::vector<std::string>{"https://example.com/x"});
    for (const char* link : {"file:///etc/passwd", "javascript:alert(1)", "picture:99", "picture:x"})
        Q_EMIT view().anchorClicked(QUrl(link));
    EXPECT_EQ(ui.opened.size(), 1U);

    // A link of the application's own asks the catalogue for that port.
    showNews("<p><a href='mvid://77'>a port</a></p>");
    ui.expectError("Port not found!");
    clickWord(view(), "a port");
    runUntil([&] { return !ui.dialogs.empty(); });
    EXPECT_EQ(ui.opened.size(), 1U);
}

TEST_F(Pages, StayUsableWhateverTheyHold) {
    std::string evil =
        "<script>document.write('gone')</script><style>p{}</style><iframe src='file:///'>x</iframe>";
    evil += "&#xFFFC;&#x2029;&#xFDD0;\xE2\x80\xAEgnp.exe <p>word" + std::string(20'000, 'w') + "</p>";
    for (int number = 0; number < 300; ++number) evil += "<img src='p" + std::to_string(number) + ".png'>";
    for (int number = 0; number < 60'000; ++number) evil += "<b>a</b><i>b";
    showNews(evil);
    EXPECT_TRUE(text().starts_with("\uFFFD\uFFFD\uFFFD\uFFFDgnp.exe")) << text().substr(0, 40);
    EXPECT_EQ(text().find("gone"), std::string::npos);
    EXPECT_TRUE(text().ends_with("The page goes on in the browser."));
    int longest = 0;
    for (QTextBlock block = view().document()->begin(); block.isValid(); block = block.next())
        longest = std::max(longest, block.length());
    EXPECT_LE(longest, 4100);
    EXPECT_LE(view().document()->characterCount(), 200'000);
    runUntil([&] { return !text().empty() && text().find("\uFFFC") == std::string::npos; });
    const auto asked = site.requests();
    EXPECT_LE(std::ranges::count_if(asked, [](const std::string& line) { return line.ends_with(".png"); }),
              100);
}

TEST_F(Pages, SayWhatHasGoneWrongAndTryAgain) {
    struct Row {
        std::string name;
        SiteAnswer answer;
        std::string says;
    };
    page->setPatience(std::chrono::milliseconds(700));
    for (const Row& row : std::vector<Row>{
             {"gone", {.drop = true}, "The server closed the connection without an answer."},
             {"not there", {.status = 404, .body = "<p>Oops"}, "The server does not give the file."},
             {"broken", {.status = 500, .body = "<p>Oops"}, "The server does not give the file."},
             {"hangs", {.announcedLength = 100, .stall = true}, "The server did not answer in time."},
             {"hangs in the middle",
              {.body = "<p>One", .announcedLength = 100, .stall = true},
              "The server did not answer in time."},
             {"garbage", {.body = std::string("\x7f\x45\x4c\x46\0\0\x01", 7)}, "nothing to read"},
             {"a picture", {.body = picture(4, 4)}, "nothing to read"},
             {"empty", {.body = "<html><body> <br> </body></html>"}, "nothing to read"},
             {"endless", {.body = std::string(3 << 20, 'x')}, "The page is too long."},
         }) {
        SCOPED_TRACE(row.name);
        site.answer("/blog/", row.answer);
        app->loadWebsiteAgain(WebView::news);
        runUntil([&] { return shows(*page, row.says); });
        EXPECT_TRUE(shows(*page, "Couldn't load 127.0.0.1 website."));
        runUntil([&] { return !isProgressOpen(); });
        testing::expectAccessible(*page);

        site.answer("/blog/", {.body = "<p>Here " + row.name});
        QTest::keyClick(named<QPushButton>(*page, "Try again"), Qt::Key_Space);
        runUntil([&] { return shows(*page, "Here " + row.name); });
        runUntil([&] { return !isProgressOpen(); });
    }
    EXPECT_TRUE(ui.dialogs.empty());
}

TEST_F(Pages, GiveWayToALaterOne) {
    site.answer("/slow", {.body = "<p>Slow", .announcedLength = 100, .stall = true});
    site.answer("/fast", {.body = "<p>Fast"});
    page->load(site.baseAddress() + "slow");
    runUntil([&] { return site.requests().size() == 1; });
    page->load(site.baseAddress() + "fast");
    runUntil([&] { return shows(*page, "Fast"); });
    // A page that goes while it loads ends the request with it.
    page->load(site.baseAddress() + "slow");
    runUntil([&] { return site.requests().size() == 3; });
    QElapsedTimer watch;
    watch.start();
    page.reset();
    EXPECT_LT(watch.elapsed(), 1000);
}

}  // namespace
}  // namespace morvane::views
