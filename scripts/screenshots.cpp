// Draws every window of the desktop with games and ports in it: screenshots FOLDER light|dark [LANGUAGE]
// LANGUAGE is one of po/, or "long" or "right-to-left": English, 40 % longer, the latter from right to left.
#include <QApplication>
#include <QBuffer>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QTest>
#include <QToolButton>
#include <array>
#include <cstdio>
#include <string_view>

#include "support/catalogue_file.h"
#include "views/desktop_stage.h"
#include "views/dialogs.h"
#include "views/main_window.h"
#include "views/preferences_window.h"
#include "views/progress_panel.h"
#include "views/properties_window.h"
#include "views/qt_text.h"
#include "views/rating_window.h"
#include "views/theme.h"
#include "views/video_window.h"

namespace morvane {
namespace {

constexpr std::array names{
    "Amber Falls",    "Astral Post",    "Backyard Rally", "Below Zero Bay", "Brass Orchard",
    "Castle Keepers", "Chalk & Cheese", "Cloud Harvest",  "Copper Rails",   "Dawn Patrol 7",
    "Deep Lantern",   "Dune Couriers",  "Echo Village",   "Ember Knights",  "Far Meridian",
    "Foxglove",       "Glass Canyon",   "Gravity Garden", "Half a Kingdom", "Harbour Lights",
    "Iron Almanac",   "Jade Runner",    "Kite Season",    "Last Ferry",     "Little Giants",
    "Marble Heist",   "Midnight Tram",  "Moss & Magic",   "Night Gardener", "Ocean Clerk",
    "Paper Empire",   "Pixel Foundry",  "Quiet Orbit",    "Red Lighthouse", "Salt Road",
    "Star Catcher",   "Tin Detective",  "Underhill",      "Velvet Racer",   "Winter Atlas"};

/// A cover of its own for each name.
std::string cover(int number, const QString& name) {
    constexpr int edge = 512;
    QImage image(edge, edge, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath frame;
    frame.addRoundedRect(0, 0, edge, edge, 56, 56);
    painter.setClipPath(frame);
    const int hue = number * 47 % 360;
    QLinearGradient sky(0, 0, 0, edge);
    sky.setColorAt(0, QColor::fromHsv(hue, 170, 90));
    sky.setColorAt(1, QColor::fromHsv((hue + 40) % 360, 150, 230));
    painter.fillRect(image.rect(), sky);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv((hue + 180) % 360, 90, 255, 210));
    const int sun = 90 + number * 13 % 70;
    painter.drawEllipse(QPoint(120 + number * 61 % 280, 150 + number * 29 % 90), sun, sun);
    for (int hill = 0; hill < 3; ++hill) {
        QPainterPath path(QPointF(0, edge));
        const int base = 300 + 70 * hill;
        path.lineTo(0, base + number * 17 % 50);
        path.cubicTo(150, base - 90 + number * 31 % 60, 330, base + 80 - number * 11 % 50, edge, base - 20);
        path.lineTo(edge, edge);
        painter.setBrush(QColor::fromHsv((hue + 20 * hill) % 360, 190, 120 - 30 * hill));
        painter.drawPath(path);
    }
    QFont font = painter.font();
    font.setPixelSize(58);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRect(30, 350, edge - 60, 150), Qt::AlignCenter | Qt::TextWordWrap, name);
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes.toStdString();
}

constexpr const char* description =
    "1 || x || x || x || x || x || <p><b>Star Catcher</b> is a small game of quick hands: steer the basket, catch the "
    "stars before they fall into the sea, and beat the best score of the week.</p><p>Works well with a game pad. The "
    "second program shows the <i>scores</i>. More at <a href='https://example.com/'>the game's page</a>.</p> || "
    "\"https://example.com/trailer\" || Arcade,Family,Retro, || CD=>https://example.com;;Steam=>https://example.com;;"
    "Gog=>https://example.com;; || x || ATi/AMD:4.5, NVIDIA:4, Intel Iris:3.5, Intel HD:2, || 0 || \"\"";

constexpr const char* news =
    "<html><head><title>News</title></head><body><h1>Forty new ports in November</h1><p>Thank you, all authors! This "
    "month brought <b>forty</b> new ports, among them Glass Canyon and Night Gardener.</p><img src='/picture.png' "
    "alt='Glass Canyon'><h2>Engines</h2><p>The newest engine starts games <i>twice as fast</i>. Your wrappers keep "
    "theirs until you <a href='/engines'>change</a> them.</p><ul><li>Shorter installations</li><li>Fewer "
    "questions</li></ul></body></html>";

class Screenshots : public testing::DesktopStage {
  public:
    Screenshots(QString pictures, QString scheme, MessageCatalogue texts)
        : DesktopStage(std::move(texts)), pictures_(std::move(pictures)), scheme_(std::move(scheme)) {}

