#include "views/video_window.h"

#include "foundation/progress_view.h"
#include "platform/pictures.h"
#include "support/loopback_site.h"
#include "views/page_view.h"
#include "views/page_walk.h"
#include "views/still_picture.h"

namespace morvane::views {
namespace {

using testing::shows;

class VideoWindowTests : public testing::ViewsMachine, public ShellView {
  public:
    VideoWindowTests() {
        app = std::make_unique<AppDelegate>(*this, std::make_shared<NSProgressView>());
        windows = std::make_unique<VideoWindows>(*app, &main);
        main.show();
    }
    static StillPicture& still(VideoWindow& window) { return *window.findChild<StillPicture*>(); }

    std::unique_ptr<AppDelegate> app;
    QWidget main;
    std::unique_ptr<VideoWindows> windows;
    testing::LoopbackSite site;
};

TEST_F(VideoWindowTests, ShowAPictureThatIsTheTrailer) {
    Picture plain{.width = 32, .height = 18, .rgba = std::vector<std::uint8_t>(32 * 18 * 4, 0x60)};
    site.answer("/shot.png", {.body = pictures::encodePng(plain)});
    site.answer("/bad.png", {.body = "no picture"});
    VideoWindow* window = windows->show({.name = "Trailer", .link = site.baseAddress() + "shot.png"});
    runUntil([&] { return still(*window).hasPicture(); });
    EXPECT_FALSE(still(*window).hasMark());
    // Filled anew, it holds nothing of what it showed.
    EXPECT_EQ(windows->show({.name = "Trailer", .link = site.baseAddress() + "bad.png"}), window);
    EXPECT_FALSE(still(*window).hasPicture());
    runUntil([&] { return site.requests().size() == 2; });
    EXPECT_NE(windows->show({.name = "Instructions", .link = "https://example.com/v"}), window);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(VideoWindowTests, ShowAPageWithoutALink) {
    VideoWindow* window =
        windows->show({.name = "Instructions",
                       .html = "<p>Put the disc in<script>x()</script><img src='a.png' alt='A disc'>"});
    runUntil([&] { return shows(*window, "Put the disc in"); });
    runUntil([&] { return shows(*window, "A disc"); });
    EXPECT_FALSE(still(*window).isVisible());
    testing::expectAccessible(*window);
    // The one that was asked for last is shown.
    windows->show({.name = "Instructions", .html = "<p>First"});
    windows->show({.name = "Instructions", .html = "<p>Second"});
    runUntil([&] { return shows(*window, "Second"); });
    // Links of other kinds are none.
    for (const char* link : {"javascript:alert(1)", "file:///etc/passwd"}) {
        windows->show({.name = "Instructions", .html = "<p>No trailer available", .link = link});
        runUntil([&] { return shows(*window, "No trailer available"); });
        EXPECT_FALSE(shows(*window, link));
    }
    EXPECT_TRUE(ui.opened.empty());
}

}  // namespace
}  // namespace morvane::views
