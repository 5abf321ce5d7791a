// The desktop with 2,000 wrappers and 20,000 ports: its first picture, a key in the search field, scrolling the grid.
// views_bench draws without a screen.
#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>
#include <algorithm>
#include <cstdio>
#include <vector>

#include "views/desktop_stage.h"
#include "views/library_page.h"

namespace morvane {
namespace {

constexpr int games = 2'000, ports = 20'000;

class Stage : public testing::DesktopStage {
  public:
    void measure() {
        for (int number = 0; number < games; ++number)
            addGame("Game " + std::to_string(number * 7919 % games));
        for (int number = 0; number < ports; ++number)
            addPort("Port of " + std::to_string(number * 7919 % ports));
        QElapsedTimer watch;
        watch.start();
        open();
        window->repaint();
        std::printf("first picture with %d games: %lld ms\n", games, static_cast<long long>(watch.elapsed()));
        app->library().showTab(catalogueTab);
        runUntil([&] { return list->model()->rowCount() == ports; }, std::chrono::seconds(60));
        type("port 19");
        scroll();
        std::printf("%s\n", memory().c_str());
    }

  private:
    void TestBody() override {}

    /// The slowest key, until its rows are drawn.
    void type(const char* words) {
        auto* search = window->libraryPage().findChild<QLineEdit*>();
        double slowest = 0;
        for (const char* letter = words; *letter != '\0'; ++letter) {
            QElapsedTimer watch;
            watch.start();
            QTest::keyClick(search, *letter);
            list->repaint();
            slowest = std::max(slowest, static_cast<double>(watch.nsecsElapsed()) / 1e6);
        }
        std::printf("slowest of %zu keys in %d names: %.1f ms\n", std::string(words).size(), ports, slowest);
        search->clear();
        QApplication::processEvents();
    }
    /// The slowest and the median frame of a grid that is scrolled from its top to its end.
    void scroll() {
        QScrollBar& bar = *list->verticalScrollBar();
        std::vector<double> frames;
        constexpr int steps = 400;
        for (int step = 0; step <= steps; ++step) {
            QElapsedTimer watch;
            watch.start();
            bar.setValue(bar.maximum() / steps * step);
            QApplication::processEvents();
            list->repaint();
            frames.push_back(static_cast<double>(watch.nsecsElapsed()) / 1e6);
        }
        std::ranges::sort(frames);
        std::printf("%d frames: median %.1f ms, slowest %.1f ms\n", steps, frames[frames.size() / 2],
                    frames.back());
    }
    static std::string memory() {
        const std::string status = get("/proc/self/status");
        const std::size_t line = status.find("VmRSS:");
        return status.substr(line, status.find('\n', line) - line);
    }
};

}  // namespace
}  // namespace morvane

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    morvane::Stage().measure();
    return 0;
}