    void takeEmpty() {
        open();
        settle();
        save(*window, "library-empty");
        close();
    }
    void takeAll() {
        for (std::size_t number = 0; number < names.size(); ++number) {
            const std::string picture = cover(static_cast<int>(number), names.at(number));
            addGame(names.at(number), picture);
            addPort(names.at(number), picture);
        }
        put(Wrapper(pathOf("Star Catcher")).engineVersion(), "CK9Wine8.0\n");
        site.answer("/ckis/portDescription.php", {.body = description});
        site.answer(
            "/ckis/rankingPorts.php",
            {.body =
                 "12 || Ada || Deep Lantern || 4.5 <br>7 || Bob || Cloud Harvest || 4.2 <br>36 || Ada || Star "
                 "Catcher || 4.1 <br>"});
        site.answer("/blog/", {.body = news, .contentType = "text/html"});
        site.answer("/picture.png", {.body = cover(16, "Glass Canyon")});
        open();
        const auto row = static_cast<int>(
            std::find(names.begin(), names.end(), std::string_view("Star Catcher")) - names.begin());
        list->scrollTo(list->model()->index(row, 0));
        settle();
        list->scrollToTop();
        choose(row);
        list->scrollToTop();
        put(Wrapper(pathOf("Cloud Harvest")).launcher() + ".runs", "");
        app->activateRow(7);
        runUntil([&] { return app->library().isRunning(pathOf("Cloud Harvest")); });
        settle();
        save(*window, "library-grid");
        press("List");
        settle();
        save(*window, "library-list");
        press("Grid");
        takeCatalogue(row);
        takeWindows();
        takePages();
        std::filesystem::remove(Wrapper(pathOf("Cloud Harvest")).launcher() + ".runs");
        runUntil([&] { return !app->library().isRunning(pathOf("Cloud Harvest")); });
    }

  private:
    void TestBody() override {}

    void takeCatalogue(int row) {
        press("Catalogue");
        runUntil([&] { return list->model()->rowCount() == static_cast<int>(names.size()); });
        list->setCurrentIndex(list->model()->index(row, 0));
        runUntil(
            [&] { return app->gamePage().page().hasGame && app->gamePage().gameData()->isGameInTheServer; });
        settle();
        save(*window, "game-page-catalogue");
        window->progressPanel().showState({.status = localized("Downloading %@...", {"CK9Wine8.0"}),
                                           .subtitle = "31.2Mb of 43.1Mb, 2 seconds left",
                                           .indeterminate = false,
                                           .value = 724,
                                           .height = 111,
                                           .cancellable = true});
        settle();
        save(*window, "installing");
        window->progressPanel().showState({});
        press("My Games");
        settle();
    }
    void takeWindows() {
        views::DialogWindow question(
            {.title = localized("Outdated Wrapper"),
             .text =
                 localized("Your wrapper is at the version %@ while the most recent one is %@. It might only "
                           "work in your computer if you are using the most recent version. Do you want to "
                           "update it?",
                           {"1.0", "1.1"}),
             .buttons = {localized("Yes"), localized("No")},
             .style = Dialog::Style::critical},
            window.get());
        question.show();
        settle();
        save(question, "question");
        question.hide();
        window->showPreferences();
        settle();
        save(*window->findChild<views::PreferencesWindow*>(), "preferences");
        window->findChild<views::PreferencesWindow*>()->close();
        app->showProperties(pathOf("Star Catcher"));
        settle();
        save(*window->findChild<views::PropertiesWindow*>(), "properties");
        app->closeProperties();
        const auto panel = std::make_shared<NSVotingPanel>(36, "Rating \"Star Catcher\" on NVIDIA", [] {});
        window->showVotingPanel(panel);
        settle();
        save(*window->findChild<views::RatingWindow*>(), "rating");
        window->votingPanelClosed();
        window->showVideo({.name = "Trailer", .html = "", .link = "https://example.com/trailer"});
        settle();
        save(*window->findChild<views::VideoWindow*>(), "trailer");
        window->findChild<views::VideoWindow*>()->close();
    }
    void takePages() {
        press("Rankings");
        settle();
        save(*window, "rankings");
        shell.loadWebPage(WebView::news, site.baseAddress() + "blog/");
        press("News");
        settle();
        save(*window, "news");
        shell.loadWebPage(WebView::forum, site.baseAddress() + "smf/");
        press("Community");
        settle();
        save(*window, "community");
        press("Help");
        settle();
        save(*window, "help");
    }
    /// A button of the main window that can be seen.
    void press(const QString& text) {
        for (auto* button : window->findChildren<QAbstractButton*>()) {
            if (button->isVisible() && button->text() == views::shown(views::fromQt(text)))
                return button->click();
        }
        std::fprintf(stderr, "There is no button %s.\n", qPrintable(text));
    }
    /// Until what runs in the background has ended, and slid in.
    void settle() {
        QTest::qWait(400);
        for (int time = 0; time < 100 && machine->workQueues.busy(); ++time) QTest::qWait(20);
        QTest::qWait(300);
    }
    void save(QWidget& widget, const QString& name) {
        const QString file = pictures_ + '/' + name + '-' + scheme_ + ".png";
        if (!widget.grab().save(file)) std::fprintf(stderr, "%s can't be written.\n", qPrintable(file));
    }

    const QString pictures_, scheme_;
};

}  // namespace
}  // namespace morvane

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() < 3 || arguments.size() > 4) {
        std::fprintf(stderr, "usage: screenshots FOLDER light|dark [LANGUAGE|long|right-to-left]\n");
        return 2;
    }
    using morvane::views::theme::Scheme;
    const std::string language = arguments.value(3).toStdString();
    const bool isLong = language == "long" || language == "right-to-left";
    if (language == "right-to-left") QApplication::setLayoutDirection(Qt::RightToLeft);
    morvane::Screenshots screenshots(
        arguments[1], arguments[2],
        isLong ? morvane::testing::longLanguage(MORVANE_SOURCE_FOLDER)
               : morvane::MessageCatalogue::find(MORVANE_LOCALE_FOLDER, {language}));
    morvane::views::theme::apply(application, arguments[2] == "dark" ? Scheme::dark : Scheme::light);
    screenshots.takeEmpty();
    screenshots.takeAll();
    return 0;
}
